#pragma once

#include "capture/CaptureBackend.h"
#include "capture/x11/DisplayResolver.h"

namespace lookpane::x11 {

class XcbConnection;

// The windows of the desktop as the window manager lists them (EWMH client list in stacking
// order; the root's children where no window manager runs), front to back, with their frames
// including the window manager's decorations (_NET_FRAME_EXTENTS) in Qt's global coordinates
// (points; root pixels mapped by the monitor each window is on, qtRectFromRootPixels), titles
// (_NET_WM_NAME, else WM_NAME), owners (_NET_WM_PID, else the X-Resource client's process) and
// application names (the class of WM_CLASS). Ordinary windows (_NET_WM_WINDOW_TYPE_NORMAL, or no
// type) are layer 0.
std::vector<ShareableWindowEntry> readShareableWindows(const XcbConnection &connection,
                                                       bool excludingDesktopWindows,
                                                       bool onScreenWindowsOnly,
                                                       const std::vector<ScaledMonitor> &monitors);

} // namespace lookpane::x11
