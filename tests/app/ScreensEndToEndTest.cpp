// Lookpane on every monitor layout and scale factor, driven as a user drives it: the real
// executable on private X servers whose RandR monitors are set with xrandr, Qt's scale settings
// in its environment, and a picture of fine 1-pixel lines beneath the box. Each case checks
// the share window against the region pixel for pixel (RMSE 0) and the box's place on the
// screen, and prints a "[screens]" line with the figures.
#include "ChildProcess.h"
#include "Eventually.h"
#include "ImageMetrics.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "XInput.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include "model/RectText.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <signal.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <sstream>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

using Monitor = XvfbServer::Monitor;
using Environment = std::map<std::string, std::string>;

// The toolbar's grip: its left margin, half way down its 40-point height.
constexpr QPoint toolbarGrip(4, 20);

std::string text(const QRect &rect)
{
    std::ostringstream out;
    out << rect.width() << "x" << rect.height() << "+" << rect.x() << "+" << rect.y();
    return out.str();
}

// What a case measured, for the report and for failure messages.
struct Mirror
{
    QRect frame; // the box, in root pixels
    QRect share; // the share window, in root pixels
    QSize picture;
    double rmse = 1.0;

    std::string describe() const
    {
        std::ostringstream out;
        out << "box " << text(frame) << ", share window " << text(share) << ", picture "
            << picture.width() << "x" << picture.height() << ", RMSE " << rmse;
        return out.str();
    }
};

class ScreensEndToEnd : public ::testing::Test
{
protected:
    // A private server of `size` with `monitors`, openbox, and the line picture over it all.
    void startServer(QSize size, std::vector<Monitor> monitors)
    {
        XvfbServer::Options options;
        options.width = size.width();
        options.height = size.height();
        options.monitors = std::move(monitors);
        m_server = std::make_unique<XvfbServer>(options);
        ASSERT_TRUE(m_server->isRunning()) << "no Xvfb with those monitors";
        ASSERT_TRUE(m_server->startWindowManager());
        // A desktop window of another program over the whole root (monitors or not): the
        // window manager leaves it where it asks to be, without decorations, below every other
        // window. (An ordinary window of the screen's size would be taken for a full-screen one
        // and kept above Lookpane's windows.)
        PatternWindow::Options picture =
            PatternWindow::at(QRect(QPoint(0, 0), size), Pattern::text, "Lines");
        picture.windowType = "DESKTOP";
        m_picture = std::make_unique<PatternWindow>(display(), picture);
        ASSERT_TRUE(m_picture->isShown());
        ASSERT_TRUE(eventually([&] {
            const std::optional<WindowInfo> placed = windowInfo(display(), m_picture->window());
            return placed && placed->geometry == QRect(QPoint(0, 0), size);
        })) << "the window manager did not leave the picture over the whole screen";
    }

    std::string display() const { return m_server->displayName(); }

    QString settingsFile() const { return lookpaneSettingsFile(m_config.path()); }

    void store(const char *key, const char *value)
    {
        QDir(m_config.path()).mkpath(QStringLiteral("Lookpane"));
        QSettings settings(settingsFile(), QSettings::NativeFormat);
        settings.setValue(QString::fromLatin1(key), QString::fromLatin1(value));
    }

    std::optional<ScreenRect> saved(const char *key) const
    {
        const QSettings settings(settingsFile(), QSettings::NativeFormat);
        const QVariant value = settings.value(QString::fromLatin1(key));
        if (!value.isValid()) {
            return std::nullopt;
        }
        return rectFromText(value.toString());
    }

