// Lookpane from end to end, driven as a user drives it: the real executable on a private X
// server with openbox, a window of another program beneath the box, real mouse and keys.
#include "ChildProcess.h"
#include "Eventually.h"
#include "ImageMetrics.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "ToolbarControls.h"
#include "XClientResources.h"
#include "XInput.h"
#include "XReadback.h"
#include "XSync.h"
#include "XvfbServer.h"

#include "model/RectText.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <signal.h>
#include <sys/wait.h>

#include <cstdlib>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

// Lookpane on the test's display with the test's settings, the guide kept closed.
ChildProcess::Options lookpaneEnvironment(const XvfbServer &server, const QTemporaryDir &config)
{
    keepGuideClosedAtLaunch(config.path());
    return lookpane::testing::lookpaneEnvironment(server.displayName(), config.path());
}

int countNear(const QImage &image, QColor color, int tolerance)
{
    return image.isNull() ? 0
                          : image.width() * image.height() -
                                countPixelsNotNear(image, image.rect(), color, tolerance);
}

class EndToEnd : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_server.isRunning());
        ASSERT_TRUE(m_server.startWindowManager());
    }

    std::string display() const { return m_server.displayName(); }

    bool clickAt(QPoint p) { return lookpane::testing::clickAt(display(), p); }
    bool dragFromTo(QPoint from, QPoint to)
    {
        return lookpane::testing::dragFromTo(display(), from, to);
    }

    // Whether Lookpane captures the screen: its capture keeps an X connection of its own that
    // watches the screen with the DAMAGE extension, closed when capture stops.
    bool captures(pid_t lookpane)
    {
        const std::optional<XClientResources> resources = xClientResourcesOf(display(), lookpane);
        return resources && resources->counts.count("DamageExt") > 0;
    }

    WindowInfo role(const char *name)
    {
        return waitForViewableRole(display(), QString::fromLatin1(name), 10000)
            .value_or(WindowInfo{});
    }

    XvfbServer m_server{{1920, 1080}};
};

} // namespace

