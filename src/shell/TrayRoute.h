#pragma once

namespace lookpane {

// Which tray Lookpane's icon goes to. Qt settles it once per process, as the first
// QSystemTrayIcon is made: a StatusNotifierItem host on the session bus if one is registered
// then, the XEmbed system tray otherwise, for the rest of the run. Qt follows an XEmbed tray
// that starts later and a StatusNotifier watcher that restarts, but never moves an icon from
// one kind of tray to the other; so the icon is made only once there is a tray to decide by.
enum class TrayRoute
{
    undecided,      // no icon yet: no tray so far, and one that starts will be seen
    statusNotifier, // an item on the session bus, its menu over com.canonical.dbusmenu
    xembed,         // a window docked in the X system tray
};

// The trays the desktop has now.
struct TrayPresence
{
    // A StatusNotifierItem host is registered with the session bus's watcher.
    bool statusNotifierHost = false;
    // An XEmbed tray owns the screen's tray selection.
    bool xembedTray = false;
    // Whether an XEmbed tray that starts later would be seen. Where it would not (the X
    // server cannot report the selection's owner), the icon is made at once and Qt follows the
    // XEmbed tray itself, as it does for an icon made while there was no tray.
    bool xembedFollowed = true;
};

// The route an icon not made yet takes now; `undecided` while waiting is better.
TrayRoute chooseTrayRoute(const TrayPresence &presence);

// Whether an icon that took `route` shows in a tray now. An XEmbed icon does not show in a
// StatusNotifier panel, nor a StatusNotifier item in an XEmbed tray.
bool isTrayShowing(TrayRoute route, const TrayPresence &presence);

} // namespace lookpane
