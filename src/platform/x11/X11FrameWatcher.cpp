#include "platform/x11/X11FrameWatcher.h"

#include "platform/x11/PlatformX11Log.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QWidget>
#include <QWindow>

#include <xcb/xcb.h>

namespace lookpane::x11 {

X11FrameWatcher::X11FrameWatcher(QObject *parent) : QObject(parent)
{
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
    for (const QPointer<QWidget> &watched : m_windows) {
        const QWindow *handle = watched ? watched->windowHandle() : nullptr;
        if (handle && static_cast<xcb_window_t>(handle->winId()) == reparent->window) {
            qCDebug(lcPlatformX11, "window 0x%x now has parent 0x%x", reparent->window,
                    reparent->parent);
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
