#include "platform/x11/X11WindowTraits.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XAtoms.h"
#include "platform/x11/XErrors.h"

#include <QWidget>

#include <xcb/shape.h>
#include <xcb/xcb.h>

namespace lookpane::X11WindowTraits {

namespace {

// None for a window that has no native window yet: shaping one must not create it early.
xcb_window_t nativeWindow(QWidget *window)
{
    if (!window || !window->isWindow() || !window->testAttribute(Qt::WA_WState_Created)) {
        return XCB_WINDOW_NONE;
    }
    return x11::windowId(window);
}

// Sends a request and waits for its outcome, so that an error (a window destroyed by someone
// else meanwhile) is consumed and reported here instead of reaching Qt's error handler.
bool checked(xcb_connection_t *c, xcb_void_cookie_t cookie)
{
    return !x11::checkRequest(c, cookie, lcPlatformX11());
}

} // namespace

static bool setShape(QWidget *window, xcb_shape_kind_t kind, const std::vector<QRect> &rects)
{
    xcb_connection_t *c = x11::applicationConnection();
    const xcb_window_t id = nativeWindow(window);
    if (!c || id == XCB_WINDOW_NONE) {
        return false;
    }
    const qreal scale = window->devicePixelRatioF();
    std::vector<xcb_rectangle_t> xrects;
    xrects.reserve(rects.size());
    for (const QRect &r : rects) {
        if (r.isEmpty()) {
            continue;
        }
        xrects.push_back({static_cast<int16_t>(qRound(r.x() * scale)),
                          static_cast<int16_t>(qRound(r.y() * scale)),
                          static_cast<uint16_t>(qRound(r.width() * scale)),
                          static_cast<uint16_t>(qRound(r.height() * scale))});
    }
    if (xrects.empty()) {
        // A shape without rectangles reads to some window managers (openbox) as "not shaped",
        // and their frame window then swallows the clicks. One rectangle outside the window
        // gives the same empty region without that ambiguity.
        xrects.push_back({-1, -1, 1, 1});
    }
    return checked(
        c, xcb_shape_rectangles_checked(c, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, id,
                                        0, 0, static_cast<uint32_t>(xrects.size()), xrects.data()));
}

static bool clearShape(QWidget *window, xcb_shape_kind_t kind)
{
    xcb_connection_t *c = x11::applicationConnection();
    const xcb_window_t id = nativeWindow(window);
    if (!c || id == XCB_WINDOW_NONE) {
        return false;
    }
    // A "none" mask resets the input shape to the window's own extent.
    return checked(c, xcb_shape_mask_checked(c, XCB_SHAPE_SO_SET, kind, id, 0, 0, XCB_PIXMAP_NONE));
}

bool setInputRegion(QWidget *window, const std::vector<QRect> &rects)
{
    return setShape(window, XCB_SHAPE_SK_INPUT, rects);
}

bool clearInputRegion(QWidget *window)
{
    return clearShape(window, XCB_SHAPE_SK_INPUT);
}

bool setBoundingRegion(QWidget *window, const std::vector<QRect> &rects)
{
    return setShape(window, XCB_SHAPE_SK_BOUNDING, rects);
}

bool clearBoundingRegion(QWidget *window)
{
    return clearShape(window, XCB_SHAPE_SK_BOUNDING);
}

std::vector<QRect> edgeBands(const QSize &size, int band)
{
    const int w = size.width();
    const int h = size.height();
    if (w <= 2 * band || h <= 2 * band) {
        return {QRect(0, 0, w, h)};
    }
    return {
        QRect(0, 0, w, band),                      // top
        QRect(0, h - band, w, band),               // bottom
        QRect(0, band, band, h - 2 * band),        // left
        QRect(w - band, band, band, h - 2 * band), // right
    };
}

} // namespace lookpane::X11WindowTraits

namespace lookpane::X11WindowTraits {

bool setWindowRole(QWidget *window, const QByteArray &role)
{
    if (!window || !window->isWindow()) {
        return false;
    }
    // Through Qt, which keeps the role and writes it onto every X window it creates for this
    // one, also when it re-creates it.
    window->setWindowRole(QString::fromLatin1(role));
    return true;
}

} // namespace lookpane::X11WindowTraits