    // The guide stays closed: at a first launch it would open in the middle of the screen,
    // over the box and the toolbar that the cases drag.
    void launch(const Environment &environment = {})
    {
        keepGuideClosedAtLaunch(m_config.path());
        ChildProcess::Options options = lookpaneEnvironment(display(), m_config.path());
        for (const char *scaleSetting :
             {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_AUTO_SCREEN_SCALE_FACTOR",
              "QT_ENABLE_HIGHDPI_SCALING"}) {
            if (!environment.contains(scaleSetting)) {
                options.unset.emplace_back(scaleSetting);
            }
        }
        for (const auto &[name, value] : environment) {
            options.environment[name] = value;
        }
        options.stderrFile = errorsFile().toStdString();
        m_lookpane =
            std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()}, options);
        ASSERT_TRUE(m_lookpane->isStarted());
    }

    // Quits as the session would (SIGTERM) and waits for a clean exit, so the frames are saved.
    void quit()
    {
        ASSERT_TRUE(m_lookpane);
        m_lookpane->signal(SIGTERM);
        const std::optional<int> status = m_lookpane->waitForExit(std::chrono::seconds(15));
        ASSERT_TRUE(status && WIFEXITED(*status)) << "Lookpane did not exit cleanly";
        EXPECT_EQ(WEXITSTATUS(*status), 0);
        m_lookpane.reset();
    }

    QString errorsFile() const { return QDir(m_config.path()).filePath(QStringLiteral("errors")); }

    // What Lookpane wrote to standard error (its warnings) since it was launched.
    QString errors() const
    {
        QFile file(errorsFile());
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
    }

    // Lookpane's resident memory in megabytes; -1 when it cannot be read.
    double residentMegabytes() const
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(m_lookpane->pid()));
        if (!status.open(QIODevice::ReadOnly)) {
            return -1;
        }
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:")) {
                return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
            }
        }
        return -1;
    }

    // Waits until the toolbar lies centred under the box, as it follows it.
    void expectToolbarUnder(const QRect &frame, const std::string &label) const
    {
        WindowInfo toolbar;
        EXPECT_TRUE(eventually([&] {
            toolbar = role("toolbar");
            return toolbar.viewable && toolbar.geometry.top() >= frame.top() + frame.height() &&
                   std::abs(toolbar.geometry.center().x() - frame.center().x()) <= 1;
        })) << label
            << ": the toolbar is at " << text(toolbar.geometry) << ", the box at " << text(frame);
    }

    WindowInfo role(const char *name) const
    {
        return waitForViewableRole(display(), QString::fromLatin1(name), 15000)
            .value_or(WindowInfo{});
    }

    // The region's own pixels: the line picture at `rect` of the root.
    QImage region(const QRect &rect) const
    {
        QImage expected(rect.size(), QImage::Format_RGB32);
        for (int y = 0; y < rect.height(); ++y) {
            auto *line = reinterpret_cast<QRgb *>(expected.scanLine(y));
            for (int x = 0; x < rect.width(); ++x) {
                line[x] = 0xFF000000u | m_picture->expectedPixel(rect.x() + x, rect.y() + y);
            }
        }
        return expected;
    }

    // Waits until the box stands still at `frame` (when given) with the share window under it
    // (overlay) and showing exactly the region beneath the box; what it measured in the end.
    Mirror mirror(const std::string &label, std::optional<QRect> frame = std::nullopt)
    {
        Mirror measured;
        const bool settled = eventually(
            [&] {
                const WindowInfo box = role("frame");
                const WindowInfo share = role("share");
                measured.frame = box.geometry;
                measured.share = share.geometry;
                if (frame && box.geometry != *frame) {
                    return false;
                }
                if (share.geometry != box.geometry) {
                    return false;
                }
                const QImage picture = grabWindow(display(), share.id);
                measured.picture = picture.size();
                measured.rmse = rootMeanSquareError(picture, region(box.geometry));
                return picture.size() == box.geometry.size() && measured.rmse == 0.0;
            },
            20000);
        std::printf("[screens] %s: %s\n", label.c_str(), measured.describe().c_str());
        std::fflush(stdout);
        EXPECT_TRUE(settled) << label << ": " << measured.describe();
        return measured;
    }

    std::unique_ptr<XvfbServer> m_server;
    std::unique_ptr<PatternWindow> m_picture;
    QTemporaryDir m_config;
    std::unique_ptr<ChildProcess> m_lookpane;
};

} // namespace

