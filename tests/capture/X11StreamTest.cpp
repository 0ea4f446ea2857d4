// The X11 capture stream over time: when it delivers, where it delivers from, how it
// survives windows that come and go, and what it leaves behind.
#include "X11CaptureHarness.h"

#include "ChildProcess.h"
#include "PatternWindow.h"
#include "TestDisplay.h"
#include "XReadback.h"
#include "XSync.h"
#include "XvfbServer.h"

#include "capture/x11/CaptureThread.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QThread>

#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

std::string display()
{
    return testDisplay().displayName();
}

PatternWindow::Options solidWindow(const QRect &geometry, std::uint32_t color, bool animate = false)
{
    PatternWindow::Options options;
    options.geometry = geometry;
    options.pattern = Pattern::solid;
    options.color = color;
    options.animate = animate;
    return options;
}

PatternWindow::Options animatedBars(const QRect &geometry)
{
    PatternWindow::Options options;
    options.geometry = geometry;
    options.pattern = Pattern::bars;
    options.animate = true;
    return options;
}

// The screen shows the window's picture: its paint requests have been carried out.
bool waitUntilPainted(const PatternWindow &window)
{
    const QRect geometry = window.options().geometry;
    return X11CaptureHarness::waitUntil(
        [&] {
            const QImage shot = grabScreenRect(display(), geometry);
            return !shot.isNull() && countMismatches(shot, shot.rect(), [&](int x, int y) {
                                         return window.expectedPixel(x, y);
                                     }) == 0;
        },
        5000);
}

bool isSolid(const QImage &frame, std::uint32_t color)
{
    return !frame.isNull() && countPixelsNotNear(frame, frame.rect(), QColor(color), 0) == 0;
}

// The animated pattern's frame counter (top-left 8 × 8 pixels: red = low byte).
int animationCounter(const QImage &frame)
{
    const QRgb stamp = frame.pixel(3, 3);
    return qRed(stamp) | (qGreen(stamp) << 8);
}

// The screen's size as the X server reports it now.
QSize screenSize()
{
    xcb_connection_t *c = xcb_connect(display().c_str(), nullptr);
    QSize size;
    if (xcb_connection_has_error(c) == 0) {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
        if (xcb_get_geometry_reply_t *geometry =
                xcb_get_geometry_reply(c, xcb_get_geometry(c, root), nullptr)) {
            size = QSize(geometry->width, geometry->height);
            std::free(geometry);
        }
    }
    xcb_disconnect(c);
    return size;
}

// Resizes the screen (RandR, through xrandr). Xvfb's one output keeps its mode, so xrandr
// complains about it when shrinking; the screen is resized all the same, which is what counts.
bool resizeScreen(QSize size)
{
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display();
    ChildProcess xrandr(
        {"xrandr", "--fb", std::to_string(size.width()) + "x" + std::to_string(size.height())},
        options);
    xrandr.waitForExit(std::chrono::seconds(10));
    return X11CaptureHarness::waitUntil([&] { return screenSize() == size; }, 5000);
}

// A small window of another program in a colour of its own, mapped inside `region` once the
// test has seen what it wanted to see. The frame that shows it comes only after the stream has
// handled every change that came before: a test that checks that something yielded no frame
// waits for this one instead of waiting a while.
class Sentinel
{
public:
    Sentinel(const QRect &region, std::uint32_t color)
        : m_color(color),
          m_window(display(), solidWindow(QRect(region.topLeft(), QSize(40, 30)), color))
    {}

    bool isShown() const { return m_window.isShown(); }
    // Whether a frame of the region shows the sentinel at its top-left corner.
    bool isIn(const QImage &frame) const
    {
        return !frame.isNull() &&
               countPixelsNotNear(frame, QRect(0, 0, 40, 30), QColor(m_color), 0) == 0;
    }

private:
    std::uint32_t m_color;
    PatternWindow m_window;
};

