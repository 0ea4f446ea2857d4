#include "capture/ShareableWindow.h"

#include "model/ScreenCoordinates.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>

namespace lookpane {

const QSet<QString> &ShareableWindow::systemBundleIdentifiers()
{
    // Built once, on first use; the initialisation of a local static is thread-safe.
    static const QSet<QString> identifiers = {
        // Panels and bars.
        QStringLiteral("Xfce4-panel"),
        QStringLiteral("Wrapper-2.0"), // Xfce panel plug-ins
        QStringLiteral("Lxpanel"),
        QStringLiteral("Lxqt-panel"),
        QStringLiteral("Mate-panel"),
        QStringLiteral("Budgie-panel"),
        QStringLiteral("Gnome-panel"),
        QStringLiteral("Polybar"),
        QStringLiteral("Tint2"),
        QStringLiteral("Xmobar"),
        QStringLiteral("Lemonbar"),
        QStringLiteral("Stalonetray"),
        QStringLiteral("Trayer"),
        // Docks.
        QStringLiteral("Plank"),
        QStringLiteral("Docky"),
        QStringLiteral("Cairo-dock"),
        QStringLiteral("Latte-dock"),
        // Shells and desktops.
        QStringLiteral("Gnome-shell"),
        QStringLiteral("Plasmashell"),
        QStringLiteral("Cinnamon"),
        QStringLiteral("Xfdesktop"),
        QStringLiteral("Nautilus-desktop"),
        QStringLiteral("Nemo-desktop"),
        QStringLiteral("Desktop_window"),
        QStringLiteral("Conky"),
        QStringLiteral("Openbox"),
        // Notification daemons.
        QStringLiteral("Dunst"),
        QStringLiteral("Xfce4-notifyd"),
        QStringLiteral("Notify-osd"),
        QStringLiteral("Mate-notification-daemon"),
        QStringLiteral("Lxqt-notificationd"),
    };
    return identifiers;
}

namespace {

bool isOfferable(const ShareableWindowEntry &entry, std::int64_t ownProcessID)
{
    if (!entry.owningApplication) {
        return false;
    }
    if (entry.windowLayer != 0) {
        return false;
    }
    const ShareableApplication &application = *entry.owningApplication;
    if (application.processID == ownProcessID) {
        return false;
    }
    if (ShareableWindow::systemBundleIdentifiers().contains(application.bundleIdentifier)) {
        return false;
    }
    return entry.frame.width() >= shareableWindowMinimumWidth &&
           entry.frame.height() >= shareableWindowMinimumHeight;
}

} // namespace

std::vector<ShareableWindow> makeShareableWindows(const std::vector<ShareableWindowEntry> &entries,
                                                  std::int64_t ownProcessID,
                                                  const QRectF &primaryGeometry)
{
    std::vector<ShareableWindow> windows;
    for (const ShareableWindowEntry &entry : entries) {
        if (!isOfferable(entry, ownProcessID)) {
            continue;
        }
        ShareableWindow window;
        window.applicationName = entry.owningApplication->applicationName;
        window.title = entry.title.trimmed();
        if (window.title.isEmpty()) {
            window.title = window.applicationName;
        }
        window.frame = screenRectFromQt(entry.frame, primaryGeometry);
        windows.push_back(std::move(window));
    }

    QCollator collator{QLocale()};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    // Names equal but for case count as one application whose titles are not compared, so
    // such windows keep the window system's order.
    std::stable_sort(windows.begin(), windows.end(),
                     [&collator](const ShareableWindow &a, const ShareableWindow &b) {
                         if (collator.compare(a.applicationName, b.applicationName) < 0) {
                             return true;
                         }
                         if (a.applicationName != b.applicationName) {
                             return false;
                         }
                         return collator.compare(a.title, b.title) < 0;
                     });
    return windows;
}

} // namespace lookpane
