#include "capture/x11/RegionCompositor.h"

#include "capture/x11/RenderFormats.h"
#include "platform/x11/XcbConnection.h"

#include <xcb/shape.h>
#include <xcb/xfixes.h>

namespace lookpane::x11 {

namespace {

constexpr xcb_render_color_t opaqueBlack{0, 0, 0, 0xFFFF};

xcb_render_fixed_t fixed(double value)
{
    return static_cast<xcb_render_fixed_t>(value * 65536.0);
}

xcb_rectangle_t rectangle(const QRect &rect)
{
    return {static_cast<std::int16_t>(rect.x()), static_cast<std::int16_t>(rect.y()),
            static_cast<std::uint16_t>(rect.width()), static_cast<std::uint16_t>(rect.height())};
}

} // namespace

RegionCompositor::RegionCompositor(const XcbConnection &connection, const RenderFormats &formats)
    : m_connection(connection), m_formats(formats),
      m_screenSize(connection.screen() ? QSize(connection.screen()->width_in_pixels,
                                               connection.screen()->height_in_pixels)
                                       : QSize())
{}

void RegionCompositor::paint(const QRect &source, const std::vector<PaintedWindow> &windows,
                             xcb_render_picture_t background, xcb_render_picture_t target,
                             const QSize &targetSize)
{
    if (targetSize == source.size()) {
        paintUnscaled(source, windows, background, target);
        return;
    }
    // Composite at the source's own size, then scale that in one pass.
    xcb_connection_t *c = m_connection.get();
    const xcb_render_picture_t scratch = scratchPicture(source.size());
    paintUnscaled(source, windows, background, scratch);
    const xcb_render_transform_t transform{fixed(double(source.width()) / targetSize.width()),
                                           0,
                                           0,
                                           0,
                                           fixed(double(source.height()) / targetSize.height()),
                                           0,
                                           0,
                                           0,
                                           fixed(1.0)};
    xcb_render_set_picture_transform(c, scratch, transform);
    static const char filter[] = "bilinear";
    xcb_render_set_picture_filter(c, scratch, sizeof filter - 1, filter, 0, nullptr);
    xcb_render_composite(c, XCB_RENDER_PICT_OP_SRC, scratch, XCB_NONE, target, 0, 0, 0, 0, 0, 0,
                         static_cast<std::uint16_t>(targetSize.width()),
                         static_cast<std::uint16_t>(targetSize.height()));
    const xcb_render_transform_t identity{fixed(1), 0, 0, 0, fixed(1), 0, 0, 0, fixed(1)};
    xcb_render_set_picture_transform(c, scratch, identity);
}

xcb_render_picture_t RegionCompositor::scratchPicture(const QSize &size)
{
    if (m_scratchPicture && m_scratchSize == size) {
        return m_scratchPicture.id();
    }
    xcb_connection_t *c = m_connection.get();
    m_scratchPicture.reset();
    m_scratchPixmap = Pixmap(c);
    xcb_create_pixmap(c, 32, m_scratchPixmap.id(), m_connection.root(),
                      static_cast<std::uint16_t>(size.width()),
                      static_cast<std::uint16_t>(size.height()));
    m_scratchPicture = Picture(c);
    xcb_render_create_picture(c, m_scratchPicture.id(), m_scratchPixmap.id(), m_formats.argb32(), 0,
                              nullptr);
    m_scratchSize = size;
    return m_scratchPicture.id();
}

void RegionCompositor::paintUnscaled(const QRect &source, const std::vector<PaintedWindow> &windows,
                                     xcb_render_picture_t background, xcb_render_picture_t target)
{
    xcb_connection_t *c = m_connection.get();
    const QRect screen(QPoint(0, 0), m_screenSize);
    const QRect visible = source.intersected(screen);
    const std::int16_t dx = static_cast<std::int16_t>(-source.x());
    const std::int16_t dy = static_cast<std::int16_t>(-source.y());

    if (visible != source) {
        // Beyond the screen's edge there is nothing to show.
        xcb_xfixes_set_picture_clip_region(c, target, XCB_NONE, 0, 0);
        const xcb_rectangle_t all{0, 0, static_cast<std::uint16_t>(source.width()),
                                  static_cast<std::uint16_t>(source.height())};
        xcb_render_fill_rectangles(c, XCB_RENDER_PICT_OP_SRC, target, opaqueBlack, 1, &all);
    }
    if (visible.isEmpty()) {
        return;
    }

    // What is still uncovered, walking down from the topmost window; each window is clipped
    // to its shape and to what the opaque windows above have left.
    Region uncovered(c);
    const xcb_rectangle_t visibleRect = rectangle(visible);
    xcb_xfixes_create_region(c, uncovered.id(), 1, &visibleRect);
    std::vector<Region> clips(windows.size());
    for (std::size_t i = windows.size(); i-- > 0;) {
        const PaintedWindow &window = windows[i];
        Region shape(c);
        xcb_xfixes_create_region_from_window(c, shape.id(), window.window, XCB_SHAPE_SK_BOUNDING);
        // The bounding shape is relative to the window's inside corner.
        xcb_xfixes_translate_region(
            c, shape.id(), static_cast<std::int16_t>(window.outer.x() + window.borderWidth),
            static_cast<std::int16_t>(window.outer.y() + window.borderWidth));
        clips[i] = Region(c);
        xcb_xfixes_create_region(c, clips[i].id(), 0, nullptr);
        xcb_xfixes_intersect_region(c, shape.id(), uncovered.id(), clips[i].id());
        if (!window.hasAlpha) {
            xcb_xfixes_subtract_region(c, uncovered.id(), shape.id(), uncovered.id());
        }
    }

    // Paint bottom to top: the background where nothing opaque covers it, then the windows.
    xcb_xfixes_set_picture_clip_region(c, target, uncovered.id(), dx, dy);
    const xcb_rectangle_t all{0, 0, static_cast<std::uint16_t>(source.width()),
                              static_cast<std::uint16_t>(source.height())};
    if (background != 0) {
        xcb_render_composite(c, XCB_RENDER_PICT_OP_SRC, background, XCB_NONE, target,
                             static_cast<std::int16_t>(source.x()),
                             static_cast<std::int16_t>(source.y()), 0, 0, 0, 0, all.width,
                             all.height);
    } else {
        xcb_render_fill_rectangles(c, XCB_RENDER_PICT_OP_SRC, target, opaqueBlack, 1, &all);
    }
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const PaintedWindow &window = windows[i];
        const QRect area = window.outer.intersected(visible);
        if (area.isEmpty()) {
            continue;
        }
        xcb_xfixes_set_picture_clip_region(c, target, clips[i].id(), dx, dy);
        xcb_render_composite(
            c, window.hasAlpha ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC, window.picture,
            XCB_NONE, target, static_cast<std::int16_t>(area.x() - window.outer.x()),
            static_cast<std::int16_t>(area.y() - window.outer.y()), 0, 0,
            static_cast<std::int16_t>(area.x() - source.x()),
            static_cast<std::int16_t>(area.y() - source.y()),
            static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height()));
    }
    xcb_xfixes_set_picture_clip_region(c, target, XCB_NONE, 0, 0);
}

} // namespace lookpane::x11
