#include "capture/portal/ScreenCastSession.h"

#include "capture/portal/CapturePortalLog.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMetaObject>
#include <QRandomGenerator>

#include <utility>

namespace lookpane::portal {

namespace {

// Source types and cursor modes of the ScreenCast interface.
constexpr std::uint32_t sourceTypeMonitor = 1;
constexpr std::uint32_t cursorModeHidden = 1;
// Keep the permission until the user revokes it: the dialog asks once.
constexpr std::uint32_t persistUntilRevoked = 2;
// The first version that knows persist_mode and restore_token.
constexpr std::uint32_t persistentVersion = 4;

QString pathOrString(const QVariant &value)
{
    if (value.canConvert<QDBusObjectPath>()) {
        const QString path = value.value<QDBusObjectPath>().path();
        if (!path.isEmpty()) {
            return path;
        }
    }
    return value.toString();
}

std::optional<QPoint> readPair(const QVariant &value)
{
    if (!value.canConvert<QDBusArgument>()) {
        return std::nullopt;
    }
    const QDBusArgument argument = value.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::StructureType) {
        return std::nullopt;
    }
    int first = 0;
    int second = 0;
    argument.beginStructure();
    argument >> first >> second;
    argument.endStructure();
    return QPoint(first, second);
}

QString describe(PortalResponse response)
{
    return response == PortalResponse::cancelled
               ? QStringLiteral("the request was cancelled")
               : QStringLiteral("the desktop's screen-sharing portal refused the request");
}

} // namespace

std::vector<PortalStream> readStreams(const QVariant &streams)
{
    std::vector<PortalStream> result;
    if (!streams.canConvert<QDBusArgument>()) {
        return result;
    }
    const QDBusArgument argument = streams.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::ArrayType) {
        return result;
    }
    argument.beginArray();
    while (!argument.atEnd()) {
        PortalStream stream;
        QVariantMap properties;
        argument.beginStructure();
        argument >> stream.nodeID >> properties;
        argument.endStructure();
        stream.placement.position = readPair(properties.value(QStringLiteral("position")));
        if (const std::optional<QPoint> size = readPair(properties.value(QStringLiteral("size")))) {
            stream.placement.size = QSize(size->x(), size->y());
        }
        result.push_back(stream);
    }
    argument.endArray();
    return result;
}

ScreenCastSession::ScreenCastSession(QDBusConnection bus, QObject *parent)
    : QObject(parent), m_bus(std::move(bus))
{}

ScreenCastSession::~ScreenCastSession()
{
    close();
}

void ScreenCastSession::open(const QString &restoreToken, std::function<void(SessionOutcome)> done)
{
    m_done = std::move(done);
    if (!m_bus.isConnected()) {
        fail(QStringLiteral("there is no D-Bus session bus to reach the desktop's "
                            "screen-sharing portal"));
        return;
    }
    readProperties([this, restoreToken](std::uint32_t version, std::uint32_t cursorModes) {
        m_version = version;
        m_cursorModes = cursorModes;
        QVariantMap options;
        options.insert(QStringLiteral("session_handle_token"), nextToken());
        request(QStringLiteral("CreateSession"), {}, options,
                [this, restoreToken](PortalResponse response, const QVariantMap &results) {
                    if (response != PortalResponse::success) {
                        fail(QStringLiteral("the screen-sharing session could not be created (%1)")
                                 .arg(describe(response)));
                        return;
                    }
                    m_sessionHandle = pathOrString(results.value(QStringLiteral("session_handle")));
                    if (m_sessionHandle.isEmpty()) {
                        fail(QStringLiteral("the screen-sharing portal gave no session"));
                        return;
                    }
                    m_bus.connect(QString::fromLatin1(portalService), m_sessionHandle,
                                  QString::fromLatin1(sessionInterface), QStringLiteral("Closed"),
                                  this, SLOT(handleClosed()));
                    m_isOpen = true;
                    selectSources(restoreToken);
                });
    });
}