// --- scale factors ------------------------------------------------------------------------

TEST_F(ScreensEndToEnd, ScaleOneAndAQuarterFirstLaunchMirrorsPixelForPixel)
{
    startServer({1920, 1080}, {});
    launch({{"QT_SCALE_FACTOR", "1.25"}});
    // The screen is 1536 × 864 points; the box 800 × 450 points centred on it, 562.5 pixels
    // high: Qt makes the window 563 rows, and the picture must have as many.
    mirror("scale 1.25, first launch", QRect(460, 259, 1000, 563));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(368, 207, 800, 450));
}

TEST_F(ScreensEndToEnd, ScaleOneAndAHalfSavedFrameOnHalfPixelsMirrorsPixelForPixel)
{
    startServer({1920, 1080}, {});
    // 267 points from the left edge is 400.5 pixels, 801 points 1201.5, 529 points 793.5.
    store("FrameWindowFrame", "{{267, 95}, {801, 529}}");
    launch({{"QT_SCALE_FACTOR", "1.5"}});
    mirror("scale 1.5, saved frame on half pixels", QRect(401, 144, 1202, 794));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(267, 95, 801, 529));
}

// --- monitor layouts ------------------------------------------------------------------------

TEST_F(ScreensEndToEnd, PrimaryNotAtTheRootsTopLeftPlacesSavedFramesFromItsBottomLeft)
{
    // A 1920 × 1080 primary at +0+360 beside a 640 × 1440 monitor, on a 2560 × 1440 screen.
    startServer({2560, 1440},
                {{"A", QRect(0, 360, 1920, 1080), true}, {"B", QRect(1920, 0, 640, 1440), false}});
    // The top edge (820) lies 260 below the primary's top (root y 360): root y 620.
    store("FrameWindowFrame", "{{301, 420}, {600, 400}}");
    launch();
    const Mirror placed = mirror("primary at +0+360", QRect(301, 620, 600, 400));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(301, 420, 600, 400));
    launch();
    mirror("primary at +0+360, relaunched", placed.frame);
}

TEST_F(ScreensEndToEnd, PrimaryBelowAnotherMonitorSavesAndRestoresFramesOnBoth)
{
    startServer({1920, 2160}, {{"Upper", QRect(0, 0, 1920, 1080), false},
                               {"Primary", QRect(0, 1080, 1920, 1080), true}});
    // The first launch centres the box on the primary, the lower monitor: y up counts from its
    // bottom, so the box is saved 315 points above it, not below.
    launch();
    mirror("primary below another, first launch", QRect(560, 1395, 800, 450));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(560, 315, 800, 450));
    // A box on the upper monitor, saved by the same rule, is reachable and comes back there.
    store("FrameWindowFrame", "{{560, 1395}, {800, 450}}");
    launch();
    mirror("primary below another, box on the upper monitor", QRect(560, 315, 800, 450));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(560, 1395, 800, 450));
}

TEST_F(ScreensEndToEnd, PrimaryAboveASmallerMonitorRestoresABoxBelowTheOrigin)
{
    // A 1280 × 1024 monitor below the 1920 × 1080 primary: boxes there have negative y.
    startServer({1920, 2104}, {{"Primary", QRect(0, 0, 1920, 1080), true},
                               {"Lower", QRect(0, 1080, 1280, 1024), false}});
    store("FrameWindowFrame", "{{100, -900}, {800, 450}}");
    launch();
    const Mirror placed = mirror("primary above a smaller monitor", QRect(100, 1530, 800, 450));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(100, -900, 800, 450));
    launch();
    mirror("primary above a smaller monitor, relaunched", placed.frame);
}

TEST_F(ScreensEndToEnd, SideBySideMonitorsOfDifferentHeightsMirrorABoxAcrossBoth)
{
    startServer({3200, 1080}, {{"Primary", QRect(0, 0, 1920, 1080), true},
                               {"Right", QRect(1920, 0, 1280, 1024), false}});
    // Straddling the two monitors' shared edge.
    store("FrameWindowFrame", "{{1600, 400}, {800, 450}}");
    launch();
    const Mirror placed = mirror("side by side, straddling", QRect(1600, 230, 800, 450));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(1600, 400, 800, 450));
    launch();
    mirror("side by side, straddling, relaunched", placed.frame);
}

