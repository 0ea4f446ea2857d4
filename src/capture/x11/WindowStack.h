#pragma once

#include <xcb/xcb.h>

#include <QRect>

#include <vector>

namespace lookpane::x11 {

class XcbConnection;

// One child of the root window as the capture sees it.
struct TopLevelWindow
{
    xcb_window_t id = XCB_WINDOW_NONE;
    // Outer rectangle in root coordinates, border included: what the window's pixmap covers.
    QRect outer;
    int borderWidth = 0;
    bool viewable = false;
    bool overrideRedirect = false;
    bool inputOutput = true;
    xcb_visualid_t visual = 0;
};

// The root's children bottom to top, with map state and geometry, read with a few pipelined
// requests. Windows that vanish while being read are simply left out.
class WindowStack
{
public:
    // Reads the stack again; false when the root itself cannot be read.
    bool rescan(const XcbConnection &connection);

    const std::vector<TopLevelWindow> &windows() const { return m_windows; }
    const TopLevelWindow *find(xcb_window_t window) const;

private:
    std::vector<TopLevelWindow> m_windows;
};

} // namespace lookpane::x11
