#include "capture/x11/RootBackground.h"

#include "capture/x11/RenderFormats.h"
#include "platform/x11/XcbConnection.h"

namespace lookpane::x11 {

RootBackground::RootBackground(const XcbConnection &connection, const RenderFormats &formats)
    : m_connection(connection), m_formats(formats), m_atom(connection.atom("_XROOTPMAP_ID"))
{}

xcb_render_picture_t RootBackground::picture()
{
    if (m_read) {
        return m_picture.id();
    }
    m_read = true;
    xcb_connection_t *c = m_connection.get();
    Reply<xcb_get_property_reply_t> property(xcb_get_property_reply(
        c, xcb_get_property(c, 0, m_connection.root(), m_atom, XCB_ATOM_PIXMAP, 0, 1), nullptr));
    if (!property || property->format != 32 || xcb_get_property_value_length(property.get()) < 4) {
        return 0;
    }
    const xcb_pixmap_t pixmap =
        *static_cast<const xcb_pixmap_t *>(xcb_get_property_value(property.get()));
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, pixmap), nullptr));
    if (!geometry) {
        return 0; // the setter has freed it meanwhile
    }
    const xcb_render_pictformat_t format = m_formats.forDepth(geometry->depth);
    if (format == 0) {
        return 0;
    }
    m_picture = Picture(c);
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    if (m_connection.check(xcb_render_create_picture_checked(c, m_picture.id(), pixmap, format,
                                                             XCB_RENDER_CP_REPEAT, &repeat))) {
        m_picture = Picture();
        return 0;
    }
    return m_picture.id();
}

} // namespace lookpane::x11
