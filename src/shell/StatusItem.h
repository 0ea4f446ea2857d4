#pragma once

#include "shell/TrayRoute.h"

#include <QIcon>
#include <QObject>
#include <QPointer>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace lookpane {

class StatusNotifierHostWatcher;

namespace x11 {
class X11SystemTrayWatcher;
} // namespace x11

// The tray icon: Lookpane's viewfinder with the tooltip "Lookpane controls", opening the status
// menu. Qt speaks to whichever tray the desktop has: a StatusNotifierItem host on the session
// bus (the menu then travels over D-Bus) or an XEmbed system tray. Qt makes that choice once,
// for good, when the icon is made (see TrayRoute.h), so where the desktop has no tray yet the
// icon is made only when the first one starts: a panel that starts after Lookpane gets the
// icon whichever kind it is. An icon docked in an XEmbed tray stays there when a
// StatusNotifier panel starts later; the desktop shows it already.
class StatusItem : public QObject
{
    Q_OBJECT
public:
    // `icon` is the application's own (the viewfinder of its resources).
    StatusItem(const QIcon &icon, QMenu *menu, QObject *parent = nullptr);
    ~StatusItem() override;

    StatusItem(const StatusItem &) = delete;
    StatusItem &operator=(const StatusItem &) = delete;

    // Whether Lookpane's icon shows in a tray now.
    bool isTrayAvailable() const { return m_available; }
    TrayRoute route() const { return m_route; }

    // The icon; none while the desktop has had no tray.
    QSystemTrayIcon *trayIcon() const { return m_icon.get(); }

Q_SIGNALS:
    // The icon came into a tray, or its tray went.
    void availabilityChanged(bool available);

private:
    void traysChanged();
    TrayPresence presence() const;
    void makeIcon();

    QIcon m_image;
    QPointer<QMenu> m_menu;
    std::unique_ptr<StatusNotifierHostWatcher> m_hosts;
    std::unique_ptr<x11::X11SystemTrayWatcher> m_xembedTray; // none where it cannot be followed
    bool m_xembedFollowed = true;
    std::unique_ptr<QSystemTrayIcon> m_icon;
    TrayRoute m_route = TrayRoute::undecided;
    bool m_available = false;
};

} // namespace lookpane
