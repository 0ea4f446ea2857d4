#include "PortalHarness.h"

#include "Eventually.h"

#include <QDBusMessage>
#include <QFileInfo>

#include <chrono>

namespace lookpane::testing {

PrivatePipeWire::PrivatePipeWire(const std::string &busAddress) : m_busAddress(busAddress)
{
    if (!m_dir.isValid()) {
        return;
    }
    // The daemon and WirePlumber keep state and configuration per user: here, per test, so
    // that a stream target remembered by an earlier run cannot interfere.
    m_daemon = std::make_unique<ChildProcess>(std::vector<std::string>{"pipewire"}, environment());
    const QString socket = m_dir.path() + QStringLiteral("/pipewire-0");
    if (!eventually([&] { return QFileInfo::exists(socket); }, 20000)) {
        return;
    }
    m_sessionManager =
        std::make_unique<ChildProcess>(std::vector<std::string>{"wireplumber"}, environment());
    m_running = m_daemon->isStarted() && m_sessionManager->isStarted();
}

ChildProcess::Options PrivatePipeWire::environment() const
{
    ChildProcess::Options options;
    const std::string dir = m_dir.path().toStdString();
    options.environment = {{"XDG_RUNTIME_DIR", dir},
                           {"XDG_STATE_HOME", dir + "/state"},
                           {"XDG_CONFIG_HOME", dir + "/config"},
                           {"DBUS_SESSION_BUS_ADDRESS", m_busAddress}};
    options.unset = {"PIPEWIRE_RUNTIME_DIR", "PIPEWIRE_REMOTE", "DISPLAY", "WAYLAND_DISPLAY"};
    return options;
}

ScreenCastPortalHarness::ScreenCastPortalHarness(std::vector<std::string> portalArguments)
{
    if (!m_bus.isRunning()) {
        m_problem = "dbus-daemon did not start";
        return;
    }
    m_pipeWire = std::make_unique<PrivatePipeWire>(m_bus.address());
    if (!m_pipeWire->isRunning()) {
        m_problem = "pipewire or wireplumber did not start";
        return;
    }
    std::vector<std::string> argv{LOOKPANE_SCREENCAST_PORTAL_PATH};
    argv.insert(argv.end(), portalArguments.begin(), portalArguments.end());
    ChildProcess::Options options = m_pipeWire->environment();
    options.captureStdout = true;
    // What goes wrong in the portal shows in the test's output.
    options.quiet = false;
    m_portal = std::make_unique<ChildProcess>(argv, options);
    const std::optional<std::string> line = m_portal->readLine(std::chrono::seconds(20));
    if (!line || *line != "ready") {
        m_problem = "the test ScreenCast portal did not start";
        return;
    }
    m_connectionName = QString::fromStdString("lookpane-portal-test-" + m_bus.address());
    if (!QDBusConnection::connectToBus(QString::fromStdString(m_bus.address()), m_connectionName)
             .isConnected()) {
        m_problem = "the private session bus cannot be reached";
    }
}

ScreenCastPortalHarness::~ScreenCastPortalHarness()
{
    if (!m_connectionName.isEmpty()) {
        QDBusConnection::disconnectFromBus(m_connectionName);
    }
}

QDBusConnection ScreenCastPortalHarness::bus() const
{
    return QDBusConnection(m_connectionName);
}

QVariant ScreenCastPortalHarness::control(const QString &method,
                                          const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/lookpane/test"),
        QStringLiteral("org.lookpane.test.ScreenCast"), method);
    message.setArguments(arguments);
    const QDBusMessage reply = bus().call(message);
    return reply.arguments().value(0);
}

void ScreenCastPortalHarness::setCancelDialog(bool cancel)
{
    control(QStringLiteral("SetCancelDialog"), {cancel});
}

void ScreenCastPortalHarness::setHoldDialog(bool hold)
{
    control(QStringLiteral("SetHoldDialog"), {hold});
}

void ScreenCastPortalHarness::setAnimated(bool animated)
{
    control(QStringLiteral("SetAnimated"), {animated});
}

void ScreenCastPortalHarness::endStreams()
{
    control(QStringLiteral("EndStreams"));
}

int ScreenCastPortalHarness::dialogCount() const
{
    return control(QStringLiteral("DialogCount")).toInt();
}

int ScreenCastPortalHarness::openSessions() const
{
    return control(QStringLiteral("OpenSessions")).toInt();
}

int ScreenCastPortalHarness::streamCount() const
{
    return control(QStringLiteral("StreamCount")).toInt();
}

int ScreenCastPortalHarness::picturesSent() const
{
    return control(QStringLiteral("PicturesSent")).toInt();
}

QString ScreenCastPortalHarness::lastRestoreToken() const
{
    return control(QStringLiteral("LastRestoreToken")).toString();
}

uint ScreenCastPortalHarness::lastCursorMode() const
{
    return control(QStringLiteral("LastCursorMode")).toUInt();
}

uint ScreenCastPortalHarness::lastPersistMode() const
{
    return control(QStringLiteral("LastPersistMode")).toUInt();
}

} // namespace lookpane::testing
