// CPU cost of the X11 capture per frame, next to a plain memcpy of the same bytes and next to
// `ffmpeg -f x11grab` capturing the same region in the same run, on a private Xvfb whose
// whole screen changes every frame. Also the CPU a static screen costs while capturing.
//
// CPU is user + system time of the capturing process and of the X server (/proc/<pid>/stat),
// less what the X server spends on the animation alone (measured first), divided by the
// frames delivered. Prints a table, then ratio_vs_ffmpeg_1080p=R and idle_cpu_percent=P.
#include "PatternWindow.h"
#include "ProcessCpu.h"
#include "XvfbServer.h"

#include "capture/x11/X11CaptureBackend.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr double measureSeconds = 5.0;

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

// CPU time of copying the frame's bytes once, per frame.
double memcpyPerFrameMs(const QRect &region)
{
    const std::size_t bytes = std::size_t(region.width()) * std::size_t(region.height()) * 4;
    std::vector<unsigned char> source(bytes, 0x5A), target(bytes);
    const int rounds = 200;
    timespec start{}, end{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &start);
    for (int i = 0; i < rounds; ++i) {
        source[std::size_t(i)] = static_cast<unsigned char>(i);
        std::memcpy(target.data(), source.data(), bytes);
        asm volatile("" : : "r"(target.data()) : "memory");
    }
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &end);
    return (double(end.tv_sec - start.tv_sec) * 1e3 + double(end.tv_nsec - start.tv_nsec) / 1e6) /
           rounds;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    XvfbServer server({1920, 1080});
    if (!server.isRunning()) {
        std::fprintf(stderr, "capture_bench: cannot start Xvfb\n");
        return 1;
    }
    const std::string display = server.displayName();
    const pid_t serverPid = childXvfb();
    if (serverPid <= 0) {
        std::fprintf(stderr, "capture_bench: cannot find the Xvfb process\n");
        return 1;
    }

    PatternWindow::Options animated;
    animated.geometry = QRect(0, 0, 1920, 1080);
    animated.pattern = Pattern::bars;
    animated.animate = true;
    auto animation = std::make_unique<PatternWindow>(display, animated);
    if (!animation->isShown()) {
        std::fprintf(stderr, "capture_bench: the pattern window did not show\n");
        return 1;
    }
    runEventLoop(0.5);
    // What the X server spends on the animation alone.
    const double baselineBefore = processCpuSeconds(serverPid);
    runEventLoop(measureSeconds);
    const double serverBaseline = (processCpuSeconds(serverPid) - baselineBefore) / measureSeconds;
    // The same with the windows redirected (what the backend keeps while it exists): the
    // server then copies each change from the window's pixmap to the screen as well.
    double redirectedBaseline = 0;
    {
        x11::X11CaptureBackend redirecting(display);
        runEventLoop(0.5);
        const double before = processCpuSeconds(serverPid);
        runEventLoop(measureSeconds);
        redirectedBaseline = (processCpuSeconds(serverPid) - before) / measureSeconds;
    }

    struct Row
    {
        const char *name;
        QRect region;
        Measurement ours, ffmpeg;
        double memcpyMs = 0;
    };
    std::vector<Row> rows{{"1920x1080", QRect(0, 0, 1920, 1080), {}, {}, 0},
                          {"1280x720", QRect(320, 180, 1280, 720), {}, {}, 0}};
    for (Row &row : rows) {
        const std::optional<Measurement> ours =
            measureOurs(display, serverPid, row.region, measureSeconds, serverBaseline);
        const std::optional<Measurement> ffmpeg =
            measureFfmpeg(display, serverPid, row.region, measureSeconds, serverBaseline);
        if (!ours || !ffmpeg) {
            return 1;
        }
        row.ours = *ours;
        row.ffmpeg = *ffmpeg;
        row.memcpyMs = memcpyPerFrameMs(row.region);
    }

    // A static screen: the animation gone, one still window, capturing the whole screen.
    animation.reset();
    PatternWindow::Options still = animated;
    still.animate = false;
    PatternWindow stillWindow(display, still);
    runEventLoop(0.5);
    const std::optional<Measurement> idle =
        measureOurs(display, serverPid, QRect(0, 0, 1920, 1080), measureSeconds, 0.0);
    if (!idle) {
        return 1;
    }

    std::printf("X server animation baseline: %.1f%% of a core (subtracted below); with the "
                "windows redirected but nothing captured: %.1f%%\n",
                serverBaseline * 100.0, redirectedBaseline * 100.0);
    std::printf("%-10s | %14s | %14s | %14s | %10s | %10s\n", "region", "ours ms/frame",
                "ffmpeg ms/frame", "memcpy ms/frame", "ours fps", "ffmpeg fps");
    for (const Row &row : rows) {
        std::printf("%-10s | %14.3f | %14.3f | %14.3f | %10.1f | %10.1f\n", row.name,
                    row.ours.perFrameMs(), row.ffmpeg.perFrameMs(), row.memcpyMs,
                    double(row.ours.frames) / measureSeconds,
                    double(row.ffmpeg.frames) / measureSeconds);
    }
    for (const Row &row : rows) {
        std::printf("%-10s   X server part: ours %.3f ms/frame, ffmpeg %.3f ms/frame\n", row.name,
                    row.ours.frames ? row.ours.serverSeconds * 1000 / double(row.ours.frames) : 0,
                    row.ffmpeg.frames ? row.ffmpeg.serverSeconds * 1000 / double(row.ffmpeg.frames)
                                      : 0);
    }
    std::printf("idle: %ld frames in %.0f s of a static screen, %.2f s CPU (ours + X server)\n",
                idle->frames, measureSeconds, idle->cpuSeconds);
    // For comparison with measurements that count the redirection as part of the desktop
    // rather than of the capture.
    const double redirectionMsPerFrame =
        rows[0].ours.frames > 0 ? std::max(0.0, redirectedBaseline - serverBaseline) *
                                      measureSeconds * 1000.0 / double(rows[0].ours.frames)
                                : 0;
    std::printf(
        "1920x1080 ours without the redirection's own copying: %.3f ms/frame (ratio %.3f)\n",
        rows[0].ours.perFrameMs() - redirectionMsPerFrame,
        rows[0].ffmpeg.perFrameMs() > 0
            ? (rows[0].ours.perFrameMs() - redirectionMsPerFrame) / rows[0].ffmpeg.perFrameMs()
            : 0);
    const double ratio = rows[0].ffmpeg.perFrameMs() > 0
                             ? rows[0].ours.perFrameMs() / rows[0].ffmpeg.perFrameMs()
                             : 0;
    std::printf("ratio_vs_ffmpeg_1080p=%.3f\n", ratio);
    std::printf("idle_cpu_percent=%.2f\n", idle->cpuSeconds / measureSeconds * 100.0);
    return 0;
}
