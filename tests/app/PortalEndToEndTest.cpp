// Lookpane capturing through a ScreenCast portal, as in a Wayland session: the real executable
// with --capture portal, its windows on a private X server standing in for XWayland, the
// project's own portal and a private PipeWire feeding a known picture of the whole screen.
#include "ChildProcess.h"
#include "Eventually.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "PortalHarness.h"
#include "PortalPattern.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QSettings>
#include <QTemporaryDir>

#include <sys/wait.h>

using namespace lookpane::testing;

namespace {

// Pixels of `image` that are not the portal's pattern at `origin` of the screen (one picture:
// the blue of the first pixel throughout).
int patternMismatches(const QImage &image, QPoint origin)
{
    if (image.isNull()) {
        return -1;
    }
    const int sequence = qBlue(image.pixel(0, 0));
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if ((image.pixel(x, y) & 0xffffffu) !=
                portalPatternRgb(origin.x() + x, origin.y() + y, sequence)) {
                ++count;
            }
        }
    }
    return count;
}

TEST(PortalEndToEnd, TheShareWindowShowsTheRegionOfThePortalsStream)
{
    XvfbServer server({1920, 1080});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    ScreenCastPortalHarness portal({"--size", "1920x1080", "--position", "0,0"});
    ASSERT_TRUE(portal.isReady()) << portal.problem();
    // A still picture: what the share window shows can then be compared at any moment.
    portal.setAnimated(false);

    QTemporaryDir config;
    keepGuideClosedAtLaunch(config.path());
    ChildProcess::Options options = lookpaneEnvironment(server.displayName(), config.path());
    options.environment["DBUS_SESSION_BUS_ADDRESS"] = portal.busAddress();
    ChildProcess lookpane({lookpaneExecutable(), "--capture", "portal"}, options);

    const std::string display = server.displayName();
    const WindowInfo frame =
        waitForViewableRole(display, QStringLiteral("frame"), 10000).value_or(WindowInfo{});
    const WindowInfo share =
        waitForViewableRole(display, QStringLiteral("share"), 10000).value_or(WindowInfo{});
    ASSERT_EQ(frame.geometry, QRect(560, 315, 800, 450)) << "the first launch centres the box";

    // The share window shows the stream's pixels under the box, whatever lies on the X server.
    QImage shared;
    EXPECT_TRUE(eventually(
        [&] {
            shared = grabWindow(display, share.id);
            return patternMismatches(shared, share.geometry.topLeft()) == 0;
        },
        30000))
        << "mismatching pixels: " << patternMismatches(shared, share.geometry.topLeft());

    // As a meeting application reads it: GStreamer's ximagesrc on the share window (without
    // the pointer, which rests in the middle of the screen).
    QTemporaryDir scratch;
    const std::string png = scratch.filePath(QStringLiteral("share.png")).toStdString();
    {
        ChildProcess::Options gstOptions;
        gstOptions.environment["DISPLAY"] = display;
        ChildProcess gst({"gst-launch-1.0", "-q", "ximagesrc", "xid=" + std::to_string(share.id),
                          "show-pointer=false", "num-buffers=1", "!", "videoconvert", "!", "pngenc",
                          "!", "filesink", "location=" + png},
                         gstOptions);
        const std::optional<int> status = gst.waitForExit(std::chrono::seconds(30));
        ASSERT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0);
    }
    const QImage meeting(QString::fromStdString(png));
    ASSERT_FALSE(meeting.isNull());
    EXPECT_EQ(
        patternMismatches(meeting.convertToFormat(QImage::Format_RGB32), share.geometry.topLeft()),
        0);

    // The desktop asked once, and its restore token is in the settings for the next run.
    EXPECT_EQ(portal.dialogCount(), 1);
    EXPECT_EQ(portal.lastPersistMode(), 2U);
    EXPECT_TRUE(eventually([&] {
        QSettings settings(lookpaneSettingsFile(config.path()), QSettings::NativeFormat);
        return !settings.value(QStringLiteral("ScreenCastRestoreToken")).toString().isEmpty();
    }));
}

} // namespace