// Waits for the first frame that shows `sentinel` and returns how many frames had come by
// then, itself included; none when it never came.
std::optional<int> framesUpTo(X11CaptureHarness &harness, const Sentinel &sentinel)
{
    std::optional<int> count;
    X11CaptureHarness::waitUntil(
        [&] {
            const auto [frames, latest] = harness.countAndLatestFrame();
            if (sentinel.isIn(frameImage(latest))) {
                count = frames;
            }
            return count.has_value();
        },
        10000);
    return count;
}

// Waits until this process's X resources are `expected` (a stream's frees reach the server
// over its own connection, after the call that made them returns).
bool ownResourcesBecome(const std::map<std::string, std::uint32_t> &expected,
                        std::map<std::string, std::uint32_t> &now);

std::map<std::string, std::uint32_t> ownResourceCounts()
{
    return clientResourceCounts(display(), getpid());
}

bool ownResourcesBecome(const std::map<std::string, std::uint32_t> &expected,
                        std::map<std::string, std::uint32_t> &now)
{
    return X11CaptureHarness::waitUntil(
        [&] {
            now = ownResourceCounts();
            return now == expected;
        },
        10000);
}

std::uint32_t countOf(const std::map<std::string, std::uint32_t> &counts, const char *type)
{
    const auto it = counts.find(type);
    return it == counts.end() ? 0 : it->second;
}

} // namespace

// How soon the picture follows is a figure of bench/run timing, not a condition here.
TEST(X11Stream, MovedRegionShowsTheNewPlace)
{
    X11CaptureHarness harness;
    const QRect left(100, 100, 300, 200);
    const QRect right(1000, 600, 300, 200);
    PatternWindow a(display(), solidWindow(left, 0xC03000));
    PatternWindow b(display(), solidWindow(right, 0x0030C0));
    ASSERT_TRUE(a.isShown() && b.isShown());
    ASSERT_TRUE(waitUntilPainted(a) && waitUntilPainted(b));
    ASSERT_EQ(harness.start(left), std::nullopt);
    ASSERT_TRUE(
        harness.waitForLatestWhere([](const QImage &f) { return isSolid(f, 0xC03000); }, 10000));

    for (int move = 0; move < 6; ++move) {
        const bool toRight = move % 2 == 0;
        ASSERT_EQ(harness.update(toRight ? right : left), std::nullopt);
        ASSERT_TRUE(harness.waitForLatestWhere(
            [&](const QImage &f) { return isSolid(f, toRight ? 0x0030C0 : 0xC03000); }, 10000))
            << "move " << move;
    }
}

TEST(X11Stream, AScreenThatGrowsAfterTheStartIsFollowed)
{
    ASSERT_TRUE(resizeScreen({1280, 720}));
    // The backend connects now, while the screen is small.
    X11CaptureHarness harness;
    const QRect region(1500, 800, 320, 180);
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(resizeScreen({1920, 1080}));
    PatternWindow window(display(), solidWindow(region, 0x30A050));
    ASSERT_TRUE(window.isShown());
    ASSERT_TRUE(waitUntilPainted(window));
    EXPECT_TRUE(
        harness.waitForLatestWhere([](const QImage &f) { return isSolid(f, 0x30A050); }, 10000))
        << "the part of the screen that was added still comes out black";

    EXPECT_EQ(harness.stop(), std::nullopt);
}