void ScreenCastSession::readProperties(
    std::function<void(std::uint32_t version, std::uint32_t cursorModes)> done)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QString::fromLatin1(portalService), QString::fromLatin1(portalPath),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
    message.setArguments({QString::fromLatin1(screenCastInterface)});
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, done = std::move(done)] {
                watcher->deleteLater();
                const QDBusPendingReply<QVariantMap> reply = *watcher;
                if (reply.isError()) {
                    fail(QStringLiteral("the desktop offers no screen-sharing portal (%1)")
                             .arg(reply.error().message()));
                    return;
                }
                const QVariantMap properties = reply.value();
                done(properties.value(QStringLiteral("version")).toUInt(),
                     properties.value(QStringLiteral("AvailableCursorModes")).toUInt());
            });
}

QString ScreenCastSession::nextToken()
{
    // Unique among this connection's requests and sessions; a valid object path element.
    return QStringLiteral("lookpane_%1_%2")
        .arg(++m_tokenCount)
        .arg(QRandomGenerator::global()->generate());
}

void ScreenCastSession::watchRequest(const QString &path)
{
    unwatchRequest();
    m_requestPath = path;
    m_bus.connect(QString::fromLatin1(portalService), m_requestPath,
                  QString::fromLatin1(requestInterface), QStringLiteral("Response"), this,
                  SLOT(handleResponse(uint, QVariantMap)));
}

void ScreenCastSession::unwatchRequest()
{
    if (m_requestPath.isEmpty()) {
        return;
    }
    m_bus.disconnect(QString::fromLatin1(portalService), m_requestPath,
                     QString::fromLatin1(requestInterface), QStringLiteral("Response"), this,
                     SLOT(handleResponse(uint, QVariantMap)));
    m_requestPath.clear();
}

void ScreenCastSession::request(const QString &method, QList<QVariant> arguments,
                                QVariantMap options, ResponseHandler handler)
{
    // The Response signal may follow the call's reply at once: listen at the path the portal
    // will use before asking.
    const QString token = nextToken();
    options.insert(QStringLiteral("handle_token"), token);
    QString sender = m_bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString expected =
        QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
    watchRequest(expected);
    m_pending = std::move(handler);
    qCDebug(lcCapturePortal).noquote() << "ScreenCast portal:" << method << "awaits" << expected;

    QDBusMessage message = QDBusMessage::createMethodCall(
        QString::fromLatin1(portalService), QString::fromLatin1(portalPath),
        QString::fromLatin1(screenCastInterface), method);
    arguments.append(options);
    message.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, method, expected] {
        watcher->deleteLater();
        // The reply may come after the Response, even after the next request went out: it
        // concerns this session only while its request is still the one awaited.
        const bool current = m_pending && m_requestPath == expected;
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            if (current) {
                unwatchRequest();
                m_pending = nullptr;
                fail(QStringLiteral("the screen-sharing portal refused %1 (%2)")
                         .arg(method, reply.error().message()));
            }
            return;
        }
        // Portals older than the handle_token convention answer elsewhere.
        const QString handle = reply.value().path();
        if (current && !handle.isEmpty() && handle != expected) {
            watchRequest(handle);
        }
    });
}

void ScreenCastSession::handleResponse(uint response, const QVariantMap &results)
{
    qCDebug(lcCapturePortal).noquote()
        << "ScreenCast portal: response" << response << "at" << m_requestPath;
    unwatchRequest();
    ResponseHandler handler = std::exchange(m_pending, nullptr);
    if (!handler) {
        return;
    }
    const PortalResponse kind = response == 0   ? PortalResponse::success
                                : response == 1 ? PortalResponse::cancelled
                                                : PortalResponse::other;
    handler(kind, results);
}

void ScreenCastSession::selectSources(const QString &restoreToken)
{
    QVariantMap options;
    options.insert(QStringLiteral("types"), sourceTypeMonitor);
    options.insert(QStringLiteral("multiple"), false);
    if (m_cursorModes & cursorModeHidden) {
        options.insert(QStringLiteral("cursor_mode"), cursorModeHidden);
    }
    if (m_version >= persistentVersion) {
        options.insert(QStringLiteral("persist_mode"), persistUntilRevoked);
        if (!restoreToken.isEmpty()) {
            options.insert(QStringLiteral("restore_token"), restoreToken);
        }
    }
    request(QStringLiteral("SelectSources"),
            {QVariant::fromValue(QDBusObjectPath(m_sessionHandle))}, options,
            [this](PortalResponse response, const QVariantMap &) {
                if (response == PortalResponse::cancelled) {
                    finish({SessionOutcome::Kind::cancelled, {}});
                    return;
                }
                if (response != PortalResponse::success) {
                    fail(QStringLiteral("no screen could be chosen (%1)").arg(describe(response)));
                    return;
                }
                start();
            });
}

