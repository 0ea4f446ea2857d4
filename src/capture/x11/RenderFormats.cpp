#include "capture/x11/RenderFormats.h"

#include <xcb/xcb_renderutil.h>

namespace lookpane::x11 {

RenderFormats::RenderFormats(const XcbConnection &connection)
{
    if (!connection.isValid() || !connection.extensions().render.present) {
        return;
    }
    xcb_connection_t *c = connection.get();
    m_formats.reset(
        xcb_render_query_pict_formats_reply(c, xcb_render_query_pict_formats(c), nullptr));
    if (!m_formats) {
        return;
    }
    if (const xcb_render_pictforminfo_t *argb =
            xcb_render_util_find_standard_format(m_formats.get(), XCB_PICT_STANDARD_ARGB_32)) {
        m_argb32 = argb->id;
    }
    m_rootFormat = forVisual(connection.screen()->root_visual);
    m_rootDepth = connection.screen()->root_depth;
}

xcb_render_pictformat_t RenderFormats::forVisual(xcb_visualid_t visual) const
{
    if (!m_formats) {
        return 0;
    }
    const xcb_render_pictvisual_t *match =
        xcb_render_util_find_visual_format(m_formats.get(), visual);
    return match ? match->format : 0;
}

xcb_render_pictformat_t RenderFormats::forDepth(int depth) const
{
    if (depth == m_rootDepth && m_rootFormat != 0) {
        return m_rootFormat;
    }
    if (depth == 32) {
        return m_argb32;
    }
    if (!m_formats) {
        return 0;
    }
    for (auto it = xcb_render_query_pict_formats_formats_iterator(m_formats.get()); it.rem;
         xcb_render_pictforminfo_next(&it)) {
        if (it.data->type == XCB_RENDER_PICT_TYPE_DIRECT && it.data->depth == depth) {
            return it.data->id;
        }
    }
    return 0;
}

bool RenderFormats::hasAlpha(xcb_render_pictformat_t format) const
{
    if (!m_formats) {
        return false;
    }
    for (auto it = xcb_render_query_pict_formats_formats_iterator(m_formats.get()); it.rem;
         xcb_render_pictforminfo_next(&it)) {
        if (it.data->id == format) {
            return it.data->type == XCB_RENDER_PICT_TYPE_DIRECT && it.data->direct.alpha_mask != 0;
        }
    }
    return false;
}

} // namespace lookpane::x11
