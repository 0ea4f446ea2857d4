#pragma once

#include "platform/x11/XResource.h"

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <xcb/xcb.h>

#include <cstdint>

namespace lookpane::x11 {

// Follows the compositing manager of the application's screen: whoever owns the screen's
// _NET_WM_CM_Sn selection. A compositing manager blends translucent windows with what lies
// beneath them; without one their transparent pixels show black. Compositing managers come
// and go while Lookpane runs (a user starts xcompmgr or picom, one crashes, a desktop turns
// its effects off), and neither Qt nor the screen says so, so the watcher asks the X server
// (XFixes) to report every change of the selection's owner, including an owner that exits
// without giving the selection up.
//
// Events arrive on Qt's own connection through a native event filter, on the main thread.
// Without an X11 connection (a Wayland session, say) it answers as a composited desktop
// would and never reports; without XFixes it keeps the answer it found at the start.
class CompositingManagerWatcher : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    explicit CompositingManagerWatcher(QObject *parent = nullptr);
    ~CompositingManagerWatcher() override;

    CompositingManagerWatcher(const CompositingManagerWatcher &) = delete;
    CompositingManagerWatcher &operator=(const CompositingManagerWatcher &) = delete;

    // Whether a compositing manager owns the screen now, as far as the events have told.
    bool isRunning() const { return m_running; }
    // Whether changes are reported (an X11 connection with XFixes).
    bool isWatching() const { return m_eventWindow.id() != 0; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    // A compositing manager took the screen (true) or left it (false).
    void runningChanged(bool running);

private:
    // The window that receives the selection events; destroying it ends the subscription.
    struct WindowTraits
    {
        static void free(xcb_connection_t *connection, std::uint32_t id);
    };

    void setRunning(bool running);

    xcb_connection_t *m_connection = nullptr;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    std::uint8_t m_selectionNotify = 0;
    XResource<WindowTraits> m_eventWindow;
    bool m_running = true;
};

} // namespace lookpane::x11