void ScreenCastSession::start()
{
    request(
        QStringLiteral("Start"), {QVariant::fromValue(QDBusObjectPath(m_sessionHandle)), QString()},
        {}, [this](PortalResponse response, const QVariantMap &results) {
            if (response == PortalResponse::cancelled) {
                finish({SessionOutcome::Kind::cancelled, {}});
                return;
            }
            if (response != PortalResponse::success) {
                fail(QStringLiteral("the screen cast did not start (%1)").arg(describe(response)));
                return;
            }
            const std::vector<PortalStream> streams =
                readStreams(results.value(QStringLiteral("streams")));
            if (streams.empty()) {
                fail(QStringLiteral("the desktop shared no screen"));
                return;
            }
            m_stream = streams.front();
            m_restoreToken = results.value(QStringLiteral("restore_token")).toString();
            finish({SessionOutcome::Kind::granted, {}});
        });
}

void ScreenCastSession::openPipeWireRemote(QObject *context, RemoteCompletion done)
{
    if (!m_isOpen) {
        QMetaObject::invokeMethod(
            context, [done] { done({}, QStringLiteral("The screen-sharing session has ended")); },
            Qt::QueuedConnection);
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(
        QString::fromLatin1(portalService), QString::fromLatin1(portalPath),
        QString::fromLatin1(screenCastInterface), QStringLiteral("OpenPipeWireRemote"));
    message.setArguments({QVariant::fromValue(QDBusObjectPath(m_sessionHandle)), QVariantMap()});
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), context);
    connect(watcher, &QDBusPendingCallWatcher::finished, context, [watcher, done] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
        if (reply.isError() || !reply.value().isValid()) {
            done({}, QStringLiteral("The desktop gave no PipeWire connection for the screen "
                                    "cast (%1)")
                         .arg(reply.isError() ? reply.error().message()
                                              : QStringLiteral("no file descriptor")));
            return;
        }
        done(reply.value(), QString());
    });
}

void ScreenCastSession::finish(SessionOutcome outcome)
{
    if (outcome.kind != SessionOutcome::Kind::granted) {
        close();
    }
    if (std::function<void(SessionOutcome)> done = std::exchange(m_done, nullptr)) {
        done(std::move(outcome));
    }
}

void ScreenCastSession::fail(const QString &error)
{
    qCDebug(lcCapturePortal).noquote() << "ScreenCast portal:" << error;
    finish({SessionOutcome::Kind::failed, error});
}

void ScreenCastSession::handleClosed()
{
    if (!m_isOpen) {
        return;
    }
    m_isOpen = false;
    m_sessionHandle.clear();
    Q_EMIT closed();
}

void ScreenCastSession::close()
{
    // A dialog still open is dismissed with its request.
    if (!m_requestPath.isEmpty()) {
        m_bus.call(QDBusMessage::createMethodCall(QString::fromLatin1(portalService), m_requestPath,
                                                  QString::fromLatin1(requestInterface),
                                                  QStringLiteral("Close")),
                   QDBus::NoBlock);
        unwatchRequest();
        m_pending = nullptr;
    }
    if (m_sessionHandle.isEmpty()) {
        m_isOpen = false;
        return;
    }
    m_bus.disconnect(QString::fromLatin1(portalService), m_sessionHandle,
                     QString::fromLatin1(sessionInterface), QStringLiteral("Closed"), this,
                     SLOT(handleClosed()));
    m_bus.call(QDBusMessage::createMethodCall(QString::fromLatin1(portalService), m_sessionHandle,
                                              QString::fromLatin1(sessionInterface),
                                              QStringLiteral("Close")),
               QDBus::NoBlock);
    m_sessionHandle.clear();
    m_isOpen = false;
}

} // namespace lookpane::portal
