#pragma once

#include "capture/portal/StreamPicture.h"

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <functional>
#include <optional>

namespace lookpane::portal {

// The names under which the desktop offers its portals.
inline constexpr const char *portalService = "org.freedesktop.portal.Desktop";
inline constexpr const char *portalPath = "/org/freedesktop/portal/desktop";
inline constexpr const char *screenCastInterface = "org.freedesktop.portal.ScreenCast";
inline constexpr const char *requestInterface = "org.freedesktop.portal.Request";
inline constexpr const char *sessionInterface = "org.freedesktop.portal.Session";

// The portal's answers to a request, as its Response signal gives them.
enum class PortalResponse : std::uint32_t
{
    success = 0,
    cancelled = 1, // the user dismissed the dialog
    other = 2      // the portal ended the request otherwise
};

// One stream of a started screen cast: the PipeWire node and where the monitor lies.
struct PortalStream
{
    std::uint32_t nodeID = 0;
    StreamPlacement placement;
};

// The outcome of opening a session.
struct SessionOutcome
{
    enum class Kind
    {
        granted,   // a stream was chosen and the screen cast runs
        cancelled, // the user refused
        failed     // the portal is missing or failed; `error` says why
    };
    Kind kind = Kind::failed;
    QString error;
};

// One ScreenCast portal session on the session bus: CreateSession, SelectSources (one monitor,
// the cursor left out where the portal offers that, persistent permission) and Start, each
// answered through the Response signal of a Request object. The
// portal's dialog may take as long as the user needs; nothing here times out. Main thread only.
// Closing (or destroying) the session ends the screen cast on the desktop's side.
class ScreenCastSession : public QObject
{
    Q_OBJECT

public:
    explicit ScreenCastSession(QDBusConnection bus, QObject *parent = nullptr);
    ~ScreenCastSession() override;

    ScreenCastSession(const ScreenCastSession &) = delete;
    ScreenCastSession &operator=(const ScreenCastSession &) = delete;

    // Asks the portal for a monitor. `restoreToken` (may be empty) is the token of an earlier
    // session: where it is still valid, the desktop shares the same monitor without asking.
    // `done` runs once, later, on this thread.
    void open(const QString &restoreToken, std::function<void(SessionOutcome)> done);
    // Ends the session on the portal's side; nothing is reported.
    void close();

    bool isOpen() const { return m_isOpen; }
    // The granted stream; valid once granted.
    const PortalStream &stream() const { return m_stream; }
    // Asks the portal for a PipeWire connection that reaches the granted stream (one per
    // reader: a connection cannot be shared). `done` runs later on this thread, unless
    // `context` is gone by then, with the connection or why there is none.
    using RemoteCompletion =
        std::function<void(const QDBusUnixFileDescriptor &remote, const QString &error)>;
    void openPipeWireRemote(QObject *context, RemoteCompletion done);
    // The token that restores this session's choice later; empty when the portal gave none.
    const QString &restoreToken() const { return m_restoreToken; }

Q_SIGNALS:
    // The desktop ended an open session (the user stopped sharing, the portal went away).
    void closed();

private Q_SLOTS:
    void handleResponse(uint response, const QVariantMap &results);
    void handleClosed();

private:
    using ResponseHandler = std::function<void(PortalResponse, const QVariantMap &)>;

    void readProperties(std::function<void(std::uint32_t version, std::uint32_t cursorModes)> done);
    void request(const QString &method, QList<QVariant> arguments, QVariantMap options,
                 ResponseHandler handler);
    void selectSources(const QString &restoreToken);
    void start();
    void finish(SessionOutcome outcome);
    void fail(const QString &error);
    QString nextToken();
    void watchRequest(const QString &path);
    void unwatchRequest();

    QDBusConnection m_bus;
    std::function<void(SessionOutcome)> m_done;
    ResponseHandler m_pending;
    QString m_requestPath;
    QString m_sessionHandle;
    bool m_isOpen = false;
    std::uint32_t m_version = 0;
    std::uint32_t m_cursorModes = 0;
    PortalStream m_stream;
    QString m_restoreToken;
    int m_tokenCount = 0;
};

// The streams of a Start answer (a(ua{sv})): each node with its position and size where given.
std::vector<PortalStream> readStreams(const QVariant &streams);

} // namespace lookpane::portal
