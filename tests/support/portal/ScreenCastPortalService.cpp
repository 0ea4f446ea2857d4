#include "ScreenCastPortalService.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMetaType>
#include <QMetaObject>
#include <QTimer>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

namespace lookpane::testing {

struct PortalIntPair
{
    int first = 0;
    int second = 0;
};

struct PortalStreamEntry
{
    uint node = 0;
    QVariantMap properties;
};

} // namespace lookpane::testing

Q_DECLARE_METATYPE(lookpane::testing::PortalIntPair)
Q_DECLARE_METATYPE(lookpane::testing::PortalStreamEntry)

namespace lookpane::testing {

QDBusArgument &operator<<(QDBusArgument &argument, const PortalIntPair &pair)
{
    argument.beginStructure();
    argument << pair.first << pair.second;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PortalIntPair &pair)
{
    argument.beginStructure();
    argument >> pair.first >> pair.second;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const PortalStreamEntry &entry)
{
    argument.beginStructure();
    argument << entry.node << entry.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PortalStreamEntry &entry)
{
    argument.beginStructure();
    argument >> entry.node >> entry.properties;
    argument.endStructure();
    return argument;
}

// org.freedesktop.portal.Session at a session's handle.
class PortalSessionObject : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Session")

public:
    PortalSessionObject(ScreenCastPortalService *service, QString path)
        : m_service(service), m_path(std::move(path))
    {}

public Q_SLOTS:
    void Close()
    {
        // After the reply: closing destroys this object.
        QMetaObject::invokeMethod(
            m_service, [service = m_service, path = m_path] { service->closeSession(path); },
            Qt::QueuedConnection);
    }

private:
    ScreenCastPortalService *m_service;
    QString m_path;
};

// The tests' remote control.
class PortalControlObject : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.lookpane.test.ScreenCast")

public:
    explicit PortalControlObject(ScreenCastPortalService *service) : m_service(service) {}

public Q_SLOTS:
    void SetCancelDialog(bool cancel) { m_service->setCancelDialog(cancel); }
    void SetHoldDialog(bool hold) { m_service->setHoldDialog(hold); }
    void SetAnimated(bool animated) { m_service->setAnimated(animated); }
    void EndStreams() { m_service->endStreams(); }
    int DialogCount() { return m_service->dialogCount(); }
    int OpenSessions() { return m_service->openSessions(); }
    int StreamCount() { return m_service->streamCount(); }
    int PicturesSent() { return m_service->picturesSent(); }
    QString LastRestoreToken() { return m_service->lastRestoreToken(); }
    uint LastCursorMode() { return m_service->lastCursorMode(); }
    uint LastPersistMode() { return m_service->lastPersistMode(); }

private:
    ScreenCastPortalService *m_service;
};

ScreenCastPortalService::ScreenCastPortalService(QDBusConnection bus,
                                                 PortalServiceSettings settings)
    : m_bus(std::move(bus)), m_settings(std::move(settings))
{
    qDBusRegisterMetaType<PortalIntPair>();
    qDBusRegisterMetaType<PortalStreamEntry>();
    qDBusRegisterMetaType<QList<PortalStreamEntry>>();
}

ScreenCastPortalService::~ScreenCastPortalService() = default;

bool ScreenCastPortalService::registerOn()
{
    m_control = std::make_unique<PortalControlObject>(this);
    return m_bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                                QDBusConnection::ExportAllSlots |
                                    QDBusConnection::ExportAllProperties) &&
           m_bus.registerObject(QStringLiteral("/org/lookpane/test"), m_control.get(),
                                QDBusConnection::ExportAllSlots) &&
           m_bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
}

QString ScreenCastPortalService::requestPath(const QDBusMessage &message,
                                             const QVariantMap &options)
{
    QString sender = message.service().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString token =
        options.value(QStringLiteral("handle_token"), QStringLiteral("t%1").arg(m_tokensIssued++))
            .toString();
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
}

void ScreenCastPortalService::respond(const QString &requestPath, uint response,
                                      const QVariantMap &results)
{
    const auto send = [this, requestPath, response, results] {
        QDBusMessage signal = QDBusMessage::createSignal(
            requestPath, QStringLiteral("org.freedesktop.portal.Request"),
            QStringLiteral("Response"));
        signal << response << results;
        m_bus.send(signal);
    };
    if (m_settings.respondBeforeReply) {
        send();
        return;
    }
    // Like the desktop's portal: after the method has returned its handle.
    QTimer::singleShot(0, this, send);
}

ScreenCastPortalService::Session *ScreenCastPortalService::session(const QDBusObjectPath &path,
                                                                   const QDBusMessage &message)
{
    const auto found = m_sessions.find(path.path());
    if (found == m_sessions.end() || found->second.sender != message.service()) {
        return nullptr;
    }
    return &found->second;
}

QDBusObjectPath ScreenCastPortalService::CreateSession(const QVariantMap &options,
                                                       const QDBusMessage &message)
{
    const QString request = requestPath(message, options);
    QString sender = message.service().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString handle =
        QStringLiteral("/org/freedesktop/portal/desktop/session/%1/%2")
            .arg(sender, options.value(QStringLiteral("session_handle_token")).toString());
    Session &entry = m_sessions[handle];
    entry.sender = message.service();
    entry.object = std::make_unique<PortalSessionObject>(this, handle);
    m_bus.registerObject(handle, entry.object.get(), QDBusConnection::ExportAllSlots);
    respond(request, 0, {{QStringLiteral("session_handle"), handle}});
    return QDBusObjectPath(request);
}

