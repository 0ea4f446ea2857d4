#pragma once

#include "StatusNotifierWatcher.h"

#include <QDBusConnection>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <optional>
#include <string>
#include <vector>

namespace lookpane::testing {

// One entry of a com.canonical.dbusmenu layout, with its submenu's entries.
struct DBusMenuEntry
{
    int id = 0;
    QVariantMap properties;
    std::vector<DBusMenuEntry> children;

    // The label as a menu shows it: "_" marks the mnemonic that follows, "__" is an underscore.
    QString label() const;
    // Properties a menu leaves out have their default values.
    bool isEnabled() const;
    bool isVisible() const;
    bool isSeparator() const;
    bool hasSubmenu() const;
    // 1 checked, 0 unchecked, -1 for an item that cannot be checked.
    int toggleState() const;

    // The first entry in this subtree (this one included) whose shown label is `label`.
    const DBusMenuEntry *find(const QString &label) const;
};

// The ToolTip property of a StatusNotifierItem, without its pixmaps.
struct StatusNotifierToolTip
{
    QString iconName;
    QString title;
    QString text;
};

// Talks to a StatusNotifierItem as a panel does: reads its properties and its menu and
// sends the menu's events, over a connection of its own to the private bus.
class StatusNotifierItemClient
{
public:
    StatusNotifierItemClient(const std::string &busAddress, StatusNotifierItemAddress item);
    ~StatusNotifierItemClient();

    StatusNotifierItemClient(const StatusNotifierItemClient &) = delete;
    StatusNotifierItemClient &operator=(const StatusNotifierItemClient &) = delete;

    bool isConnected() const { return m_connection.isConnected(); }
    // The last error a call met, for failure messages.
    const QString &lastError() const { return m_lastError; }

    // A property of org.kde.StatusNotifierItem; invalid when the item does not answer.
    QVariant property(const QString &name);
    // The Menu property: the object path of the item's com.canonical.dbusmenu.
    std::optional<QString> menuPath();
    std::optional<StatusNotifierToolTip> toolTip();

    // GetLayout(0, -1, []): the whole menu; none when the item does not answer.
    std::optional<DBusMenuEntry> layout();
    // What a panel says before it opens the menu (0) or a submenu: AboutToShow(id).
    bool aboutToShow(int id);
    // A click on an entry: Event(id, "clicked", ...).
    bool click(int id);

private:
    std::optional<QVariantList> call(const QString &path, const QString &interface,
                                     const QString &method, const QVariantList &arguments);

    QString m_connectionName;
    QDBusConnection m_connection;
    StatusNotifierItemAddress m_item;
    std::optional<QString> m_menuPath;
    QString m_lastError;
};

} // namespace lookpane::testing
