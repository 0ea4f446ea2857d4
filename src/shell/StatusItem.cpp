#include "shell/StatusItem.h"

#include "platform/x11/X11SystemTrayWatcher.h"
#include "shell/ShellLog.h"
#include "shell/StatusNotifierHostWatcher.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QSystemTrayIcon>

namespace lookpane {

namespace {

const char *routeName(TrayRoute route)
{
    switch (route) {
    case TrayRoute::undecided:
        return "no tray";
    case TrayRoute::statusNotifier:
        return "the StatusNotifier panel";
    case TrayRoute::xembed:
        return "the XEmbed tray";
    }
    return "?";
}

} // namespace

StatusItem::StatusItem(const QIcon &icon, QMenu *menu, QObject *parent)
    : QObject(parent), m_image(icon), m_menu(menu),
      m_hosts(std::make_unique<StatusNotifierHostWatcher>())
{
    connect(m_hosts.get(), &StatusNotifierHostWatcher::hostRegisteredChanged, this,
            &StatusItem::traysChanged);
    // Qt docks icons in an XEmbed tray only on X11; elsewhere only a StatusNotifier panel
    // counts.
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        QString failure;
        m_xembedTray = x11::X11SystemTrayWatcher::create(&failure);
        if (m_xembedTray) {
            connect(m_xembedTray.get(), &x11::X11SystemTrayWatcher::trayPresenceChanged, this,
                    &StatusItem::traysChanged);
        } else {
            m_xembedFollowed = false;
            qCWarning(lcShell,
                      "Cannot follow the desktop's XEmbed tray (%s); the tray icon is made now, "
                      "and a StatusNotifier panel that starts later will not show it",
                      qPrintable(failure));
        }
    }
    traysChanged();
    if (m_route == TrayRoute::undecided) {
        qCInfo(lcShell, "No tray on this desktop yet; the menu opens from a right-click on the "
                        "toolbar, and the icon appears when a tray starts");
    }
}

StatusItem::~StatusItem() = default;

TrayPresence StatusItem::presence() const
{
    TrayPresence now;
    now.statusNotifierHost = m_hosts->isHostRegistered();
    now.xembedFollowed = m_xembedFollowed;
    if (m_xembedTray) {
        now.xembedTray = m_xembedTray->isTrayPresent();
    } else if (!m_xembedFollowed && m_icon) {
        // Qt is asked only once the icon exists: the question itself settles its choice.
        now.xembedTray = QSystemTrayIcon::isSystemTrayAvailable();
    }
    return now;
}

void StatusItem::traysChanged()
{
    if (m_route == TrayRoute::undecided) {
        m_route = chooseTrayRoute(presence());
        if (m_route != TrayRoute::undecided) {
            qCInfo(lcShell, "The tray icon goes to %s", routeName(m_route));
            makeIcon();
        }
    }
    const bool available = isTrayShowing(m_route, presence());
    if (available == m_available) {
        return;
    }
    m_available = available;
    qCDebug(lcShell, "the tray icon is %s", available ? "shown" : "without a tray");
    Q_EMIT availabilityChanged(available);
}

void StatusItem::makeIcon()
{
    m_icon = std::make_unique<QSystemTrayIcon>(m_image);
    m_icon->setToolTip(QStringLiteral("Lookpane controls"));
    m_icon->setContextMenu(m_menu.data());
    // A left click opens the same menu: the icon has nothing else to do.
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger && m_menu) {
                    const QRect around = m_icon->geometry();
                    m_menu->popup(around.isValid() ? around.bottomLeft() : QCursor::pos());
                }
            });
    m_icon->show();
}

} // namespace lookpane