// A window created, then mapped a moment later: the stream learns of the creation, reads the
// window stack, and the map comes in while it waits for the server's answers. Each window
// must show up all the same, though nothing else happens on the screen afterwards.
TEST(X11Stream, WindowsMappedWhileTheStackIsReadShowUp)
{
    X11CaptureHarness harness;
    // The windows come from this process, over a connection of the test's own.
    harness.excludeOwnProcess = false;
    // Little pause between frames: the stream should be listening when a window is created,
    // not waiting for its next frame's turn.
    harness.maximumFramesPerSecond = 1000;
    const QRect region(600, 300, 200, 150);
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));

    // Closing the connection destroys every window made over it, whatever way the test ends.
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display().c_str(), nullptr), &xcb_disconnect);
    xcb_connection_t *c = connection.get();
    ASSERT_EQ(xcb_connection_has_error(c), 0);
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const auto roundTrip = [c] {
        std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    };
    // A thousand unmapped windows make every reading of the stack long enough that the map
    // falls into it on most rounds.
    for (int i = 0; i < 1000; ++i) {
        xcb_create_window(c, XCB_COPY_FROM_PARENT, xcb_generate_id(c), screen->root, 0, 0, 10, 10,
                          0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    }
    roundTrip();
    for (int round = 0; round < 40; ++round) {
        // A colour of its own for each window, so each frame tells which one is on top.
        const std::uint32_t color = 0x204000 + static_cast<std::uint32_t>(round) * 0x000105;
        const xcb_window_t window = xcb_generate_id(c);
        const std::uint32_t values[] = {color, 1};
        xcb_create_window(
            c, XCB_COPY_FROM_PARENT, window, screen->root, static_cast<std::int16_t>(region.x()),
            static_cast<std::int16_t>(region.y()), static_cast<std::uint16_t>(region.width()),
            static_cast<std::uint16_t>(region.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
            screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        // The creation reaches the stream first; the map follows one round trip later.
        roundTrip();
        xcb_map_window(c, window);
        xcb_flush(c);
        ASSERT_TRUE(harness.waitForLatestWhere(
            [color](const QImage &f) { return isSolid(f, color); }, 5000))
            << "window " << round << " was mapped but never showed up";
    }
    EXPECT_EQ(harness.stop(), std::nullopt);
}

TEST(X11Stream, AScreenThatShrinksAfterTheStartShowsBlackBeyondItsEdge)
{
    X11CaptureHarness harness;
    const QRect region(1500, 800, 320, 180);
    PatternWindow window(display(), solidWindow(region, 0x30A050));
    ASSERT_TRUE(window.isShown());
    ASSERT_TRUE(waitUntilPainted(window));
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(
        harness.waitForLatestWhere([](const QImage &f) { return isSolid(f, 0x30A050); }, 10000));
    ASSERT_TRUE(resizeScreen({1280, 720}));
    // Beyond the screen's new edge nothing shows, not even the window that still lies there.
    EXPECT_TRUE(
        harness.waitForLatestWhere([](const QImage &f) { return isSolid(f, 0x000000); }, 10000));
    EXPECT_EQ(harness.stop(), std::nullopt);
    EXPECT_TRUE(resizeScreen({1920, 1080}));
}

TEST(X11Stream, StaticScreenYieldsNoFrameAfterTheFirst)
{
    X11CaptureHarness harness;
    const QRect region(200, 200, 500, 300);
    PatternWindow window(display(), solidWindow(region, 0x208020));
    ASSERT_TRUE(window.isShown());
    ASSERT_TRUE(waitUntilPainted(window));
    const QRect captured = region.adjusted(-50, -50, 50, 50);
    ASSERT_EQ(harness.start(captured), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    // Room for a stray frame (one made by a timer, say); the sentinel then shows whether any
    // came, however slowly the stream ran.
    X11CaptureHarness::pump(500);
    const Sentinel sentinel(captured, 0xE0D020);
    ASSERT_TRUE(sentinel.isShown());
    EXPECT_EQ(framesUpTo(harness, sentinel), 2) << "a frame came while nothing changed";
}

TEST(X11Stream, ChangingPixelsInTheRegionYieldFrames)
{
    X11CaptureHarness harness;
    const QRect region(100, 100, 320, 240);
    PatternWindow window(display(), animatedBars(region));
    ASSERT_TRUE(window.isShown());
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const int first = animationCounter(frameImage(harness.latestFrame()));
    ASSERT_TRUE(harness.waitForFrames(15, 10000));
    EXPECT_GT(animationCounter(frameImage(harness.latestFrame())), first);
}

TEST(X11Stream, ChangesOutsideTheRegionYieldNoFrames)
{
    X11CaptureHarness harness;
    PatternWindow busy(display(), animatedBars(QRect(900, 500, 300, 200)));
    PatternWindow still(display(), solidWindow(QRect(100, 100, 300, 200), 0x806040));
    ASSERT_TRUE(busy.isShown() && still.isShown());
    ASSERT_TRUE(waitUntilPainted(still));
    const QRect region(100, 100, 300, 200);
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    // The busy window goes on changing beside the region: thirty of its frames reach the screen.
    const auto busyCounter = [] {
        const QImage stamp = grabScreenRect(display(), QRect(900, 500, 8, 8));
        return stamp.isNull() ? -1 : animationCounter(stamp);
    };
    const int busyAtStart = busyCounter();
    ASSERT_TRUE(
        X11CaptureHarness::waitUntil([&] { return busyCounter() >= busyAtStart + 30; }, 20000));
    const Sentinel sentinel(region, 0xE0D020);
    ASSERT_TRUE(sentinel.isShown());
    EXPECT_EQ(framesUpTo(harness, sentinel), 2) << "a change outside the region made a frame";
}

TEST(X11Stream, RepaintsOfOwnWindowsYieldNoFrames)
{
    X11CaptureHarness harness;
    const QRect region(300, 300, 400, 300);
    PatternWindow window(display(), solidWindow(region, 0x305070));
    ASSERT_TRUE(window.isShown());
    ASSERT_TRUE(waitUntilPainted(window));
    const auto own = showOwnWindow(region, QColor(0xEE1122), QStringLiteral("Own busy"));
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    // Our window repaints itself over the region again and again, as the mirror does.
    for (int shade = 0; shade < 60; ++shade) {
        QPalette palette = own->palette();
        palette.setColor(QPalette::Window, QColor(0xEE, shade * 4, 0x22));
        own->setPalette(palette);
        own->repaint();
        ASSERT_TRUE(applicationRequestsDone());
    }
    EXPECT_TRUE(isSolid(frameImage(harness.latestFrame()), 0x305070));
    const Sentinel sentinel(region, 0xE0D020);
    ASSERT_TRUE(sentinel.isShown());
    EXPECT_EQ(framesUpTo(harness, sentinel), 2) << "a repaint of our own window made a frame";
}

// Frames never come faster than the maximum, by the stream's own clock: load can only make
// them come slower. How close to the maximum they come is a figure of bench/run timing.
TEST(X11Stream, FrameRateStaysAtMostTheMaximumFramesPerSecond)
{
    X11CaptureHarness harness;
    harness.maximumFramesPerSecond = 10;
    const QRect region(100, 100, 320, 240);
    PatternWindow window(display(), animatedBars(region));
    ASSERT_TRUE(window.isShown());
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const std::int64_t firstNs = harness.latestFrame().timestampNs();
    const int first = harness.frameCount();
    ASSERT_TRUE(harness.waitForFrames(first + 12, 30000));
    const CapturedFrame last = harness.latestFrame();
    const int intervals = harness.frameCount() - first;
    // Each interval lasts at least a tenth of a second, give or take a millisecond of the
    // pacing's rounding.
    EXPECT_GE(last.timestampNs() - firstNs, std::int64_t(intervals) * 99'000'000)
        << intervals << " frames after the first within "
        << (last.timestampNs() - firstNs) / 1000000 << " ms";
}

TEST(X11Stream, SamplesArriveCompleteOnTheCaptureThread)
{
    X11CaptureHarness harness;
    const QRect region(100, 100, 320, 240);
    PatternWindow window(display(), animatedBars(region));
    ASSERT_TRUE(window.isShown());
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(3, 10000));
    EXPECT_EQ(harness.sampleThreadName(), QString::fromLatin1(x11::CaptureThread::threadName));
    const std::vector<FrameStatus> statuses = harness.statuses();
    EXPECT_TRUE(std::all_of(statuses.begin(), statuses.end(),
                            [](FrameStatus status) { return status == FrameStatus::complete; }));
    // Timestamps come from the monotonic clock.
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const std::int64_t nowNs = std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
    EXPECT_LE(harness.latestFrame().timestampNs(), nowNs);
    EXPECT_GT(harness.latestFrame().timestampNs(), nowNs - 10'000'000'000);
}

TEST(X11Stream, ChurningWindowsNeverEndTheStreamAndLeaveNoResourcesBehind)
{
    const auto beforeStart = ownResourceCounts();
    ASSERT_FALSE(beforeStart.empty()) << "X-Resource extension unavailable";
    {
        X11CaptureHarness harness;
        const QRect region(100, 100, 600, 400);
        PatternWindow window(display(), solidWindow(region, 0x446688));
        ASSERT_TRUE(window.isShown());
        ASSERT_EQ(harness.start(region), std::nullopt);
        ASSERT_TRUE(harness.waitForFrames(1, 10000));
        X11CaptureHarness::pump(300);
        const auto beforeChurn = ownResourceCounts();

        ChildProcess::Options options;
        options.environment["DISPLAY"] = display();
        options.captureStdout = true;
        ChildProcess churn(
            {patternWindowExecutable(), "--churn", "10", "--geometry", "600x400+100+100"}, options);
        ASSERT_TRUE(churn.isStarted());
        const int framesBefore = harness.frameCount();
        // The churn runs for ten seconds, of which the first frames must make it through.
        EXPECT_TRUE(harness.waitForFrames(framesBefore + 10, 30000)) << "frames stopped coming";
        std::optional<std::string> done;
        X11CaptureHarness::waitUntil(
            [&] {
                done = churn.readLine(std::chrono::milliseconds(5));
                return done.has_value();
            },
            30000);
        ASSERT_TRUE(done.has_value() && done->rfind("done", 0) == 0)
            << "churn did not finish, status "
            << churn.waitForExit(std::chrono::seconds(1)).value_or(-1);
        std::printf("churn: %s, %d frames while it ran\n", done->c_str(),
                    harness.frameCount() - framesBefore);

        // The churned windows are gone; the picture shows the window below again. On a loaded
        // machine the stream may still be working through the churn's backlog of events, so
        // both the picture and the resource counts get time to settle.
        EXPECT_TRUE(harness.waitForLatestWhere(
            [](const QImage &frame) { return isSolid(frame, 0x446688); }, 15000));
        // And the stream still follows what happens in the region.
        {
            const Sentinel sentinel(region, 0xE0D020);
            ASSERT_TRUE(sentinel.isShown());
            EXPECT_TRUE(framesUpTo(harness, sentinel).has_value())
                << "the stream stopped following the region";
        }
        auto afterChurn = ownResourceCounts();
        X11CaptureHarness::waitUntil(
            [&] {
                afterChurn = ownResourceCounts();
                return countOf(afterChurn, "PICTURE") <= countOf(beforeChurn, "PICTURE") + 3 &&
                       countOf(afterChurn, "PIXMAP") <= countOf(beforeChurn, "PIXMAP") + 3 &&
                       countOf(afterChurn, "DAMAGE") == countOf(beforeChurn, "DAMAGE");
            },
            10000);
        // Nothing of the thousands of windows is held: damage objects and regions exactly as
        // before, pictures and pixmaps at most the frame buffers the pool may have added.
        EXPECT_EQ(countOf(afterChurn, "DAMAGE"), countOf(beforeChurn, "DAMAGE"));
        EXPECT_EQ(countOf(afterChurn, "REGION"), countOf(beforeChurn, "REGION"));
        EXPECT_LE(countOf(afterChurn, "PICTURE"), countOf(beforeChurn, "PICTURE") + 3);
        EXPECT_LE(countOf(afterChurn, "PIXMAP"), countOf(beforeChurn, "PIXMAP") + 3);
        ASSERT_EQ(harness.stop(), std::nullopt);
    }
    std::map<std::string, std::uint32_t> afterStop;
    EXPECT_TRUE(ownResourcesBecome(beforeStart, afterStop)) << "some resources were kept";
    EXPECT_EQ(afterStop, beforeStart);
}

TEST(X11Stream, StoppingFreesEveryResourceOfTheStream)
{
    PatternWindow window(display(), animatedBars(QRect(100, 100, 400, 300)));
    ASSERT_TRUE(window.isShown());
    X11CaptureHarness harness;
    const auto before = ownResourceCounts();
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(harness.start(QRect(50, 50, 500, 400), round == 1 ? QSize(250, 200) : QSize()),
                  std::nullopt);
        ASSERT_TRUE(harness.waitForFrames(harness.frameCount() + 3, 10000));
        ASSERT_EQ(harness.stop(), std::nullopt);
        std::map<std::string, std::uint32_t> after;
        EXPECT_TRUE(ownResourcesBecome(before, after)) << "round " << round;
        EXPECT_EQ(after, before) << "round " << round;
    }
}

TEST(X11Stream, UnknownDisplayFailsToStartWithAReason)
{
    X11CaptureHarness harness;
    ContentFilter filter;
    filter.displayID = 0xDEAD;
    StreamConfiguration configuration;
    configuration.width = 100;
    configuration.height = 100;
    configuration.sourceRect = QRectF(0, 0, 100, 100);
    std::unique_ptr<CaptureStream> stream = harness.backend().createStream(filter, configuration);
    std::optional<CaptureError> outcome;
    stream->startCapture([&](CaptureError error) { outcome = error; });
    ASSERT_TRUE(X11CaptureHarness::waitUntil([&] { return outcome.has_value(); }, 5000));
    ASSERT_TRUE(outcome->has_value());
    EXPECT_EQ(**outcome, QStringLiteral("The display 57005 is not available"));
}

TEST(X11Stream, UnreachableDisplayFailsWithAReason)
{
    X11CaptureHarness harness(":9999");
    std::optional<bool> granted;
    harness.backend().requestAccess([&](bool g) { granted = g; });
    std::optional<ShareableContentResult> result;
    harness.backend().loadShareableContent(
        false, true, [&](ShareableContentResult r) { result = std::move(r); });
    ASSERT_TRUE(X11CaptureHarness::waitUntil([&] { return result && granted; }, 5000));
    EXPECT_FALSE(result->content.has_value());
    EXPECT_EQ(result->error, QStringLiteral("The X display :9999 cannot be opened"));
}

TEST(X11Stream, DisplayWithoutCompositeFailsWithAReason)
{
    // A server of our own, without the Composite extension.
    ChildProcess::Options options;
    options.captureStdout = true;
    ChildProcess server({"Xvfb", "-displayfd", "1", "-screen", "0", "640x480x24", "-extension",
                         "Composite", "-nolisten", "tcp"},
                        options);
    const std::optional<std::string> number = server.readLine(std::chrono::seconds(20));
    ASSERT_TRUE(number.has_value());
    X11CaptureHarness harness(":" + *number);

    std::optional<bool> granted;
    harness.backend().requestAccess([&](bool g) { granted = g; });
    std::optional<ShareableContentResult> result;
    harness.backend().loadShareableContent(
        false, true, [&](ShareableContentResult r) { result = std::move(r); });
    ASSERT_TRUE(X11CaptureHarness::waitUntil([&] { return result && granted; }, 5000));
    // Nothing to ask on X11; the missing extension is the failure.
    EXPECT_TRUE(*granted);
    EXPECT_FALSE(result->content.has_value());
    EXPECT_EQ(result->error,
              QStringLiteral("the X server lacks the Composite 0.2 extension that screen "
                             "capture needs"));

    ContentFilter filter;
    StreamConfiguration configuration;
    configuration.width = 100;
    configuration.height = 100;
    configuration.sourceRect = QRectF(0, 0, 100, 100);
    std::unique_ptr<CaptureStream> stream = harness.backend().createStream(filter, configuration);
    std::optional<CaptureError> outcome;
    stream->startCapture([&](CaptureError error) { outcome = error; });
    ASSERT_TRUE(X11CaptureHarness::waitUntil([&] { return outcome.has_value(); }, 5000));
    ASSERT_TRUE(outcome->has_value());
    EXPECT_EQ(**outcome, result->error);
}

TEST(X11Stream, ClientDrawingInsideAWindowManagersFrameYieldsFrames)
{
    ASSERT_TRUE(startWindowManagerAndWait());
    X11CaptureHarness harness;
    // Under a window manager the root's child is the frame; the pattern draws into its child.
    PatternWindow window(display(), animatedBars(QRect(200, 200, 400, 300)));
    ASSERT_TRUE(window.isShown());
    const std::optional<WindowInfo> info = windowInfo(display(), window.window());
    ASSERT_TRUE(info.has_value());
    ASSERT_EQ(harness.start(info->geometry), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const int first = animationCounter(frameImage(harness.latestFrame()));
    ASSERT_TRUE(harness.waitForFrames(10, 10000)) << "damage inside the frame went unseen";
    EXPECT_GT(animationCounter(frameImage(harness.latestFrame())), first);
}

TEST(X11Stream, DisplayWithoutSharedMemoryIsReadWithGetImage)
{
    // A remote-like server of our own, without MIT-SHM.
    ChildProcess::Options options;
    options.captureStdout = true;
    ChildProcess server({"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-extension",
                         "MIT-SHM", "+extension", "Composite", "+extension", "RANDR", "-nolisten",
                         "tcp"},
                        options);
    const std::optional<std::string> number = server.readLine(std::chrono::seconds(20));
    ASSERT_TRUE(number.has_value());
    const std::string plainDisplay = ":" + *number;
    X11CaptureHarness harness(plainDisplay);
    PatternWindow::Options patternOptions;
    patternOptions.geometry = QRect(50, 40, 320, 200);
    patternOptions.pattern = Pattern::checker;
    PatternWindow window(plainDisplay, patternOptions);
    ASSERT_TRUE(window.isShown());
    ASSERT_EQ(harness.start(QRect(50, 40, 320, 200)), std::nullopt);
    ASSERT_TRUE(harness.waitForLatestWhere(
        [&](const QImage &frame) {
            return countMismatches(frame, frame.rect(),
                                   [&](int x, int y) { return window.expectedPixel(x, y); }) == 0;
        },
        10000));
    EXPECT_EQ(harness.latestFrame().bytesPerRow(), 320 * 4);
}

TEST(X11Stream, LosingTheXServerEndsTheStreamWithAReason)
{
    ChildProcess::Options options;
    options.captureStdout = true;
    auto server = std::make_unique<ChildProcess>(
        std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", "640x480x24",
                                 "+extension", "Composite", "-nolisten", "tcp"},
        options);
    const std::optional<std::string> number = server->readLine(std::chrono::seconds(20));
    ASSERT_TRUE(number.has_value());
    X11CaptureHarness harness(":" + *number);
    ASSERT_EQ(harness.start(QRect(0, 0, 320, 240)), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    server.reset(); // the X server goes away
    ASSERT_TRUE(
        X11CaptureHarness::waitUntil([&] { return harness.stoppedError().has_value(); }, 10000));
    EXPECT_EQ(*harness.stoppedError(), QStringLiteral("The connection to the X display was lost"));
    EXPECT_EQ(harness.stop(), std::nullopt);
}
