#pragma once

#include "platform/x11/XcbConnection.h"

#include <xcb/render.h>

namespace lookpane::x11 {

// The server's picture formats, read once per connection.
class RenderFormats
{
public:
    explicit RenderFormats(const XcbConnection &connection);

    bool isValid() const { return m_formats != nullptr && m_argb32 != 0; }
    xcb_render_pictformat_t argb32() const { return m_argb32; }
    // The format that matches a visual; 0 when there is none.
    xcb_render_pictformat_t forVisual(xcb_visualid_t visual) const;
    // The first direct format of that depth (for pixmaps, which have no visual).
    xcb_render_pictformat_t forDepth(int depth) const;
    bool hasAlpha(xcb_render_pictformat_t format) const;

private:
    Reply<xcb_render_query_pict_formats_reply_t> m_formats;
    xcb_render_pictformat_t m_argb32 = 0;
    xcb_render_pictformat_t m_rootFormat = 0;
    int m_rootDepth = 0;
};

} // namespace lookpane::x11
