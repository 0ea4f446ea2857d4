#include "StatusNotifierItemClient.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <atomic>

namespace lookpane::testing {

namespace {

const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
constexpr int callTimeoutMs = 15000;

QString newConnectionName()
{
    static std::atomic<int> count{0};
    return QStringLiteral("lookpane-test-panel-%1").arg(++count);
}

// (ia{sv}av): the entry, its properties and its children, each a variant holding the same.
DBusMenuEntry readEntry(const QDBusArgument &argument)
{
    DBusMenuEntry entry;
    argument.beginStructure();
    argument >> entry.id;
    argument >> entry.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        entry.children.push_back(readEntry(child.variant().value<QDBusArgument>()));
    }
    argument.endArray();
    argument.endStructure();
    return entry;
}

} // namespace

QString DBusMenuEntry::label() const
{
    const QString text = properties.value(QStringLiteral("label")).toString();
    QString shown;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('_')) {
            if (i + 1 < text.size() && text[i + 1] == QLatin1Char('_')) {
                shown += QLatin1Char('_');
                ++i;
            }
            continue;
        }
        shown += text[i];
    }
    return shown;
}

bool DBusMenuEntry::isEnabled() const
{
    return properties.value(QStringLiteral("enabled"), true).toBool();
}

bool DBusMenuEntry::isVisible() const
{
    return properties.value(QStringLiteral("visible"), true).toBool();
}

bool DBusMenuEntry::isSeparator() const
{
    return properties.value(QStringLiteral("type")).toString() == QStringLiteral("separator");
}

bool DBusMenuEntry::hasSubmenu() const
{
    return properties.value(QStringLiteral("children-display")).toString() ==
           QStringLiteral("submenu");
}

int DBusMenuEntry::toggleState() const
{
    if (!properties.contains(QStringLiteral("toggle-type"))) {
        return -1;
    }
    return properties.value(QStringLiteral("toggle-state"), 0).toInt();
}

const DBusMenuEntry *DBusMenuEntry::find(const QString &wanted) const
{
    if (!isSeparator() && label() == wanted) {
        return this;
    }
    for (const DBusMenuEntry &child : children) {
        if (const DBusMenuEntry *found = child.find(wanted)) {
            return found;
        }
    }
    return nullptr;
}

StatusNotifierItemClient::StatusNotifierItemClient(const std::string &busAddress,
                                                   StatusNotifierItemAddress item)
    : m_connectionName(newConnectionName()),
      m_connection(
          QDBusConnection::connectToBus(QString::fromStdString(busAddress), m_connectionName)),
      m_item(std::move(item))
{}

StatusNotifierItemClient::~StatusNotifierItemClient()
{
    QDBusConnection::disconnectFromBus(m_connectionName);
}

std::optional<QVariantList> StatusNotifierItemClient::call(const QString &path,
                                                           const QString &interface,
                                                           const QString &method,
                                                           const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(m_item.service, path, interface, method);
    message.setArguments(arguments);
    const QDBusMessage reply = m_connection.call(message, QDBus::Block, callTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        m_lastError = method + QStringLiteral(": ") + reply.errorName() + QStringLiteral(" ") +
                      reply.errorMessage();
        return std::nullopt;
    }
    return reply.arguments();
}

QVariant StatusNotifierItemClient::property(const QString &name)
{
    const std::optional<QVariantList> reply =
        call(m_item.path, propertiesInterface, QStringLiteral("Get"), {itemInterface, name});
    if (!reply || reply->isEmpty()) {
        return {};
    }
    return reply->first().value<QDBusVariant>().variant();
}

std::optional<QString> StatusNotifierItemClient::menuPath()
{
    const QVariant menu = property(QStringLiteral("Menu"));
    if (!menu.canConvert<QDBusObjectPath>()) {
        return std::nullopt;
    }
    return menu.value<QDBusObjectPath>().path();
}

std::optional<StatusNotifierToolTip> StatusNotifierItemClient::toolTip()
{
    // (sa(iiay)ss): icon name, icon pixmaps, title, text.
    const QVariant value = property(QStringLiteral("ToolTip"));
    if (!value.canConvert<QDBusArgument>()) {
        return std::nullopt;
    }
    const QDBusArgument argument = value.value<QDBusArgument>();
    StatusNotifierToolTip tip;
    argument.beginStructure();
    argument >> tip.iconName;
    argument.beginArray();
    while (!argument.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        argument.beginStructure();
        argument >> width >> height >> pixels;
        argument.endStructure();
    }
    argument.endArray();
    argument >> tip.title >> tip.text;
    argument.endStructure();
    return tip;
}

std::optional<DBusMenuEntry> StatusNotifierItemClient::layout()
{
    if (!m_menuPath) {
        m_menuPath = menuPath();
        if (!m_menuPath) {
            return std::nullopt;
        }
    }
    const std::optional<QVariantList> reply =
        call(*m_menuPath, menuInterface, QStringLiteral("GetLayout"), {0, -1, QStringList()});
    // (u revision, (ia{sv}av) layout)
    if (!reply || reply->size() != 2) {
        return std::nullopt;
    }
    return readEntry(reply->at(1).value<QDBusArgument>());
}

bool StatusNotifierItemClient::aboutToShow(int id)
{
    if (!m_menuPath && !(m_menuPath = menuPath())) {
        return false;
    }
    return call(*m_menuPath, menuInterface, QStringLiteral("AboutToShow"), {id}).has_value();
}

bool StatusNotifierItemClient::click(int id)
{
    if (!m_menuPath && !(m_menuPath = menuPath())) {
        return false;
    }
    const QVariantList arguments{id, QStringLiteral("clicked"),
                                 QVariant::fromValue(QDBusVariant(QVariant(0))), 0u};
    return call(*m_menuPath, menuInterface, QStringLiteral("Event"), arguments).has_value();
}

} // namespace lookpane::testing
