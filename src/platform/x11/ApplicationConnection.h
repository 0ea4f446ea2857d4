#pragma once

#include <xcb/xcb.h>

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

} // namespace lookpane::x11
