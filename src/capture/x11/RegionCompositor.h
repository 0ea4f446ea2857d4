#pragma once

#include "platform/x11/XResource.h"

#include <xcb/render.h>

#include <QPoint>
#include <QRect>
#include <QSize>

#include <vector>

namespace lookpane::x11 {

class RenderFormats;
class XcbConnection;

// A window to paint, with where its pixmap lies on the root.
struct PaintedWindow
{
    xcb_window_t window = XCB_WINDOW_NONE;
    QRect outer; // border included, root coordinates
    int borderWidth = 0;
    xcb_render_picture_t picture = 0;
    bool hasAlpha = false;
};

// Paints a rectangle of the screen from the windows' own pixmaps: the background, then each
// window bottom to top, each clipped to its shape and to what the opaque windows above leave
// visible, so every pixel is painted once (twice under ARGB windows, which are blended over
// what lies below). Everything happens in the server; nothing is read back here.
class RegionCompositor
{
public:
    RegionCompositor(const XcbConnection &connection, const RenderFormats &formats);

    // Paints `source` (root pixels) into `target` (a 32-bit picture of `targetSize`),
    // scaled when the sizes differ. `windows` are bottom to top; `background` 0 is black.
    // Parts of `source` outside the screen come out black.
    void paint(const QRect &source, const std::vector<PaintedWindow> &windows,
               xcb_render_picture_t background, xcb_render_picture_t target,
               const QSize &targetSize);

    // The screen's size in pixels: the connection's setup's at first, then the root window's
    // as the owner reads it or hears it was resized (RandR).
    void setScreenSize(QSize size) { m_screenSize = size; }
    QSize screenSize() const { return m_screenSize; }

private:
    void paintUnscaled(const QRect &source, const std::vector<PaintedWindow> &windows,
                       xcb_render_picture_t background, xcb_render_picture_t target);
    xcb_render_picture_t scratchPicture(const QSize &size);

    const XcbConnection &m_connection;
    const RenderFormats &m_formats;
    Pixmap m_scratchPixmap;
    Picture m_scratchPicture;
    QSize m_scratchSize;
    QSize m_screenSize;
};

} // namespace lookpane::x11
