// CPU cost of the X11 capture per frame, next to a plain memcpy of the same bytes and next to
// `ffmpeg -f x11grab` capturing the same region in the same run, on a private Xvfb whose
// whole screen changes every frame. Also the CPU a static screen costs while capturing.
//
// CPU is user + system time of the capturing process and of the X server (/proc/<pid>/stat),
// less what the X server spends on the animation alone (measured afresh in every round),
// divided by the frames delivered. Ours is measured with the region under a window of this
// process (as in overlay mode) and uncovered. Every case runs once per round (argument 1,
// default 3); the table gives medians. 1920 × 1080 and 1280 × 720 regions are measured on a
// 1920 × 1080 screen, a 3840 × 2160 region on a 3840 × 2160 screen of its own. The last lines
// read ratio_vs_ffmpeg_1080p=R, ratio_vs_ffmpeg_720p=R and ratio_vs_ffmpeg_4k=R (the covered
// region against ffmpeg on the same region, both in the same rounds) and idle_cpu_percent=P.
#include "MemcpyReference.h"
#include "PatternWindow.h"
#include "ProcessCpu.h"
#include "XvfbServer.h"

#include "capture/x11/X11CaptureBackend.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <xcb/xcb.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr double measureSeconds = 4.0;

std::string readText(const std::string &path)
{
    std::string text;
    if (FILE *file = std::fopen(path.c_str(), "r")) {
        char buffer[1024];
        std::size_t count;
        while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) {
            text.append(buffer, count);
        }
        std::fclose(file);
    }
    return text;
}

// The X server that XvfbServer started: our child process named Xvfb.
pid_t childXvfb()
{
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        const std::string text = readText((entry.path() / "stat").string());
        const std::size_t open = text.find('(');
        const std::size_t close = text.rfind(')');
        if (open == std::string::npos || close == std::string::npos) {
            continue;
        }
        const std::string command = text.substr(open + 1, close - open - 1);
        std::istringstream rest(text.substr(close + 2));
        std::string state;
        long parent = 0;
        rest >> state >> parent;
        if (command == "Xvfb" && parent == getpid()) {
            return static_cast<pid_t>(std::stol(name));
        }
    }
    return -1;
}

void runEventLoop(double seconds)
{
    QElapsedTimer timer;
    timer.start();
    // Frames are counted on the capture thread; the event loop only carries completions, so
    // it is looked at rarely and costs next to nothing.
    while (timer.elapsed() < seconds * 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(seconds < 0.2 ? 2 : 50);
    }
}