QDBusObjectPath ScreenCastPortalService::SelectSources(const QDBusObjectPath &sessionPath,
                                                       const QVariantMap &options,
                                                       const QDBusMessage &message)
{
    const QString request = requestPath(message, options);
    Session *entry = session(sessionPath, message);
    if (!entry) {
        respond(request, 2, {});
        return QDBusObjectPath(request);
    }
    entry->selectedToken = options.value(QStringLiteral("restore_token")).toString();
    entry->persistMode = options.value(QStringLiteral("persist_mode")).toUInt();
    m_lastRestoreToken = entry->selectedToken;
    m_lastCursorMode = options.value(QStringLiteral("cursor_mode")).toUInt();
    m_lastPersistMode = entry->persistMode;
    respond(request, 0, {});
    return QDBusObjectPath(request);
}

QDBusObjectPath ScreenCastPortalService::Start(const QDBusObjectPath &sessionPath, const QString &,
                                               const QVariantMap &options,
                                               const QDBusMessage &message)
{
    const QString request = requestPath(message, options);
    Session *entry = session(sessionPath, message);
    if (!entry) {
        respond(request, 2, {});
        return QDBusObjectPath(request);
    }
    // A token this portal issued answers for the user; anything else asks.
    if (!m_issuedTokens.contains(entry->selectedToken)) {
        ++m_dialogs;
        if (m_cancelDialog) {
            respond(request, 1, {});
            return QDBusObjectPath(request);
        }
    }
    if (m_holdDialog) {
        m_heldStarts.emplace_back(sessionPath.path(), request);
        return QDBusObjectPath(request);
    }
    startStream(sessionPath.path(), request);
    return QDBusObjectPath(request);
}

void ScreenCastPortalService::setHoldDialog(bool hold)
{
    m_holdDialog = hold;
    if (hold) {
        return;
    }
    for (const auto &[sessionPath, request] : std::exchange(m_heldStarts, {})) {
        startStream(sessionPath, request);
    }
}

void ScreenCastPortalService::startStream(const QString &path, const QString &request)
{
    const auto open = m_sessions.find(path);
    if (open == m_sessions.end()) {
        // Closed while the dialog was open.
        respond(request, 2, {});
        return;
    }
    Session *entry = &open->second;
    entry->producer = std::make_unique<PatternProducer>(
        m_settings.producer, [this, path, request](std::uint32_t node) {
            QMetaObject::invokeMethod(
                this,
                [this, path, request, node] {
                    const auto found = m_sessions.find(path);
                    if (found == m_sessions.end()) {
                        return;
                    }
                    PortalStreamEntry stream;
                    stream.node = node;
                    stream.properties.insert(QStringLiteral("source_type"), 1U);
                    if (m_settings.reportPlacement) {
                        stream.properties.insert(
                            QStringLiteral("position"),
                            QVariant::fromValue(
                                PortalIntPair{m_settings.position.x(), m_settings.position.y()}));
                        stream.properties.insert(
                            QStringLiteral("size"),
                            QVariant::fromValue(PortalIntPair{m_settings.producer.size.width(),
                                                              m_settings.producer.size.height()}));
                    }
                    QVariantMap results;
                    results.insert(QStringLiteral("streams"),
                                   QVariant::fromValue(QList<PortalStreamEntry>{stream}));
                    if (found->second.persistMode > 0) {
                        const QString token = QStringLiteral("restore-%1").arg(++m_tokensIssued);
                        m_issuedTokens.insert(token);
                        results.insert(QStringLiteral("restore_token"), token);
                    }
                    respond(request, 0, results);
                },
                Qt::QueuedConnection);
        });
    entry->producer->setAnimated(m_animated);
    if (!entry->producer->isValid()) {
        entry->producer.reset();
        respond(request, 2, {});
    }
}

QDBusUnixFileDescriptor ScreenCastPortalService::OpenPipeWireRemote(const QDBusObjectPath &path,
                                                                    const QVariantMap &,
                                                                    const QDBusMessage &message)
{
    if (!session(path, message)) {
        m_bus.send(message.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                                            QStringLiteral("No such session")));
        return {};
    }
    // An unrestricted connection to the daemon: the test's PipeWire holds nothing else.
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray socketPath = runtime + "/pipewire-0";
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.constData(), sizeof(address.sun_path) - 1);
    if (fd < 0 ||
        ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        if (fd >= 0) {
            close(fd);
        }
        m_bus.send(message.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.Failed"),
                                            QStringLiteral("PipeWire is not running")));
        return {};
    }
    QDBusUnixFileDescriptor descriptor(fd);
    close(fd);
    return descriptor;
}

void ScreenCastPortalService::setAnimated(bool animated)
{
    m_animated = animated;
    for (auto &[path, entry] : m_sessions) {
        if (entry.producer) {
            entry.producer->setAnimated(animated);
        }
    }
}

void ScreenCastPortalService::endStreams()
{
    for (auto &[path, entry] : m_sessions) {
        entry.producer.reset();
    }
}

int ScreenCastPortalService::streamCount() const
{
    int count = 0;
    for (const auto &[path, entry] : m_sessions) {
        count += entry.producer ? 1 : 0;
    }
    return count;
}

int ScreenCastPortalService::picturesSent() const
{
    int count = 0;
    for (const auto &[path, entry] : m_sessions) {
        count += entry.producer ? entry.producer->picturesSent() : 0;
    }
    return count;
}

void ScreenCastPortalService::closeSession(const QString &path)
{
    const auto found = m_sessions.find(path);
    if (found == m_sessions.end()) {
        return;
    }
    m_bus.unregisterObject(path);
    m_sessions.erase(found);
}

} // namespace lookpane::testing

#include "ScreenCastPortalService.moc"
