#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lookpane::testing {

// The windows that a meeting application's "share a window" picker offers, found as the
// pickers built on WebRTC's X11 window list find them (browsers and the desktop meeting clients
// built on them):
// - every child of each screen's root window, front to back;
// - for each, its application window: the child itself when its WM_STATE says normal, nothing
//   when it says iconic (minimised windows are not offered), and otherwise (no WM_STATE, as on
//   a window manager's frame) the first of its children, in tree order, that has an application
//   window of its own;
// - left out when it is a desktop element: a _NET_WM_WINDOW_TYPE that lists types without
//   _NET_WM_WINDOW_TYPE_NORMAL (docks, utility windows, dialogs...), or, with no type at all, a
//   WM_CLASS instance of "gnome-panel" or "desktop_window";
// - left out when it has no WM_NAME (the title shown under each window).
struct PickerWindow
{
    std::uint32_t id = 0;
    QString title;     // WM_NAME
    QString role;      // WM_WINDOW_ROLE
    int pid = 0;       // _NET_WM_PID; 0 when the window does not say
    QStringList types; // _NET_WM_WINDOW_TYPE by atom name, in the window's order
    bool offered = false;
};

struct PickerListing
{
    // The application windows found before the type and title filters, front to back: what the
    // picker looked at.
    std::vector<PickerWindow> applicationWindows;
    // Those that it offers, front to back.
    std::vector<PickerWindow> offered() const;
};

// None when the display cannot be reached.
std::optional<PickerListing> listPickerWindows(const std::string &display);

// The window's _NET_WM_WINDOW_TYPE by atom name; empty when it has none.
QStringList windowTypeNames(const std::string &display, std::uint32_t window);

} // namespace lookpane::testing
