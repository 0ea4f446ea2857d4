#include "platform/x11/X11FrameWatcher.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XReply.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QRect>
#include <QRegion>
#include <QWidget>
#include <QWindow>

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <optional>

namespace lookpane::x11 {

namespace {

// The checks after a reframing, each this long after the one before: the first soon enough
// that a missed shape is put right before the user reaches for the box, the last late enough
// for a window manager that is slow to settle after starting.
constexpr std::array checkIntervals = {
    std::chrono::milliseconds(50), std::chrono::milliseconds(200), std::chrono::milliseconds(750),
    std::chrono::milliseconds(2000)};

constexpr int maximumRestarts = 3;

std::optional<QRegion> inputShape(xcb_connection_t *c, xcb_window_t window, int dx, int dy)
{
    const Reply<xcb_shape_get_rectangles_reply_t> shape(xcb_shape_get_rectangles_reply(
        c, xcb_shape_get_rectangles(c, window, XCB_SHAPE_SK_INPUT), nullptr));
    if (!shape) {
        return std::nullopt;
    }
    QRegion region;
    const xcb_rectangle_t *r = xcb_shape_get_rectangles_rectangles(shape.get());
    const int count = xcb_shape_get_rectangles_rectangles_length(shape.get());
    for (int i = 0; i < count; ++i) {
        region += QRect(r[i].x + dx, r[i].y + dy, r[i].width, r[i].height);
    }
    return region;
}

} // namespace

X11FrameWatcher::X11FrameWatcher(QObject *parent) : QObject(parent)
{
    m_check.setSingleShot(true);
    connect(&m_check, &QTimer::timeout, this, &X11FrameWatcher::checkFrames);
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11FrameWatcher::~X11FrameWatcher()
{
    if (QCoreApplication *application = QCoreApplication::instance()) {
        application->removeNativeEventFilter(this);
    }
}

void X11FrameWatcher::watch(QWidget *window)
{
    m_windows.append(window);
}

bool X11FrameWatcher::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) != XCB_REPARENT_NOTIFY) {
        return false;
    }
    const auto *reparent = reinterpret_cast<const xcb_reparent_notify_event_t *>(event);
    const xcb_window_t window = reparent->window;
    qCDebug(lcPlatformX11, "window 0x%x now has parent 0x%x", window, reparent->parent);
    for (const QPointer<QWidget> &watched : m_windows) {
        const QWindow *handle = watched ? watched->windowHandle() : nullptr;
        if (handle && static_cast<xcb_window_t>(handle->winId()) == window) {
            reportLater(watched);
        }
    }
    return false;
}

void X11FrameWatcher::reportLater(const QPointer<QWidget> &window)
{
    // After Qt has handled the event itself.
    QMetaObject::invokeMethod(
        this,
        [this, window] {
            if (window) {
                Q_EMIT reframed(window);
            }
        },
        Qt::QueuedConnection);
    m_checksLeft = static_cast<int>(checkIntervals.size());
    m_restartsLeft = maximumRestarts;
    m_check.start(checkIntervals.front());
}

void X11FrameWatcher::checkFrames()
{
    bool mended = false;
    for (const QPointer<QWidget> &watched : m_windows) {
        QWidget *window = watched.data();
        if (window && window->isVisible() && !frameFollowsInputShape(window)) {
            qCDebug(lcPlatformX11, "the frame of window 0x%x lost its input shape; shaping again",
                    windowId(window));
            Q_EMIT reframed(window);
            mended = true;
        }
    }
    // A window manager that lost the shape once may lose it again while it settles: checking
    // starts over, a bounded number of times, so that one that never copies input shapes
    // is not asked forever.
    if (mended && m_restartsLeft > 0) {
        --m_restartsLeft;
        m_checksLeft = static_cast<int>(checkIntervals.size());
        m_check.start(checkIntervals.front());
        return;
    }
    if (--m_checksLeft > 0) {
        m_check.start(checkIntervals[checkIntervals.size() - static_cast<size_t>(m_checksLeft)]);
    }
}

bool X11FrameWatcher::frameFollowsInputShape(QWidget *window)
{
    xcb_connection_t *c = applicationConnection();
    if (!c || !window) {
        return false;
    }
    const xcb_window_t id = windowId(window);
    if (id == XCB_WINDOW_NONE) {
        return false;
    }
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, id), nullptr));
    const Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, id), nullptr));
    if (!tree || !geometry) {
        return false;
    }
    if (tree->parent == tree->root) {
        return true;
    }
    // Where the window lies in its frame, the frame must take the clicks the window takes:
    // no more (its interior would swallow them), no fewer. Decorations outside it are the
    // window manager's own business.
    const QRect whole(geometry->x, geometry->y, geometry->width, geometry->height);
    const std::optional<QRegion> own = inputShape(c, id, geometry->x, geometry->y);
    const std::optional<QRegion> frame = inputShape(c, tree->parent, 0, 0);
    if (!own || !frame) {
        return false;
    }
    return (*frame & whole) == (*own & whole);
}

} // namespace lookpane::x11