// A plain window of this process lying over a region, as the frame window lies over the region
// it mirrors in overlay mode. It never repaints, so it adds nothing to the frames' cost; the
// capture leaves it out like any window of its own process.
class CoveringWindow
{
public:
    CoveringWindow(const std::string &display, const QRect &region)
        : m_connection(xcb_connect(display.c_str(), nullptr))
    {
        if (xcb_connection_has_error(m_connection)) {
            return;
        }
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        m_window = xcb_generate_id(m_connection);
        const std::uint32_t values[] = {screen->black_pixel, 1};
        xcb_create_window(
            m_connection, XCB_COPY_FROM_PARENT, m_window, screen->root,
            static_cast<std::int16_t>(region.x()), static_cast<std::int16_t>(region.y()),
            static_cast<std::uint16_t>(region.width()), static_cast<std::uint16_t>(region.height()),
            0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
            XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(m_connection, m_window);
        xcb_aux_sync_free(m_connection);
    }
    ~CoveringWindow() { xcb_disconnect(m_connection); }
    CoveringWindow(const CoveringWindow &) = delete;
    CoveringWindow &operator=(const CoveringWindow &) = delete;

private:
    static void xcb_aux_sync_free(xcb_connection_t *connection)
    {
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    }

    xcb_connection_t *m_connection;
    xcb_window_t m_window = 0;
};

struct Measurement
{
    double cpuSeconds = 0;    // capturing process + X server beyond the animation's own cost
    double serverSeconds = 0; // the X server's part of it
    long frames = 0;
    double perFrameMs() const { return frames > 0 ? cpuSeconds * 1000.0 / double(frames) : 0; }
};

// Our stream for `seconds`; frames counted on the capture thread.
std::optional<Measurement> measureOurs(const std::string &display, pid_t server,
                                       const QRect &region, double seconds,
                                       double serverBaselinePerSecond)
{
    x11::X11CaptureBackend backend(display);
    std::optional<ShareableContentResult> content;
    backend.loadShareableContent(false, true, [&](ShareableContentResult r) { content = r; });
    runEventLoop(0.1);
    if (!content || !content->content || content->content->displays.empty()) {
        std::fprintf(stderr, "capture_bench: no display: %s\n",
                     content ? qPrintable(content->error) : "no answer");
        return std::nullopt;
    }
    ContentFilter filter;
    filter.displayID = content->content->displays.front().displayID;
    filter.excludedProcessIDs = {getpid()};
    StreamConfiguration configuration;
    configuration.width = region.width();
    configuration.height = region.height();
    configuration.sourceRect = QRectF(region);
    std::unique_ptr<CaptureStream> stream = backend.createStream(filter, configuration);
    std::atomic<long> frames{0};
    stream->onSample = [&](const CaptureSample &) { ++frames; };
    std::optional<CaptureError> started;
    stream->startCapture([&](CaptureError error) { started = error; });
    while (!started) {
        runEventLoop(0.01);
    }
    if (*started) {
        std::fprintf(stderr, "capture_bench: %s\n", qPrintable(**started));
        return std::nullopt;
    }
    runEventLoop(0.5); // settle: first frame, pool filled
    const long framesBefore = frames;
    const double ownBefore = processCpuSeconds(getpid());
    const double serverBefore = processCpuSeconds(server);
    runEventLoop(seconds);
    Measurement m;
    m.frames = frames - framesBefore;
    const double serverUsed =
        processCpuSeconds(server) - serverBefore - serverBaselinePerSecond * seconds;
    m.serverSeconds = std::max(0.0, serverUsed);
    m.cpuSeconds = processCpuSeconds(getpid()) - ownBefore + m.serverSeconds;
    std::optional<CaptureError> stopped;
    stream->stopCapture([&](CaptureError error) { stopped = error; });
    while (!stopped) {
        runEventLoop(0.01);
    }
    return m;
}

// ffmpeg's own X11 grabber on the same region for `seconds`, its frames from -progress.
std::optional<Measurement> measureFfmpeg(const std::string &display, pid_t server,
                                         const QRect &region, double seconds,
                                         double serverBaselinePerSecond)
{
    int output[2];
    if (pipe(output) != 0) {
        return std::nullopt;
    }
    const std::string size = std::to_string(region.width()) + "x" + std::to_string(region.height());
    const std::string input =
        display + "+" + std::to_string(region.x()) + "," + std::to_string(region.y());
    const std::string duration = std::to_string(seconds);
    const double serverBefore = processCpuSeconds(server);
    const pid_t child = fork();
    if (child == 0) {
        dup2(output[1], STDOUT_FILENO);
        const int devNull = open("/dev/null", O_WRONLY);
        dup2(devNull, STDERR_FILENO);
        execlp("ffmpeg", "ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-nostats",
               "-progress", "pipe:1", "-f", "x11grab", "-draw_mouse", "0", "-framerate", "60",
               "-video_size", size.c_str(), "-i", input.c_str(), "-t", duration.c_str(), "-f",
               "null", "-", static_cast<char *>(nullptr));
        _exit(127);
    }
    close(output[1]);
    std::string progress;
    char buffer[4096];
    ssize_t count;
    while ((count = read(output[0], buffer, sizeof buffer)) > 0) {
        progress.append(buffer, static_cast<std::size_t>(count));
    }
    close(output[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "capture_bench: ffmpeg failed (status %d)\n", status);
        return std::nullopt;
    }
    Measurement m;
    const std::size_t last = progress.rfind("frame=");
    if (last != std::string::npos) {
        m.frames = std::atol(progress.c_str() + last + 6);
    }
    const auto seconds_ = [](const timeval &t) { return double(t.tv_sec) + t.tv_usec / 1e6; };
    const double serverUsed =
        processCpuSeconds(server) - serverBefore - serverBaselinePerSecond * seconds;
    m.serverSeconds = std::max(0.0, serverUsed);
    m.cpuSeconds = seconds_(usage.ru_utime) + seconds_(usage.ru_stime) + m.serverSeconds;
    return m;
}

enum class Case
{
    ours,
    ffmpeg,
    oursCovered
};

struct Row
{
    std::string name;
    QRect region;
    Case what;
    std::vector<Measurement> runs;
};

struct ScreenRun
{
    std::vector<Row> rows;
    std::vector<double> baselines;
    double redirectedBaseline = 0;
    std::optional<Measurement> idle;
    bool ok = false;
};

// Every row measured `rounds` times on a private X server of `screen` size whose whole screen
// animates; with `measureIdle`, also the cost of capturing a static screen.
ScreenRun measureScreen(QSize screen, std::vector<Row> rows, int rounds, bool measureIdle)
{
    ScreenRun result;
    result.rows = std::move(rows);
    XvfbServer server({screen.width(), screen.height()});
    if (!server.isRunning()) {
        std::fprintf(stderr, "capture_bench: cannot start Xvfb\n");
        return result;
    }
    const std::string display = server.displayName();
    const pid_t serverPid = childXvfb();
    if (serverPid <= 0) {
        std::fprintf(stderr, "capture_bench: cannot find the Xvfb process\n");
        return result;
    }

    PatternWindow::Options animated;
    animated.geometry = QRect(QPoint(0, 0), screen);
    animated.pattern = Pattern::bars;
    animated.animate = true;
    auto animation = std::make_unique<PatternWindow>(display, animated);
    if (!animation->isShown()) {
        std::fprintf(stderr, "capture_bench: the pattern window did not show\n");
        return result;
    }
    runEventLoop(0.5);
    // What the X server spends on the animation alone, per second.
    const auto animationBaseline = [&] {
        const double before = processCpuSeconds(serverPid);
        runEventLoop(measureSeconds);
        return (processCpuSeconds(serverPid) - before) / measureSeconds;
    };
    // The same with the windows redirected (what the backend keeps while it exists): the
    // server then copies each change from the window's pixmap to the screen as well.
    {
        x11::X11CaptureBackend redirecting(display);
        runEventLoop(0.5);
        result.redirectedBaseline = animationBaseline();
    }

    // Rounds interleave every case, each against the animation's cost measured in the same
    // round, so that a slow spell of this shared machine falls on all of them alike.
    for (int round = 0; round < rounds; ++round) {
        const double baseline = animationBaseline();
        result.baselines.push_back(baseline);
        for (Row &row : result.rows) {
            std::optional<Measurement> m;
            if (row.what == Case::ffmpeg) {
                m = measureFfmpeg(display, serverPid, row.region, measureSeconds, baseline);
            } else if (row.what == Case::oursCovered) {
                CoveringWindow frame(display, row.region);
                runEventLoop(0.3);
                m = measureOurs(display, serverPid, row.region, measureSeconds, baseline);
            } else {
                m = measureOurs(display, serverPid, row.region, measureSeconds, baseline);
            }
            if (!m) {
                return result;
            }
            row.runs.push_back(*m);
        }
    }

    if (measureIdle) {
        // A static screen: the animation gone, one still window, capturing the whole screen.
        animation.reset();
        PatternWindow::Options still = animated;
        still.animate = false;
        PatternWindow stillWindow(display, still);
        runEventLoop(0.5);
        result.idle =
            measureOurs(display, serverPid, QRect(QPoint(0, 0), screen), measureSeconds, 0.0);
        if (!result.idle) {
            return result;
        }
    }
    result.ok = true;
    return result;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n == 0 ? 0.0 : n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

template <typename Field> std::vector<double> of(const Row &row, Field field)
{
    std::vector<double> values;
    for (const Measurement &m : row.runs) {
        values.push_back(field(m));
    }
    return values;
}

double perFrame(const Measurement &m)
{
    return m.perFrameMs();
}

void printRows(const ScreenRun &run, QSize screen)
{
    const auto serverPerFrame = [](const Measurement &m) {
        return m.frames > 0 ? m.serverSeconds * 1000 / double(m.frames) : 0.0;
    };
    const auto fps = [](const Measurement &m) { return double(m.frames) / measureSeconds; };
    std::printf("%dx%d screen: X server animation baseline: %.1f%% of a core (median of %zu, "
                "subtracted below); with the windows redirected but nothing captured: %.1f%%\n",
                screen.width(), screen.height(), median(run.baselines) * 100.0,
                run.baselines.size(), run.redirectedBaseline * 100.0);
    for (const Row &row : run.rows) {
        const std::vector<double> ms = of(row, perFrame);
        std::printf("%-46s | %8.3f | %6.3f - %5.3f | %9.3f | %6.1f\n", row.name.c_str(), median(ms),
                    *std::min_element(ms.begin(), ms.end()),
                    *std::max_element(ms.begin(), ms.end()), median(of(row, serverPerFrame)),
                    median(of(row, fps)));
    }
}

// The median of `ours` against the median of `reference`, both rows of one screen's rounds.
double ratio(const Row &ours, const Row &reference)
{
    const double referenceMs = median(of(reference, perFrame));
    return referenceMs > 0 ? median(of(ours, perFrame)) / referenceMs : 0.0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;

    // The case the product lives in first: in overlay mode its frame window lies exactly over
    // the region, so the capture's job is to see under it. ffmpeg is not run under the
    // covering window: it reads the same bytes whatever covers them, and the covered animation
    // would cost the server less than its baseline without the redirection.
    const QSize hdScreen(1920, 1080), uhdScreen(3840, 2160);
    const QRect full(0, 0, 1920, 1080), smaller(320, 180, 1280, 720), uhd(0, 0, 3840, 2160);
    const ScreenRun hd = measureScreen(
        hdScreen,
        {{"1920x1080 ours, region under a window of ours", full, Case::oursCovered, {}},
         {"1920x1080 ours, region uncovered", full, Case::ours, {}},
         {"1920x1080 ffmpeg x11grab", full, Case::ffmpeg, {}},
         {"1280x720  ours, region under a window of ours", smaller, Case::oursCovered, {}},
         {"1280x720  ours, region uncovered", smaller, Case::ours, {}},
         {"1280x720  ffmpeg x11grab", smaller, Case::ffmpeg, {}}},
        rounds, true);
    if (!hd.ok) {
        return 1;
    }
    const ScreenRun fourK = measureScreen(
        uhdScreen,
        {{"3840x2160 ours, region under a window of ours", uhd, Case::oursCovered, {}},
         {"3840x2160 ours, region uncovered", uhd, Case::ours, {}},
         {"3840x2160 ffmpeg x11grab", uhd, Case::ffmpeg, {}}},
        rounds, false);
    if (!fourK.ok) {
        return 1;
    }

    std::printf("%-46s | %8s | %14s | %9s | %6s\n", "case (median of the rounds)", "ms/frame",
                "range", "X server", "fps");
    printRows(hd, hdScreen);
    printRows(fourK, uhdScreen);
    std::printf("%-46s | %8.3f\n", "1920x1080 memcpy of the frame's bytes",
                memcpyPerFrameMs(full.size()));
    std::printf("%-46s | %8.3f\n", "1280x720  memcpy of the frame's bytes",
                memcpyPerFrameMs(smaller.size()));
    std::printf("%-46s | %8.3f\n", "3840x2160 memcpy of the frame's bytes",
                memcpyPerFrameMs(uhd.size()));
    std::printf("idle: %ld frames in %.0f s of a static screen, %.2f s CPU (ours + X server)\n",
                hd.idle->frames, measureSeconds, hd.idle->cpuSeconds);
    std::printf("ratio uncovered (the redirection's copy to the screen included): 1080p %.3f, "
                "720p %.3f, 4K %.3f\n",
                ratio(hd.rows[1], hd.rows[2]), ratio(hd.rows[4], hd.rows[5]),
                ratio(fourK.rows[1], fourK.rows[2]));
    std::printf("ffmpeg_ms_1080p=%.3f\n", median(of(hd.rows[2], perFrame)));
    std::printf("ratio_vs_ffmpeg_1080p=%.3f\n", ratio(hd.rows[0], hd.rows[2]));
    std::printf("ffmpeg_ms_720p=%.3f\n", median(of(hd.rows[5], perFrame)));
    std::printf("ratio_vs_ffmpeg_720p=%.3f\n", ratio(hd.rows[3], hd.rows[5]));
    std::printf("ffmpeg_ms_4k=%.3f\n", median(of(fourK.rows[2], perFrame)));
    std::printf("ratio_vs_ffmpeg_4k=%.3f\n", ratio(fourK.rows[0], fourK.rows[2]));
    std::printf("idle_cpu_percent=%.2f\n", hd.idle->cpuSeconds / measureSeconds * 100.0);
    return 0;
}
