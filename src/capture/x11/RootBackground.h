#pragma once

#include "platform/x11/XResource.h"

#include <xcb/render.h>

namespace lookpane::x11 {

class RenderFormats;
class XcbConnection;

// The desktop background as desktop setters publish it (_XROOTPMAP_ID), tiled over the root;
// absent when none is set, and the compositor paints black instead.
class RootBackground
{
public:
    RootBackground(const XcbConnection &connection, const RenderFormats &formats);

    xcb_atom_t propertyAtom() const { return m_atom; }
    // The property changed: read it again on next use.
    void invalidate()
    {
        m_picture.reset();
        m_read = false;
    }
    // A repeating picture of the background in root coordinates, or 0 for black.
    xcb_render_picture_t picture();

private:
    const XcbConnection &m_connection;
    const RenderFormats &m_formats;
    xcb_atom_t m_atom = XCB_ATOM_NONE;
    Picture m_picture;
    bool m_read = false;
};

} // namespace lookpane::x11
