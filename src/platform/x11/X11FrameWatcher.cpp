#include "platform/x11/X11FrameWatcher.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XAtoms.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QWidget>
#include <QWindow>

#include <xcb/xcb.h>

namespace lookpane::x11 {

X11FrameWatcher::X11FrameWatcher(QObject *parent) : QObject(parent)
{
    if (xcb_connection_t *connection = applicationConnection()) {
        m_frameExtents = internAtom(connection, "_NET_FRAME_EXTENTS");
        m_wmState = internAtom(connection, "WM_STATE");
    }
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
    xcb_window_t window = XCB_WINDOW_NONE;
    switch (event->response_type & 0x7f) {
    case XCB_REPARENT_NOTIFY:
        window = reinterpret_cast<const xcb_reparent_notify_event_t *>(event)->window;
        break;
    case XCB_PROPERTY_NOTIFY: {
        // A window manager marks the windows it manages (WM_STATE) and tells the size of its
        // frame (_NET_FRAME_EXTENTS) once it has framed them, after the reparenting: the frame
        // is then certain to follow the shapes set from here on.
        const auto *property = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (property->atom != XCB_ATOM_NONE &&
            (property->atom == m_frameExtents || property->atom == m_wmState)) {
            window = property->window;
        }
        break;
    }
    default:
        break;
    }
    if (window == XCB_WINDOW_NONE) {
        return false;
    }
    for (const QPointer<QWidget> &watched : m_windows) {
        const QWindow *handle = watched ? watched->windowHandle() : nullptr;
        if (handle && static_cast<xcb_window_t>(handle->winId()) == window) {
            qCDebug(lcPlatformX11, "window 0x%x framed anew (event %d)", window,
                    event->response_type & 0x7f);
            // After Qt has handled the event itself.
            QMetaObject::invokeMethod(
                this,
                [this, watched] {
                    if (watched) {
                        Q_EMIT reframed(watched);
                    }
                },
                Qt::QueuedConnection);
        }
    }
    return false;
}

} // namespace lookpane::x11
