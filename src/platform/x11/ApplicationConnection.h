#pragma once

#include <xcb/xcb.h>

class QWidget;

namespace lookpane::x11 {

// The X connection that Qt opened for this application's windows; none off X11 (a Wayland
// session, say) or before QGuiApplication exists. Qt owns it: it is never closed here.
xcb_connection_t *applicationConnection();

// The screen that Qt uses on that connection (the one $DISPLAY names), with its number for
// the per-screen selections such as _NET_WM_CM_Sn; none without a connection.
struct ApplicationScreen
{
    const xcb_screen_t *screen = nullptr;
    int number = 0;
};
ApplicationScreen applicationScreen(xcb_connection_t *connection);

// The X window that stands for the top-level `window` now, created if it has none yet. Not
// QWidget::winId(): Qt re-creates a hidden window's X window at its next show when its
// stay-on-top flag changed, and only the QWindow learns the new id.
xcb_window_t windowId(QWidget *window);

} // namespace lookpane::x11