// --- dragging -------------------------------------------------------------------------------

TEST_F(ScreensEndToEnd, DragAcrossMonitorsOfDifferentScalesFollowsThePointerWithoutAJump)
{
    // Two 1920 × 1080 monitors side by side; the right one shows two pixels per point.
    startServer({3840, 1080},
                {{"A", QRect(0, 0, 1920, 1080), true}, {"B", QRect(1920, 0, 1920, 1080), false}});
    const Environment scales{{"QT_SCREEN_SCALE_FACTORS", "A=1;B=2"}};
    store("FrameWindowFrame", "{{100, 530}, {800, 450}}");
    launch(scales);
    mirror("scales A=1 B=2, box on A", QRect(100, 100, 800, 450));

    // The toolbar dragged 1900 pixels to the right: the box's corner moves those 1900 pixels
    // with the pointer and no other way, and on B its 800 × 450 points are 1600 × 900 pixels.
    const WindowInfo toolbar = role("toolbar");
    const QPoint grip = toolbar.geometry.topLeft() + toolbarGrip;
    ASSERT_TRUE(dragFromTo(display(), grip, grip + QPoint(1900, 0)));
    mirror("scales A=1 B=2, toolbar dragged onto B", QRect(2000, 100, 1600, 900));

    // The box's own edge band drags it back the same 1900 pixels onto A.
    const QPoint band(2000 + 16, 100 + 450);
    ASSERT_TRUE(dragFromTo(display(), band, band - QPoint(1900, 0)));
    mirror("scales A=1 B=2, box dragged back onto A by its edge", QRect(100, 100, 800, 450));

    // Dragged onto B again, saved there in points, and back there after a relaunch at its
    // full size.
    const WindowInfo again = role("toolbar");
    const QPoint grip2 = again.geometry.topLeft() + toolbarGrip;
    ASSERT_TRUE(dragFromTo(display(), grip2, grip2 + QPoint(1900, 0)));
    mirror("scales A=1 B=2, toolbar dragged onto B again", QRect(2000, 100, 1600, 900));
    quit();
    // 1920 + (2000 - 1920) / 2 = 1960 points across; 50 points down from the top of B, whose
    // top is the primary's: 1080 - 50 - 450 = 580 up.
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(1960, 580, 800, 450));
    launch(scales);
    mirror("scales A=1 B=2, relaunched on B", QRect(2000, 100, 1600, 900));
}

TEST_F(ScreensEndToEnd, ADragCannotPutTheBoxOffEveryScreen)
{
    startServer({1920, 1080}, {});
    store("FrameWindowFrame", "{{560, 315}, {800, 450}}");
    launch();
    mirror("drag off screen, before", QRect(560, 315, 800, 450));
    // The toolbar dragged into the top-right corner: the pointer moves 795 up and 1087 right,
    // more than the box has room for; the box stops in the corner.
    const WindowInfo toolbar = role("toolbar");
    const QPoint grip = toolbar.geometry.topLeft() + toolbarGrip;
    ASSERT_TRUE(dragFromTo(display(), grip, QPoint(1919, 0)));
    mirror("drag off screen, toolbar into the top-right corner", QRect(1120, 0, 800, 450));
    // The box's own edge band dragged into the bottom-left corner: it stops in that corner.
    const QPoint band(1120 + 4, 225);
    ASSERT_TRUE(dragFromTo(display(), band, QPoint(0, 1079)));
    const Mirror corner =
        mirror("drag off screen, edge band into the bottom-left corner", QRect(0, 630, 800, 450));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(0, 0, 800, 450));
    launch();
    mirror("drag off screen, relaunched", corner.frame);
}

// --- monitors that come and go --------------------------------------------------------------

