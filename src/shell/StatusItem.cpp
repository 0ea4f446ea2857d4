#include "shell/StatusItem.h"

#include "shell/ShellLog.h"

#include <QCursor>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

namespace lookpane {

StatusItem::StatusItem(const QIcon &icon, QMenu *menu, QObject *parent)
    : QObject(parent), m_icon(std::make_unique<QSystemTrayIcon>(icon))
{
    m_icon->setToolTip(QStringLiteral("Lookpane controls"));
    m_icon->setContextMenu(menu);
    // A left click opens the same menu: the icon has nothing else to do.
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
            [this, menu](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    const QRect around = m_icon->geometry();
                    menu->popup(around.isValid() ? around.bottomLeft() : QCursor::pos());
                }
            });
    m_icon->show();
    if (!isTrayAvailable()) {
        qCInfo(lcShell, "No tray on this desktop yet; the menu opens from a right-click on the "
                        "toolbar, and the icon appears when a tray starts");
    }
}

StatusItem::~StatusItem() = default;

bool StatusItem::isTrayAvailable()
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}

} // namespace lookpane
