// Launches the real lookpane executable on a private X server, as a user would.
#include "ChildProcess.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include "model/RectText.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include <signal.h>
#include <sys/wait.h>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

ChildProcess::Options lookpaneEnvironment(const XvfbServer &server, const QTemporaryDir &config)
{
    return lookpane::testing::lookpaneEnvironment(server.displayName(), config.path());
}

QString settingsFile(const QTemporaryDir &config)
{
    return QDir(config.path()).filePath(QStringLiteral("Lookpane/Lookpane.conf"));
}

} // namespace

TEST(LaunchSmoke, FirstLaunchShowsCentredDefaultFrameAndExitsCleanlyOnSigterm)
{
    XvfbServer server({1920, 1080});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    QTemporaryDir config;

    ChildProcess lookpane({lookpaneExecutable()}, lookpaneEnvironment(server, config));
    const std::optional<WindowInfo> window =
        waitForViewableRole(server.displayName(), QStringLiteral("frame"), 15000);
    ASSERT_TRUE(window.has_value()) << "no viewable box";
    // 800 × 450 centred on the screen's visible area (openbox reserves no strut here).
    EXPECT_EQ(window->geometry, QRect(560, 315, 800, 450));
    // A first launch explains itself.
    EXPECT_TRUE(waitForViewableRole(server.displayName(), QStringLiteral("guide"), 15000))
        << "the guide did not open at the first launch";

    lookpane.signal(SIGTERM);
    const std::optional<int> status = lookpane.waitForExit(std::chrono::seconds(10));
    ASSERT_TRUE(status.has_value()) << "lookpane did not exit after SIGTERM";
    ASSERT_TRUE(WIFEXITED(*status)) << "lookpane died of a signal";
    EXPECT_EQ(WEXITSTATUS(*status), 0);

    // The frame was saved in screen coordinates (origin bottom-left).
    QSettings settings(settingsFile(config), QSettings::NativeFormat);
    EXPECT_EQ(rectFromText(settings.value(QStringLiteral("FrameWindowFrame")).toString()),
              ScreenRect(560, 315, 800, 450));
}

TEST(LaunchSmoke, RelaunchRestoresTheSavedFrameInScreenCoordinates)
{
    XvfbServer server({1920, 1080});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    QTemporaryDir config;
    {
        QDir(config.path()).mkpath(QStringLiteral("Lookpane"));
        QSettings settings(settingsFile(config), QSettings::NativeFormat);
        // Bottom-left origin: 1080 - (80 + 300) = 700 from the top.
        settings.setValue(QStringLiteral("FrameWindowFrame"),
                          QStringLiteral("{{100, 80}, {640, 300}}"));
    }
    ChildProcess lookpane({lookpaneExecutable()}, lookpaneEnvironment(server, config));
    const std::optional<WindowInfo> window =
        waitForViewableRole(server.displayName(), QStringLiteral("frame"), 15000);
    ASSERT_TRUE(window.has_value());
    EXPECT_EQ(window->geometry, QRect(100, 700, 640, 300));
    lookpane.signal(SIGTERM);
    const std::optional<int> status = lookpane.waitForExit(std::chrono::seconds(10));
    ASSERT_TRUE(status && WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 0);
}

TEST(LaunchSmoke, CtrlQQuits)
{
    XvfbServer server({1280, 720});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    QTemporaryDir config;
    keepGuideClosedAtLaunch(config.path());
    ChildProcess lookpane({lookpaneExecutable()}, lookpaneEnvironment(server, config));
    const std::optional<WindowInfo> window =
        waitForViewableRole(server.displayName(), QStringLiteral("frame"), 15000);
    ASSERT_TRUE(window.has_value());
    ChildProcess::Options xdotoolOptions;
    xdotoolOptions.environment["DISPLAY"] = server.displayName();
    const std::string id = std::to_string(window->id);
    ChildProcess activate({"xdotool", "windowactivate", "--sync", id}, xdotoolOptions);
    activate.waitForExit(std::chrono::seconds(5));
    ChildProcess press({"xdotool", "key", "--window", id, "ctrl+q"}, xdotoolOptions);
    press.waitForExit(std::chrono::seconds(5));
    const std::optional<int> status = lookpane.waitForExit(std::chrono::seconds(10));
    ASSERT_TRUE(status.has_value()) << "lookpane did not quit on Ctrl+Q";
    ASSERT_TRUE(WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 0);
}

TEST(LaunchSmoke, ASecondLaunchOnTheSameDisplayLeavesTheFirstRunningAndExits)
{
    XvfbServer server({1280, 720});
    ASSERT_TRUE(server.isRunning());
    QTemporaryDir config;
    keepGuideClosedAtLaunch(config.path());
    ChildProcess first({lookpaneExecutable()}, lookpaneEnvironment(server, config));
    // The box itself: the window titled "Lookpane" is the share window, which may show first.
    ASSERT_TRUE(waitForViewableRole(server.displayName(), QStringLiteral("frame"), 15000));

    ChildProcess second({lookpaneExecutable()}, lookpaneEnvironment(server, config));
    const std::optional<int> secondStatus = second.waitForExit(std::chrono::seconds(10));
    ASSERT_TRUE(secondStatus.has_value()) << "the second Lookpane kept running";
    ASSERT_TRUE(WIFEXITED(*secondStatus));
    EXPECT_EQ(WEXITSTATUS(*secondStatus), 0);
    int viewable = 0;
    for (const WindowInfo &info :
         findWindowsByRole(server.displayName(), QStringLiteral("frame"))) {
        viewable += info.viewable ? 1 : 0;
    }
    EXPECT_EQ(viewable, 1);

    // The first one is still there and still quits cleanly.
    EXPECT_FALSE(first.waitForExit(std::chrono::milliseconds(0)).has_value());
    first.signal(SIGTERM);
    const std::optional<int> status = first.waitForExit(std::chrono::seconds(10));
    ASSERT_TRUE(status && WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 0);
}
