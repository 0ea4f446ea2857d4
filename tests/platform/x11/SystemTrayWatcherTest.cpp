// The XEmbed tray watcher: trays of the test's own (lookpane_tray_host) start, announce
// themselves and quit on the private server, and the watcher reports each as it happens.
#include "LoggedMessages.h"
#include "QtWait.h"
#include "TestDisplay.h"
#include "TrayHost.h"

#include "platform/x11/X11SystemTrayWatcher.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

class SystemTrayWatcher : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QString failure;
        m_watcher = x11::X11SystemTrayWatcher::create(&failure);
        ASSERT_NE(m_watcher, nullptr) << failure.toStdString();
        QObject::connect(m_watcher.get(), &x11::X11SystemTrayWatcher::trayPresenceChanged,
                         [this](bool present) { m_reports.push_back(present); });
    }

    std::unique_ptr<TrayHost> startTray()
    {
        auto tray = std::make_unique<TrayHost>(testDisplay().displayName());
        return tray->isRunning() ? std::move(tray) : nullptr;
    }

    LoggedMessages m_log;
    std::unique_ptr<x11::X11SystemTrayWatcher> m_watcher;
    std::vector<bool> m_reports;
};

} // namespace

TEST_F(SystemTrayWatcher, FollowsTheSelectionOfTheApplicationsScreen)
{
    EXPECT_EQ(m_watcher->selectionName(), "_NET_SYSTEM_TRAY_S0");
}

TEST_F(SystemTrayWatcher, WithoutATrayNoneIsPresent)
{
    EXPECT_FALSE(m_watcher->isTrayPresent());
    EXPECT_EQ(m_watcher->trayWindow(), 0u);
}

TEST_F(SystemTrayWatcher, ATrayThatStartsIsReported)
{
    const std::unique_ptr<TrayHost> tray = startTray();
    ASSERT_NE(tray, nullptr);
    EXPECT_TRUE(waitUntil([&] { return !m_reports.empty(); })) << "the tray's start went unseen";
    EXPECT_EQ(m_reports, std::vector<bool>{true});
    EXPECT_TRUE(m_watcher->isTrayPresent());
    EXPECT_EQ(m_watcher->trayWindow(), tray->window());
    EXPECT_TRUE(m_log.ofType(QtWarningMsg).empty());
}

TEST_F(SystemTrayWatcher, ATrayIsReadyOnlyOnceItHasAnnouncedItself)
{
    const auto tray = std::make_unique<TrayHost>(testDisplay().displayName(), QRect(),
                                                 TrayHost::Announcement::onRequest);
    ASSERT_TRUE(tray->isRunning());
    // The selection's new owner is seen, but icons wait for the announcement.
    ASSERT_TRUE(waitUntil([&] { return m_watcher->trayWindow() == tray->window(); }));
    EXPECT_FALSE(m_watcher->isTrayPresent());
    EXPECT_TRUE(m_reports.empty());

    tray->announce();
    EXPECT_TRUE(waitUntil([&] { return !m_reports.empty(); })) << "the announcement went unseen";
    EXPECT_EQ(m_reports, std::vector<bool>{true});
    EXPECT_TRUE(m_watcher->isTrayPresent());
}

TEST_F(SystemTrayWatcher, ATrayThatRunsAlreadyIsPresentAtOnce)
{
    const std::unique_ptr<TrayHost> tray = startTray();
    ASSERT_NE(tray, nullptr);
    QString failure;
    const std::unique_ptr<x11::X11SystemTrayWatcher> late =
        x11::X11SystemTrayWatcher::create(&failure);
    ASSERT_NE(late, nullptr) << failure.toStdString();
    EXPECT_TRUE(late->isTrayPresent());
    EXPECT_EQ(late->trayWindow(), tray->window());
}

TEST_F(SystemTrayWatcher, ATrayThatQuitsIsReported)
{
    std::unique_ptr<TrayHost> tray = startTray();
    ASSERT_NE(tray, nullptr);
    ASSERT_TRUE(waitUntil([&] { return m_watcher->isTrayPresent(); }));
    tray.reset();
    EXPECT_TRUE(waitUntil([&] { return m_reports.size() == 2; })) << "the tray's end went unseen";
    EXPECT_EQ(m_reports, (std::vector<bool>{true, false}));
    EXPECT_FALSE(m_watcher->isTrayPresent());
}

TEST_F(SystemTrayWatcher, ATrayThatTakesOverFromAnotherReportsNothing)
{
    std::unique_ptr<TrayHost> first = startTray();
    ASSERT_NE(first, nullptr);
    // Present once the first has announced itself, not merely once it owns the selection.
    ASSERT_TRUE(waitUntil([&] { return m_watcher->isTrayPresent(); }));
    ASSERT_EQ(m_watcher->trayWindow(), first->window());
    // The second takes the selection; the first then ends (its selection is cleared).
    std::unique_ptr<TrayHost> second = startTray();
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(waitUntil([&] { return m_watcher->trayWindow() == second->window(); }))
        << "the new owner went unseen";
    first.reset();
    EXPECT_EQ(m_reports, std::vector<bool>{true});
    // Only the last tray's end leaves the screen without one.
    second.reset();
    EXPECT_TRUE(waitUntil([&] { return !m_watcher->isTrayPresent(); }));
    EXPECT_EQ(m_reports, (std::vector<bool>{true, false}));
}
