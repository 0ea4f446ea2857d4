#pragma once

#include "PatternProducer.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QPoint>
#include <QSet>
#include <QVariantMap>

#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace lookpane::testing {

// How the test portal answers.
struct PortalServiceSettings
{
    PatternProducer::Settings producer;
    QPoint position{0, 0}; // the monitor's place, as Start reports it
    bool reportPlacement = true;
    std::uint32_t cursorModes = 1 | 2; // hidden and embedded
    // Emit each Response before the method's reply instead of after it: a bus may deliver
    // them in either order.
    bool respondBeforeReply = false;
};

// A stand-in for the desktop's org.freedesktop.portal.ScreenCast (version 4) at
// /org/freedesktop/portal/desktop: requests answer through the Response signal of their
// Request path, sessions live at the handles it gives, Start shows "the dialog" unless the
// session was selected with a restore token it issued, and each started session gets a
// PipeWire node of its own that sends the test pattern. Its control interface
// (org.lookpane.test.ScreenCast at /org/lookpane/test) lets tests cancel the dialog, freeze
// the picture, end the streams and read what the client asked for.
class ScreenCastPortalService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.ScreenCast")
    Q_PROPERTY(uint version READ version)
    Q_PROPERTY(uint AvailableSourceTypes READ availableSourceTypes)
    Q_PROPERTY(uint AvailableCursorModes READ availableCursorModes)

public:
    ScreenCastPortalService(QDBusConnection bus, PortalServiceSettings settings);
    ~ScreenCastPortalService() override;

    // Registers the objects; false when the bus refuses.
    bool registerOn();

    uint version() const { return 4; }
    uint availableSourceTypes() const { return 1 | 2; }
    uint availableCursorModes() const { return m_settings.cursorModes; }

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap &options, const QDBusMessage &message);
    QDBusObjectPath SelectSources(const QDBusObjectPath &session, const QVariantMap &options,
                                  const QDBusMessage &message);
    QDBusObjectPath Start(const QDBusObjectPath &session, const QString &parentWindow,
                          const QVariantMap &options, const QDBusMessage &message);
    QDBusUnixFileDescriptor OpenPipeWireRemote(const QDBusObjectPath &session,
                                               const QVariantMap &options,
                                               const QDBusMessage &message);

    // Control, for tests (on the control object).
    void setCancelDialog(bool cancel) { m_cancelDialog = cancel; }
    // Held, the dialog stays open (Start does not answer) until released.
    void setHoldDialog(bool hold);
    void setAnimated(bool animated);
    void endStreams();
    int dialogCount() const { return m_dialogs; }
    int openSessions() const { return static_cast<int>(m_sessions.size()); }
    int streamCount() const;
    int picturesSent() const;
    QString lastRestoreToken() const { return m_lastRestoreToken; }
    uint lastCursorMode() const { return m_lastCursorMode; }
    uint lastPersistMode() const { return m_lastPersistMode; }

    // The session object's Close.
    void closeSession(const QString &path);

private:
    struct Session
    {
        QString sender;
        QString selectedToken;
        std::uint32_t persistMode = 0;
        std::unique_ptr<PatternProducer> producer;
        std::unique_ptr<QObject> object;
    };

    QString requestPath(const QDBusMessage &message, const QVariantMap &options);
    void respond(const QString &requestPath, uint response, const QVariantMap &results);
    Session *session(const QDBusObjectPath &path, const QDBusMessage &message);
    void startStream(const QString &sessionPath, const QString &requestPath);

    QDBusConnection m_bus;
    PortalServiceSettings m_settings;
    std::map<QString, Session> m_sessions;
    QSet<QString> m_issuedTokens;
    bool m_cancelDialog = false;
    bool m_holdDialog = false;
    std::vector<std::pair<QString, QString>> m_heldStarts; // session and request paths
    bool m_animated = true;
    int m_dialogs = 0;
    int m_tokensIssued = 0;
    QString m_lastRestoreToken;
    uint m_lastCursorMode = 0;
    uint m_lastPersistMode = 0;
    std::unique_ptr<QObject> m_control;
};

} // namespace lookpane::testing
