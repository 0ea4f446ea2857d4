#pragma once

#include "ChildProcess.h"
#include "SessionBus.h"

#include <QDBusConnection>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <string>
#include <vector>

namespace lookpane::testing {

// A private PipeWire daemon and its session manager (WirePlumber, which links a client's
// stream to the node it asks for), in a runtime folder of their own, so that nothing reaches
// the caller's PipeWire. Both end with this object.
class PrivatePipeWire
{
public:
    explicit PrivatePipeWire(const std::string &busAddress);

    bool isRunning() const { return m_running; }
    std::string runtimeDir() const { return m_dir.path().toStdString(); }
    // The environment a client of this daemon needs.
    ChildProcess::Options environment() const;

private:
    QTemporaryDir m_dir;
    std::string m_busAddress;
    std::unique_ptr<ChildProcess> m_daemon;
    std::unique_ptr<ChildProcess> m_sessionManager;
    bool m_running = false;
};

// Everything a portal capture test needs: a private session bus, a private PipeWire and the
// project's test ScreenCast portal (lookpane_screencast_portal) on that bus, plus this
// process's own connection to the bus and the portal's remote control.
class ScreenCastPortalHarness
{
public:
    // `portalArguments` go to lookpane_screencast_portal (--format RGBx, --position 100,50, ...).
    explicit ScreenCastPortalHarness(std::vector<std::string> portalArguments = {});
    ~ScreenCastPortalHarness();

    // Whether everything runs; `problem()` says what did not start.
    bool isReady() const { return m_problem.empty(); }
    const std::string &problem() const { return m_problem; }

    const std::string &busAddress() const { return m_bus.address(); }
    QDBusConnection bus() const;
    const PrivatePipeWire &pipeWire() const { return *m_pipeWire; }

    // The portal's remote control.
    void setCancelDialog(bool cancel);
    // Held, the dialog stays open until released.
    void setHoldDialog(bool hold);
    void setAnimated(bool animated);
    // The desktop's side of every stream goes away (the producer dies).
    void endStreams();
    int dialogCount() const;
    int openSessions() const;
    int streamCount() const;
    // Pictures the live streams have sent so far.
    int picturesSent() const;
    QString lastRestoreToken() const;
    uint lastCursorMode() const;
    uint lastPersistMode() const;

private:
    QVariant control(const QString &method, const QVariantList &arguments = {}) const;

    SessionBus m_bus;
    std::unique_ptr<PrivatePipeWire> m_pipeWire;
    std::unique_ptr<ChildProcess> m_portal;
    QString m_connectionName;
    std::string m_problem;
};

} // namespace lookpane::testing
