// bench/run timing: figures of time that the tests leave to the machine, measured on private
// X servers, each with the reference it is read against:
//   - how soon the X11 stream shows a region it was moved to (the time from the move to the
//     first frame of the new place), median and all of 20 moves;
//   - the frames a stream limited to 10 a second delivers in 3 s of a source animating at 60;
//   - Lookpane's CPU over 3 s while it mirrors an animated source, and again once it is hidden.
// The last lines read move_latency_ms_median=M, capped_fps=F (at most 10) and
// hidden_cpu_percent=P.
#include "X11CaptureHarness.h"

#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "ProcessCpu.h"
#include "ToolbarControls.h"
#include "XInput.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

XvfbServer *server = nullptr;

PatternWindow::Options windowOf(const QRect &geometry, Pattern pattern, std::uint32_t color,
                                bool animate)
{
    PatternWindow::Options options;
    options.geometry = geometry;
    options.pattern = pattern;
    options.color = color;
    options.animate = animate;
    return options;
}

bool isSolid(const QImage &frame, std::uint32_t color)
{
    return !frame.isNull() && countPixelsNotNear(frame, frame.rect(), QColor(color), 0) == 0;
}

// Milliseconds from each move of the region to the first frame of its new place.
std::vector<double> moveLatencies(int moves)
{
    const std::string display = server->displayName();
    const QRect left(100, 100, 300, 200);
    const QRect right(1000, 600, 300, 200);
    PatternWindow a(display, windowOf(left, Pattern::solid, 0xC03000, false));
    PatternWindow b(display, windowOf(right, Pattern::solid, 0x0030C0, false));
    X11CaptureHarness harness(display);
    if (!a.isShown() || !b.isShown() || harness.start(left) ||
        !harness.waitForLatestWhere([](const QImage &f) { return isSolid(f, 0xC03000); }, 10000)) {
        std::fprintf(stderr, "timing_bench: the stream did not show the first region\n");
        return {};
    }
    std::vector<double> latencies;
    for (int move = 0; move < moves; ++move) {
        const bool toRight = move % 2 == 0;
        QElapsedTimer timer;
        timer.start();
        if (harness.update(toRight ? right : left) ||
            !harness.waitForLatestWhere(
                [&](const QImage &f) { return isSolid(f, toRight ? 0x0030C0 : 0xC03000); },
                10000)) {
            std::fprintf(stderr, "timing_bench: move %d never showed\n", move);
            return {};
        }
        latencies.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    harness.stop();
    return latencies;
}

// Frames a second of a stream limited to `cap` over an animated source.
std::optional<double> cappedRate(int cap, double seconds)
{
    const std::string display = server->displayName();
    const QRect region(100, 100, 320, 240);
    PatternWindow window(display, windowOf(region, Pattern::bars, 0, true));
    X11CaptureHarness harness(display);
    harness.maximumFramesPerSecond = cap;
    if (!window.isShown() || harness.start(region) || !harness.waitForFrames(1, 10000)) {
        std::fprintf(stderr, "timing_bench: the capped stream did not start\n");
        return std::nullopt;
    }
    const int first = harness.frameCount();
    QElapsedTimer timer;
    timer.start();
    X11CaptureHarness::pump(static_cast<int>(seconds * 1000));
    const double elapsed = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    const int frames = harness.frameCount() - first;
    harness.stop();
    return frames / elapsed;
}

struct LookpaneCpu
{
    double mirroring = 0; // percent of a core
    double hidden = 0;
};

// Lookpane's CPU while it mirrors an animated source and once it is hidden.
std::optional<LookpaneCpu> lookpaneCpu(double seconds)
{
    XvfbServer desktop({1920, 1080});
    if (!desktop.isRunning() || !desktop.startWindowManager()) {
        std::fprintf(stderr, "timing_bench: no desktop for Lookpane\n");
        return std::nullopt;
    }
    const std::string display = desktop.displayName();
    PatternWindow::Options busy =
        PatternWindow::at(QRect(400, 200, 1100, 700), Pattern::bars, "Busy");
    busy.animate = true;
    PatternWindow animation(display, busy);
    QTemporaryDir config;
    keepGuideClosedAtLaunch(config.path());
    ChildProcess lookpane({lookpaneExecutable()}, lookpaneEnvironment(display, config.path()));
    const std::optional<WindowInfo> toolbar =
        waitForViewableRole(display, QStringLiteral("toolbar"), 20000);
    if (!animation.isShown() || !toolbar ||
        !waitForViewableRole(display, QStringLiteral("share"), 20000)) {
        std::fprintf(stderr, "timing_bench: Lookpane's windows did not show\n");
        return std::nullopt;
    }
    const auto cpuPercent = [&] {
        const double before = processCpuSeconds(lookpane.pid());
        QElapsedTimer timer;
        timer.start();
        X11CaptureHarness::pump(static_cast<int>(seconds * 1000));
        return (processCpuSeconds(lookpane.pid()) - before) /
               (static_cast<double>(timer.nsecsElapsed()) / 1e9) * 100.0;
    };
    LookpaneCpu cpu;
    X11CaptureHarness::pump(1000); // past the start
    cpu.mirroring = cpuPercent();
    if (!clickAt(display, toolbar->geometry.topLeft() + toolbarControls().hide) ||
        !X11CaptureHarness::waitUntil(
            [&] {
                const std::optional<WindowInfo> frame =
                    waitForViewableRole(display, QStringLiteral("frame"), 0);
                return !frame.has_value();
            },
            10000)) {
        std::fprintf(stderr, "timing_bench: Lookpane did not hide\n");
        return std::nullopt;
    }
    X11CaptureHarness::pump(1000); // past the hiding
    cpu.hidden = cpuPercent();
    lookpane.signal(SIGTERM);
    lookpane.waitForExit(std::chrono::seconds(10));
    return cpu;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace

namespace lookpane::testing {
// The display X11CaptureHarness() uses.
XvfbServer &testDisplay()
{
    return *server;
}
} // namespace lookpane::testing

int main(int argc, char **argv)
{
    // No window of this process shows: the stream reads the server, the pattern windows and
    // Lookpane are processes of their own.
    std::vector<char *> arguments(argv, argv + argc);
    static char platformOption[] = "-platform";
    static char platform[] = "offscreen";
    arguments.push_back(platformOption);
    arguments.push_back(platform);
    int count = static_cast<int>(arguments.size());
    QApplication application(count, arguments.data());

    auto display = std::make_unique<XvfbServer>(XvfbServer::Options{1920, 1080});
    if (!display->isRunning()) {
        std::fprintf(stderr, "timing_bench: cannot start Xvfb\n");
        return 1;
    }
    server = display.get();

    const std::vector<double> latencies = moveLatencies(20);
    const std::optional<double> capped = cappedRate(10, 3.0);
    const std::optional<LookpaneCpu> cpu = lookpaneCpu(3.0);

    std::printf("stream: latency of a moved region, ms (20 moves, sorted):");
    std::vector<double> sorted = latencies;
    std::sort(sorted.begin(), sorted.end());
    for (const double latency : sorted) {
        std::printf(" %.0f", latency);
    }
    std::printf("\nstream: frames a second at a maximum of 10, source at 60: %.1f\n",
                capped.value_or(0));
    if (cpu) {
        std::printf("Lookpane CPU, %% of a core: %.1f mirroring an animated source, %.2f hidden\n",
                    cpu->mirroring, cpu->hidden);
    }
    std::printf("move_latency_ms_median=%.1f\n", median(latencies));
    std::printf("capped_fps=%.1f\n", capped.value_or(0));
    std::printf("hidden_cpu_percent=%.2f\n", cpu ? cpu->hidden : -1.0);
    return !latencies.empty() && capped && cpu ? 0 : 1;
}