TEST_F(ScreensEndToEnd, AMonitorUnpluggedWhileRunningBringsTheBoxOntoTheOneThatStays)
{
    startServer({3200, 1080}, {{"Primary", QRect(0, 0, 1920, 1080), true},
                               {"Right", QRect(1920, 0, 1280, 1024), false}});
    store("FrameWindowFrame", "{{2200, 356}, {800, 450}}");
    launch();
    mirror("unplugged: box on the right-hand monitor", QRect(2200, 274, 800, 450));

    // Unplugged: the box comes onto the primary, against its right edge, the capture goes on
    // there and the toolbar follows.
    ASSERT_TRUE(m_server->removeMonitor("Right"));
    const Mirror kept =
        mirror("unplugged: box brought onto the primary", QRect(1120, 274, 800, 450));
    expectToolbarUnder(kept.frame, "unplugged");

    // Plugged in again: the box stays where it is and goes on mirroring.
    ASSERT_TRUE(m_server->addMonitor({"Right", QRect(1920, 0, 1280, 1024), false}));
    mirror("plugged in again: box stays", kept.frame);
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(1120, 356, 800, 450));
    launch();
    mirror("unplugged and plugged in again, relaunched", kept.frame);
}

TEST_F(ScreensEndToEnd, AMonitorUnpluggedUnderAStraddlingBoxLeavesItWhollyOnTheOtherOne)
{
    startServer({3200, 1080}, {{"Primary", QRect(0, 0, 1920, 1080), true},
                               {"Right", QRect(1920, 0, 1280, 1024), false}});
    store("FrameWindowFrame", "{{1600, 400}, {800, 450}}");
    launch();
    mirror("unplugged under a straddling box, before", QRect(1600, 230, 800, 450));
    // The window manager leaves a window that is still partly on a screen where it is; Lookpane
    // itself brings the box wholly onto the primary.
    ASSERT_TRUE(m_server->removeMonitor("Right"));
    const Mirror kept =
        mirror("unplugged under a straddling box, after", QRect(1120, 230, 800, 450));
    expectToolbarUnder(kept.frame, "unplugged under a straddling box");
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(1120, 400, 800, 450));
}

TEST_F(ScreensEndToEnd, ADetachedShareWindowOnAMonitorThatGoesAwayIsBroughtBack)
{
    startServer({3200, 1080}, {{"Primary", QRect(0, 0, 1920, 1080), true},
                               {"Right", QRect(1920, 0, 1280, 1024), false}});
    store("ShareMode", "detached");
    store("FrameWindowFrame", "{{200, 356}, {800, 450}}");
    store("DetachedShareWindowFrame", "{{2300, 300}, {640, 360}}");
    launch();
    WindowInfo share;
    ASSERT_TRUE(eventually([&] {
        share = role("share");
        return share.geometry == QRect(2300, 420, 640, 360);
    })) << "the detached share window is at "
        << text(share.geometry);

    ASSERT_TRUE(m_server->removeMonitor("Right"));
    EXPECT_TRUE(eventually([&] {
        share = role("share");
        return share.geometry == QRect(1280, 420, 640, 360);
    })) << "the detached share window is at "
        << text(share.geometry);
    std::printf("[screens] detached, monitor unplugged: share window %s\n",
                text(share.geometry).c_str());
    // The capture goes on: the share window shows the region beneath the box (scaled to its
    // size, so not pixel for pixel), not a blank picture.
    const QRect box = role("frame").geometry;
    const QImage expected =
        region(box).scaled(share.geometry.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    double rmse = 1;
    EXPECT_TRUE(eventually([&] {
        rmse = rootMeanSquareError(grabWindow(display(), share.id), expected);
        return rmse < 0.2;
    })) << "the share window does not show the region: RMSE "
        << rmse;
    quit();
    EXPECT_EQ(saved("DetachedShareWindowFrame"), ScreenRect(1280, 300, 640, 360));
}

// --- frames that do not fit -----------------------------------------------------------------

TEST_F(ScreensEndToEnd, ASavedFrameLargerThanTheScreenIsShrunkOntoItWithTheToolbarInSight)
{
    startServer({1280, 800}, {});
    // A box saved on a 4K monitor, restored on a 1280 × 800 screen.
    store("FrameWindowFrame", "{{0, 0}, {3840, 2160}}");
    launch();
    const Mirror shrunk = mirror("4K frame on 1280 x 800", QRect(0, 0, 1280, 720));
    expectToolbarUnder(shrunk.frame, "4K frame on 1280 x 800");
    const double megabytes = residentMegabytes();
    std::printf("[screens] 4K frame on 1280 x 800: %.0f MB resident\n", megabytes);
    EXPECT_LT(megabytes, 300.0);
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(0, 80, 1280, 720));
}

