#pragma once

#include <QObject>

#include <memory>

class QIcon;
class QMenu;
class QSystemTrayIcon;

namespace lookpane {

// The tray icon: Lookpane's viewfinder with the tooltip "Lookpane controls", opening the status
// menu. Qt speaks to whichever tray the desktop has: a StatusNotifierItem host on the session
// bus (the menu then travels over D-Bus) or an XEmbed system tray.
class StatusItem : public QObject
{
    Q_OBJECT
public:
    // `icon` is the application's own (the viewfinder of its resources).
    StatusItem(const QIcon &icon, QMenu *menu, QObject *parent = nullptr);
    ~StatusItem() override;

    StatusItem(const StatusItem &) = delete;
    StatusItem &operator=(const StatusItem &) = delete;

    // Whether the desktop has a tray to show the icon in now.
    static bool isTrayAvailable();

    QSystemTrayIcon *trayIcon() const { return m_icon.get(); }

private:
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace lookpane
