#pragma once

#include <QtGlobal>

#include <optional>

class QWidget;

namespace lookpane::x11 {

// Small requests to the X11 desktop about the toolbar's window. Without an X11 connection (a
// Wayland session, say) they do nothing and answer as a composited desktop would.

// Whether a compositing manager owns the screen's _NET_WM_CM_Sn selection, so that translucent
// windows are blended with what lies beneath them.
bool isCompositingManagerRunning();

// Puts a top-level window on every virtual desktop (_NET_WM_DESKTOP 0xFFFFFFFF): the property
// for a window about to be mapped, and the request to the window manager for one it manages.
void showOnAllDesktops(QWidget *window);

// The window's _NET_WM_DESKTOP as the X server holds it; none when unset or unreadable.
std::optional<quint32> desktopOfWindow(QWidget *window);

} // namespace lookpane::x11
