// The StatusNotifier host watcher on a private session bus, where a watcher of the test's own
// (tests/support) plays the desktop's panel: it starts, stops, restarts, and registers and
// drops its host, and the host watcher reports each change on the event loop.
#include "LoggedMessages.h"
#include "QtWait.h"
#include "SessionBus.h"
#include "StatusNotifierWatcher.h"

#include "shell/StatusNotifierHostWatcher.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>

#include <atomic>
#include <memory>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

class StatusNotifierHosts : public ::testing::Test
{
protected:
    // QtDBus wants an application object, and the reports come on its event loop.
    static void SetUpTestSuite()
    {
        static int argc = 1;
        static char name[] = "shell_tray_tests";
        static char *argv[] = {name, nullptr};
        s_application = new QCoreApplication(argc, argv);
    }
    static void TearDownTestSuite()
    {
        delete s_application;
        s_application = nullptr;
    }

    void SetUp() override
    {
        ASSERT_TRUE(m_bus.isRunning()) << "no session bus (is dbus-daemon installed?)";
        static std::atomic<int> count{0};
        m_connectionName = QStringLiteral("lookpane-host-watcher-test-%1").arg(++count);
    }

    void TearDown() override
    {
        m_hosts.reset();
        QDBusConnection::disconnectFromBus(m_connectionName);
    }

    // The host watcher on a connection of its own to the private bus.
    void watchHosts()
    {
        const QDBusConnection connection = QDBusConnection::connectToBus(
            QString::fromStdString(m_bus.address()), m_connectionName);
        ASSERT_TRUE(connection.isConnected());
        m_hosts = std::make_unique<StatusNotifierHostWatcher>(connection);
        QObject::connect(m_hosts.get(), &StatusNotifierHostWatcher::hostRegisteredChanged,
                         [this](bool registered) { m_reports.push_back(registered); });
    }

    void startPanel(StatusNotifierWatcher::Host host = StatusNotifierWatcher::Host::registered)
    {
        m_panel = std::make_unique<StatusNotifierWatcher>(m_bus.address(), host);
        ASSERT_TRUE(m_panel->isRunning()) << "the test's watcher did not get its name";
    }

    bool reported(const std::vector<bool> &expected)
    {
        return waitUntil([&] { return m_reports == expected; });
    }

    static inline QCoreApplication *s_application = nullptr;
    LoggedMessages m_log;
    SessionBus m_bus;
    QString m_connectionName;
    std::unique_ptr<StatusNotifierWatcher> m_panel;
    std::unique_ptr<StatusNotifierHostWatcher> m_hosts;
    std::vector<bool> m_reports;
};

} // namespace

TEST_F(StatusNotifierHosts, WithoutAWatcherNoHostIsRegistered)
{
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    EXPECT_TRUE(m_hosts->isConnected());
    EXPECT_FALSE(m_hosts->isHostRegistered());
}

TEST_F(StatusNotifierHosts, AWatcherWithAHostIsSeenAtOnce)
{
    ASSERT_NO_FATAL_FAILURE(startPanel());
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    EXPECT_TRUE(m_hosts->isHostRegistered());
    EXPECT_TRUE(m_log.ofType(QtWarningMsg).empty());
}

TEST_F(StatusNotifierHosts, AWatcherWithoutAHostCountsForNothing)
{
    ASSERT_NO_FATAL_FAILURE(startPanel(StatusNotifierWatcher::Host::absent));
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    EXPECT_FALSE(m_hosts->isHostRegistered());
}

TEST_F(StatusNotifierHosts, AWatcherThatStartsLaterIsReported)
{
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    ASSERT_NO_FATAL_FAILURE(startPanel());
    EXPECT_TRUE(reported({true})) << "the panel's start went unseen";
    EXPECT_TRUE(m_hosts->isHostRegistered());
}

TEST_F(StatusNotifierHosts, AHostThatRegistersWithARunningWatcherIsReported)
{
    ASSERT_NO_FATAL_FAILURE(startPanel(StatusNotifierWatcher::Host::absent));
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    m_panel->registerHost();
    EXPECT_TRUE(reported({true})) << "the host's registration went unseen";
}

TEST_F(StatusNotifierHosts, AHostThatLeavesIsReported)
{
    ASSERT_NO_FATAL_FAILURE(startPanel());
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    m_panel->unregisterHost();
    EXPECT_TRUE(reported({false})) << "the host's leaving went unseen";
    EXPECT_FALSE(m_hosts->isHostRegistered());
}

TEST_F(StatusNotifierHosts, AWatcherThatQuitsTakesItsHostAlong)
{
    ASSERT_NO_FATAL_FAILURE(startPanel());
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    m_panel->stop();
    EXPECT_TRUE(reported({false})) << "the panel's end went unseen";
    ASSERT_TRUE(m_panel->start());
    EXPECT_TRUE(reported({false, true})) << "the panel's return went unseen";
}

TEST_F(StatusNotifierHosts, ARestartedWatcherEndsWithItsHostRegistered)
{
    ASSERT_NO_FATAL_FAILURE(startPanel());
    ASSERT_NO_FATAL_FAILURE(watchHosts());
    ASSERT_TRUE(m_panel->restart());
    // The name changes hands twice (gone, then the new connection's); the host is there at
    // the end.
    EXPECT_TRUE(reported({false, true}));
    EXPECT_TRUE(m_hosts->isHostRegistered());
}

TEST_F(StatusNotifierHosts, WithoutABusNoHostIsSeenAndNothingBreaks)
{
    const QDBusConnection nowhere = QDBusConnection::connectToBus(
        QStringLiteral("unix:path=/nonexistent/lookpane-test-bus"), m_connectionName);
    ASSERT_FALSE(nowhere.isConnected());
    StatusNotifierHostWatcher hosts(nowhere);
    EXPECT_FALSE(hosts.isConnected());
    EXPECT_FALSE(hosts.isHostRegistered());
    EXPECT_TRUE(m_log.ofType(QtWarningMsg).empty());
}