TEST_F(ScreensEndToEnd, ACorruptHugeSavedFrameIsShrunkWithAMessage)
{
    startServer({1280, 800}, {});
    store("FrameWindowFrame", "{{0, 0}, {40000, 30000}}");
    launch();
    // 800 / 30000 of it, 1066.67 × 800 points, pushed into the top-right corner.
    mirror("40000 x 30000 frame on 1280 x 800", QRect(213, 0, 1067, 800));
    const double megabytes = residentMegabytes();
    std::printf("[screens] 40000 x 30000 frame on 1280 x 800: %.0f MB resident\n", megabytes);
    EXPECT_LT(megabytes, 300.0);
    EXPECT_TRUE(errors().contains(QStringLiteral("{{0, 0}, {40000, 30000}}")) &&
                errors().contains(QStringLiteral("does not fit on the screens")))
        << errors().toStdString();
    quit();
}

// --- the scale matrix -----------------------------------------------------------------------

TEST_F(ScreensEndToEnd, UniformScaleTwoMirrorsABoxStraddlingTwoMonitors)
{
    startServer({3840, 1080},
                {{"A", QRect(0, 0, 1920, 1080), true}, {"B", QRect(1920, 0, 1920, 1080), false}});
    const Environment scale{{"QT_SCALE_FACTOR", "2"}};
    // 960 × 540 points per monitor; 400 × 200 points at (800, 100) on A reach 160 points (320
    // pixels) onto B.
    store("FrameWindowFrame", "{{800, 240}, {400, 200}}");
    launch(scale);
    const Mirror placed = mirror("scale 2, straddling", QRect(1600, 200, 800, 400));
    quit();
    // Its centre (pixel 2000) is on B, so Qt counts the window in B's points from then on: the
    // same pixels, 1920 + (1600 - 1920) / 2 = 1760 points across.
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(1760, 240, 400, 200));
    launch(scale);
    mirror("scale 2, straddling, relaunched", placed.frame);
}

TEST_F(ScreensEndToEnd, MixedFractionalScalesMirrorPixelForPixelOnEachMonitor)
{
    startServer({3840, 1080},
                {{"A", QRect(0, 0, 1920, 1080), true}, {"B", QRect(1920, 0, 1920, 1080), false}});
    const Environment scales{{"QT_SCREEN_SCALE_FACTORS", "A=1.25;B=1.5"}};
    // On A (1536 × 864 points): 266 points in is 332.5 pixels, 802 wide 1002.5, 450 high 562.5.
    store("FrameWindowFrame", "{{266, 150}, {802, 450}}");
    launch(scales);
    mirror("scales A=1.25 B=1.5, box on A", QRect(333, 330, 1003, 563));
    quit();
    // On B (1280 × 720 points from x 1920): 267 points in is 400.5 pixels, 801 × 529 points
    // are 1201.5 × 793.5 pixels.
    store("FrameWindowFrame", "{{2187, 240}, {801, 529}}");
    launch(scales);
    const Mirror onB = mirror("scales A=1.25 B=1.5, box on B", QRect(2321, 143, 1202, 794));
    quit();
    EXPECT_EQ(saved("FrameWindowFrame"), ScreenRect(2187, 240, 801, 529));
    launch(scales);
    mirror("scales A=1.25 B=1.5, box on B, relaunched", onB.frame);
}