TEST_F(EndToEnd, MirrorBlurDrawDetachClickThroughHideAndRelaunch)
{
    // A document of another program, larger than the box.
    PatternWindow document(
        display(), PatternWindow::at(QRect(100, 100, 1000, 600), Pattern::text, "Document"));
    ASSERT_TRUE(document.isShown());
    const QRect page = windowInfo(display(), document.window()).value_or(WindowInfo{}).geometry;

    QTemporaryDir config;
    auto lookpane = std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()},
                                                   lookpaneEnvironment(m_server, config));
    WindowInfo frame = role("frame");
    WindowInfo share = role("share");
    WindowInfo toolbar = role("toolbar");
    ASSERT_EQ(frame.geometry, QRect(560, 315, 800, 450)) << "the first launch centres the box";
    ASSERT_EQ(share.geometry, frame.geometry) << "overlay: the share window lies under the box";
    ASSERT_TRUE(toolbar.geometry.top() >= frame.geometry.bottom());
    // The toolbar's controls lie where the toolbar code puts them.
    const ToolbarControls &controls = toolbarControls();
    ASSERT_EQ(toolbar.geometry.size(), controls.baseRowSize)
        << "the shipped toolbar is not laid out as the toolbar code lays it out here";
    const auto control = [&](QPoint centre) { return toolbar.geometry.topLeft() + centre; };

    // Drag the toolbar until the box lies 50 pixels inside the document's top-left corner.
    const QPoint target = page.topLeft() + QPoint(50, 50);
    const QPoint grip = control(controls.grip);
    ASSERT_TRUE(dragFromTo(grip, grip + (target - frame.geometry.topLeft())));
    ASSERT_TRUE(eventually([&] {
        frame = role("frame");
        return frame.geometry.topLeft() == target;
    })) << "the box is at "
        << frame.geometry.x() << "," << frame.geometry.y();
    // The toolbar follows the box on its own: wait until it lies centred below it again, or
    // the clicks below miss it.
    ASSERT_TRUE(eventually([&] {
        toolbar = role("toolbar");
        return toolbar.geometry.top() >= frame.geometry.bottom() &&
               std::abs(toolbar.geometry.center().x() - frame.geometry.center().x()) <= 1;
    })) << "the toolbar is at "
        << toolbar.geometry.x() << "," << toolbar.geometry.y();
    share = role("share");
    EXPECT_EQ(share.geometry, frame.geometry);

    // The share window shows the document under the box, and nothing of Lookpane.
    const auto expectedPicture = [&] {
        QImage expected(frame.geometry.size(), QImage::Format_RGB32);
        const QPoint offset = frame.geometry.topLeft() - page.topLeft();
        for (int y = 0; y < expected.height(); ++y) {
            for (int x = 0; x < expected.width(); ++x) {
                expected.setPixel(
                    x, y, 0xFF000000u | document.expectedPixel(offset.x() + x, offset.y() + y));
            }
        }
        return expected;
    };
    const QImage expected = expectedPicture();
    QImage shared;
    EXPECT_TRUE(eventually([&] {
        shared = grabWindow(display(), share.id);
        return !shared.isNull() && maxPixelDifference(shared, expected) <= 2;
    })) << "the share window does not show the document: "
        << (shared.isNull() ? -1 : maxPixelDifference(shared, expected));

    // As a meeting application reads it: GStreamer's ximagesrc on the share window.
    QTemporaryDir scratch;
    const std::string png = scratch.filePath(QStringLiteral("share.png")).toStdString();
    {
        ChildProcess::Options options;
        options.environment["DISPLAY"] = display();
        ChildProcess gst({"gst-launch-1.0", "-q", "ximagesrc", "xid=" + std::to_string(share.id),
                          "num-buffers=1", "!", "videoconvert", "!", "pngenc", "!", "filesink",
                          "location=" + png},
                         options);
        const std::optional<int> status = gst.waitForExit(std::chrono::seconds(30));
        ASSERT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0);
    }
    const QImage meeting(QString::fromStdString(png));
    ASSERT_FALSE(meeting.isNull());
    EXPECT_LE(maxPixelDifference(meeting.convertToFormat(QImage::Format_RGB32), expected), 2);

    // Blur for viewers: the share window loses its detail, the box stays sharp with a banner.
    const double sharpEnergy = laplacianEnergy(expected);
    ASSERT_TRUE(clickAt(control(controls.blur)));
    EXPECT_TRUE(eventually([&] {
        shared = grabWindow(display(), share.id);
        return laplacianEnergy(shared) <= 0.1 * sharpEnergy;
    })) << "share window energy "
        << laplacianEnergy(shared) << " of " << sharpEnergy;
    const QImage ownView = grabScreenRect(display(), frame.geometry);
    const QRect inner = QRect(QPoint(0, 0), frame.geometry.size()).adjusted(20, 60, -20, -20);
    EXPECT_LE(maxPixelDifference(ownView.copy(inner), expected.copy(inner)), 2)
        << "the user's own view must stay readable";
    EXPECT_GT(countNear(ownView.copy(0, 0, ownView.width(), 60), QColor(0xFF, 0x95, 0x00), 40), 200)
        << "no orange banner in the box";
    EXPECT_EQ(countNear(shared, QColor(0xFF, 0x95, 0x00), 40), 0) << "the banner leaked to viewers";
    ASSERT_TRUE(clickAt(control(controls.blur)));
    EXPECT_TRUE(eventually(
        [&] { return maxPixelDifference(grabWindow(display(), share.id), expected) <= 2; }));

    // Drawing mode: an arrow drawn in the box shows in both windows and moves with the box.
    const QColor red(0xFF, 0x3B, 0x30);
    ASSERT_TRUE(clickAt(control(controls.draw)));
    // Drawing mode is on once the toolbar shows the drawing row and the box takes the mouse
    // where the arrow starts.
    const QPoint arrowStart(150, 300);
    ASSERT_TRUE(eventually([&] {
        return role("toolbar").geometry.size() == controls.drawingRowSize &&
               takesPointerAt(display(), frame.id, arrowStart);
    })) << "drawing mode did not begin";
    ASSERT_TRUE(dragFromTo(frame.geometry.topLeft() + arrowStart,
                           frame.geometry.topLeft() + QPoint(500, 120)));
    EXPECT_TRUE(eventually([&] {
        return countNear(grabWindow(display(), share.id), red, 30) > 300;
    })) << "the arrow does not show in the share window";
    EXPECT_GT(countNear(grabScreenRect(display(), frame.geometry), red, 30), 300)
        << "the arrow does not show in the box";

    // Ctrl+Z in the box removes it again.
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+z"}));
    EXPECT_TRUE(eventually([&] {
        return countNear(grabWindow(display(), share.id), red, 30) == 0;
    })) << "Ctrl+Z did not remove the arrow";
    // No redo: nothing comes back. The next arrow, drawn lower down, shows once the keys
    // before it were handled; the first one's place must then still be clear.
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+shift+z"}));
    ASSERT_TRUE(dragFromTo(frame.geometry.topLeft() + arrowStart + QPoint(0, 120),
                           frame.geometry.topLeft() + QPoint(500, 240)));
    ASSERT_TRUE(
        eventually([&] { return countNear(grabWindow(display(), share.id), red, 30) > 300; }));
    const QRect firstArrowMiddle(315, 200, 20, 20);
    EXPECT_EQ(countNear(grabWindow(display(), share.id).copy(firstArrowMiddle), red, 30), 0)
        << "Ctrl+Shift+Z brought the removed arrow back";
    ASSERT_TRUE(xdotool(display(), {"key", "Escape"}));
    // Drawing mode is over once the toolbar shows the base row again, centred under the box.
    ASSERT_TRUE(eventually([&] {
        toolbar = role("toolbar");
        return toolbar.geometry.size() == controls.baseRowSize &&
               std::abs(toolbar.geometry.center().x() - frame.geometry.center().x()) <= 1;
    })) << "drawing mode did not end";
    const QPoint nudge(-30, 20);
    const QPoint grip2 = control(controls.grip);
    ASSERT_TRUE(dragFromTo(grip2, grip2 + nudge));
    const QPoint moved = target + nudge;
    ASSERT_TRUE(eventually([&] {
        frame = role("frame");
        return frame.geometry.topLeft() == moved;
    }));
    EXPECT_TRUE(eventually([&] {
        return countNear(grabWindow(display(), share.id), red, 30) > 300;
    })) << "the arrow did not stay when the box moved";
    toolbar = role("toolbar");

    // Detached: the box becomes an outline and the share window goes to the bottom-right corner
    // with the box's shape (768 wide: 40 % of the screen; 40 from the right and bottom edges).
    ASSERT_TRUE(clickAt(control(controls.detach)));
    EXPECT_TRUE(eventually([&] {
        share = role("share");
        return share.geometry == QRect(1112, 608, 768, 432);
    })) << "share window at "
        << share.geometry.x() << "," << share.geometry.y() << " " << share.geometry.width() << "x"
        << share.geometry.height();
    const QImage throughOutline =
        grabScreenRect(display(), frame.geometry.adjusted(40, 40, -40, -40));
    const QPoint documentOffset = frame.geometry.topLeft() + QPoint(40, 40) - page.topLeft();
    QImage documentThere(throughOutline.size(), QImage::Format_RGB32);
    for (int y = 0; y < documentThere.height(); ++y) {
        for (int x = 0; x < documentThere.width(); ++x) {
            documentThere.setPixel(x, y,
                                   0xFF000000u | document.expectedPixel(documentOffset.x() + x,
                                                                        documentOffset.y() + y));
        }
    }
    // The document shows through the outline (the arrow, drawn on the document's place, aside).
    EXPECT_LE(meanPixelDifference(throughOutline, documentThere), 3.0);
    ASSERT_TRUE(clickAt(control(controls.detach)));
    EXPECT_TRUE(eventually([&] { return role("share").geometry == role("frame").geometry; }));

    // Click-through (on by default): a click inside the box reaches the document, one in the
    // edge band does not. The document reports its clicks in order: the first it reports after
    // the band's click must be the next inside click.
    ASSERT_TRUE(clickAt(frame.geometry.topLeft() + QPoint(400, 200)));
    std::optional<QPoint> click = document.waitForClick(10000);
    ASSERT_TRUE(click.has_value()) << "the click did not reach the document";
    EXPECT_EQ(*click, frame.geometry.topLeft() + QPoint(400, 200) - page.topLeft());
    ASSERT_TRUE(clickAt(frame.geometry.topLeft() + QPoint(4, 200)));
    ASSERT_TRUE(clickAt(frame.geometry.topLeft() + QPoint(400, 300)));
    click = document.waitForClick(10000);
    ASSERT_TRUE(click.has_value()) << "the second inside click did not reach the document";
    EXPECT_EQ(*click, frame.geometry.topLeft() + QPoint(400, 300) - page.topLeft())
        << "the edge band let the click through";

    // Hide: no Lookpane window stays mapped and capture stops, however the document changes.
    // (What Lookpane costs while hidden is a figure of bench/run timing.)
    ASSERT_TRUE(captures(lookpane->pid())) << "no capture to stop";
    ASSERT_TRUE(clickAt(control(controls.hide)));
    EXPECT_TRUE(eventually([&] {
        for (const char *name : {"frame", "share", "toolbar"}) {
            for (const WindowInfo &info : findWindowsByRole(display(), QString::fromLatin1(name))) {
                if (info.viewable) {
                    return false;
                }
            }
        }
        return true;
    }));
    PatternWindow::Options busy = PatternWindow::at(page, Pattern::bars, "Busy");
    busy.animate = true;
    PatternWindow animation(display(), busy);
    ASSERT_TRUE(animation.isShown());
    EXPECT_TRUE(eventually([&] { return !captures(lookpane->pid()); }))
        << "capture went on while hidden";
    // The animation changes the region from frame to frame; thirty of them later capture has
    // still not come back.
    const QPoint animationCorner =
        windowInfo(display(), animation.window()).value_or(WindowInfo{}).geometry.topLeft();
    const auto animationFrame = [&] {
        const QImage stamp = grabScreenRect(display(), QRect(animationCorner, QSize(8, 8)));
        return stamp.isNull() ? -1 : qRed(stamp.pixel(3, 3)) | (qGreen(stamp.pixel(3, 3)) << 8);
    };
    const int firstAnimationFrame = animationFrame();
    ASSERT_TRUE(eventually([&] { return animationFrame() >= firstAnimationFrame + 30; }))
        << "the animation does not run";
    EXPECT_FALSE(captures(lookpane->pid())) << "capture began again while hidden";
    animation.close();

    // Launching Lookpane again shows the running one's box; the second process exits.
    {
        ChildProcess again({lookpaneExecutable()}, lookpaneEnvironment(m_server, config));
        const std::optional<int> againStatus = again.waitForExit(std::chrono::seconds(10));
        ASSERT_TRUE(againStatus && WIFEXITED(*againStatus));
        EXPECT_EQ(WEXITSTATUS(*againStatus), 0);
    }
    EXPECT_EQ(role("frame").geometry, QRect(moved, QSize(800, 450)))
        << "the running Lookpane did not show its box again";
    EXPECT_TRUE(role("share").viewable);

    // Quit, relaunch: the box comes back where it was.
    lookpane->signal(SIGTERM);
    const std::optional<int> status = lookpane->waitForExit(std::chrono::seconds(10));
    ASSERT_TRUE(status && WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 0);
    lookpane = std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()},
                                              lookpaneEnvironment(m_server, config));
    EXPECT_EQ(role("frame").geometry, QRect(moved, QSize(800, 450)));
}
