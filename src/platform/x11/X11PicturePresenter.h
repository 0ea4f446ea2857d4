#pragma once

#include "platform/x11/XResource.h"

#include <xcb/render.h>
#include <xcb/xcb.h>

#include <QColor>
#include <QImage>
#include <QRect>
#include <QSize>

#include <cstdint>
#include <memory>
#include <vector>

namespace lookpane::x11 {

// Paints one window of this application in the X server with RENDER, on Qt's own connection:
// a picture the server already holds (a captured frame's pixmap) or an image sent to it,
// stretched over the window where the sizes differ (bilinear, edges clamped, as GL_LINEAR
// reads a texture), and an overlay blended over chosen areas. A picture the server holds
// never crosses to this process, so painting it costs this process a few requests.
//
// Main thread only. Requests are sent at flush(); errors (a pixmap whose owner has gone) come
// back as Qt's connection reports them, never as a crash.
class X11PicturePresenter
{
public:
    // For `window`, an X window of Qt's connection; none where the application has no X
    // connection, the server has no RENDER, or the window's visual has no picture format.
    static std::unique_ptr<X11PicturePresenter> create(xcb_window_t window);
    // Whether this application's X server can paint pictures with RENDER.
    static bool isSupported();
    ~X11PicturePresenter();

    X11PicturePresenter(const X11PicturePresenter &) = delete;
    X11PicturePresenter &operator=(const X11PicturePresenter &) = delete;

    xcb_window_t window() const { return m_window; }

    // Paints the 32-bit `pixmap`, `source` pixels large, over the window's top-left `target`
    // pixels. The picture made of it at the first draw is kept until forgetPixmap(): it keeps
    // the pixmap's pixels in the server even after its owner frees it (a capture that ended),
    // so the same picture can be painted again on exposure.
    void drawPixmap(std::uint32_t pixmap, QSize source, QSize target);
    // The next drawPixmap() reads its pixmap afresh, even one of the same id.
    void forgetPixmap();
    // The same for an opaque 32-bit image (Format_RGB32 or ARGB32_Premultiplied), sent to the
    // server first.
    void drawImage(const QImage &image, QSize target);
    void fill(const QColor &colour, QSize target);

    // The overlay: an ARGB32_Premultiplied image of the window's pixel size, of which only
    // `changed` is sent (a new overlay starts transparent in the server).
    void setOverlay(const QImage &overlay, const std::vector<QRect> &changed);
    // Blends the overlay over `areas` of the window.
    void drawOverlay(const std::vector<QRect> &areas);

    void flush();

private:
    X11PicturePresenter(xcb_connection_t *connection, xcb_window_t window,
                        xcb_render_pictformat_t windowFormat, xcb_render_pictformat_t argb32);
    // Sends `area` of `image` into `pixmap` (depth 32), in requests the server accepts.
    void upload(const QImage &image, const QRect &area, std::uint32_t pixmap,
                std::uint32_t gc) const;
    // Paints `picture` (ARGB32), `sourceSize` large, over `target` pixels.
    void composite(std::uint32_t picture, QSize sourceSize, QSize target);

    xcb_connection_t *m_connection;
    xcb_window_t m_window;
    xcb_render_pictformat_t m_argb32;
    Picture m_windowPicture;
    // The pixmap last drawn, and the picture that holds it.
    std::uint32_t m_pixmap = 0;
    Picture m_pixmapPicture;
    Picture m_imagePicture;
    // Where images are sent: a 32-bit pixmap, remade when the image's size changes.
    Pixmap m_imagePixmap;
    QSize m_imageSize;
    Gc m_imageGc;
    Pixmap m_overlayPixmap;
    Picture m_overlayPicture;
    QSize m_overlaySize;
    Gc m_overlayGc;
};

} // namespace lookpane::x11
