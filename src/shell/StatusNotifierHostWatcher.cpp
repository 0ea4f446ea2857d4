#include "shell/StatusNotifierHostWatcher.h"

#include "shell/ShellLog.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <optional>

namespace lookpane {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString watcherInterface = QStringLiteral("org.kde.StatusNotifierWatcher");

// A panel that does not answer within this time is taken for none; Lookpane goes on starting.
constexpr int firstAnswerTimeoutMs = 3000;
constexpr int answerTimeoutMs = 10000;

QDBusMessage hostQuestion()
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    message.setArguments({watcherInterface, QStringLiteral("IsStatusNotifierHostRegistered")});
    return message;
}

// The property's value; none when the watcher answered with an error or not at all.
std::optional<bool> hostAnswer(const QDBusMessage &reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        qCDebug(lcShell, "the StatusNotifier watcher did not say whether a host is there: %s",
                qPrintable(reply.errorMessage()));
        return std::nullopt;
    }
    return qvariant_cast<QDBusVariant>(reply.arguments().constFirst()).variant().toBool();
}

} // namespace

StatusNotifierHostWatcher::StatusNotifierHostWatcher(const QDBusConnection &bus, QObject *parent)
    : QObject(parent), m_bus(bus)
{
    if (!m_bus.isConnected()) {
        qCInfo(lcShell, "No session bus (%s): a StatusNotifier tray cannot be seen",
               qPrintable(m_bus.lastError().message()));
        return;
    }
    // Every way the answer can change is followed before the first answer is read, so that
    // nothing that happens in between is missed.
    m_watcher = new QDBusServiceWatcher(watcherService, m_bus,
                                        QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) {
                watcherOwnerChanged(newOwner);
            });
    for (const QString &signal : {QStringLiteral("StatusNotifierHostRegistered"),
                                  QStringLiteral("StatusNotifierHostUnregistered")}) {
        if (!m_bus.connect(watcherService, watcherPath, watcherInterface, signal, this,
                           SLOT(hostsChanged()))) {
            qCWarning(lcShell, "Cannot follow the StatusNotifier watcher's %s: %s",
                      qPrintable(signal), qPrintable(m_bus.lastError().message()));
        }
    }

    const QDBusConnectionInterface *busInterface = m_bus.interface();
    if (busInterface == nullptr || !busInterface->isServiceRegistered(watcherService)) {
        return;
    }
    const QDBusMessage reply = m_bus.call(hostQuestion(), QDBus::Block, firstAnswerTimeoutMs);
    m_hostRegistered = hostAnswer(reply).value_or(false);
}

StatusNotifierHostWatcher::~StatusNotifierHostWatcher() = default;

void StatusNotifierHostWatcher::hostsChanged()
{
    ask();
}

void StatusNotifierHostWatcher::watcherOwnerChanged(const QString &newOwner)
{
    qCDebug(lcShell, "the StatusNotifier watcher is now %s",
            newOwner.isEmpty() ? "gone" : qPrintable(newOwner));
    if (newOwner.isEmpty()) {
        // Whatever an earlier question brings back is about the watcher that left.
        ++m_question;
        setHostRegistered(false);
    } else {
        ask();
    }
}

void StatusNotifierHostWatcher::ask()
{
    const std::uint64_t question = ++m_question;
    auto *pending =
        new QDBusPendingCallWatcher(m_bus.asyncCall(hostQuestion(), answerTimeoutMs), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this, question](QDBusPendingCallWatcher *call) {
                answered(question, call->reply());
                call->deleteLater();
            });
}

void StatusNotifierHostWatcher::answered(std::uint64_t question, const QDBusMessage &reply)
{
    if (question != m_question) {
        return;
    }
    setHostRegistered(hostAnswer(reply).value_or(false));
}

void StatusNotifierHostWatcher::setHostRegistered(bool registered)
{
    if (registered == m_hostRegistered) {
        return;
    }
    m_hostRegistered = registered;
    qCDebug(lcShell, "a StatusNotifier host is %s", registered ? "registered" : "gone");
    Q_EMIT hostRegisteredChanged(registered);
}

} // namespace lookpane
