// The whole pipeline in overlay mode, as a viewer of the share window sees it: a window of
// another program animating at 60 frames a second under the box, the real lookpane executable
// mirroring it, and the share window read back as a meeting application reads it.
//
// The animating window stamps its frame counter into a square at its top-left corner
// (red = counter & 0xFF, green = counter >> 8). A poller reads the centre of that square from
// the source window and from the share window every 2 ms over its own X connection, so that
// it sees when each counter appears in each. From that:
//   - frames presented per second in the share window (distinct counters it showed);
//   - latency: from a counter's first appearance in the source to its first in the share
//     window (median and 90th percentile);
//   - CPU per presented frame of Lookpane and of the X server (/proc), which includes what
//     the server spends on the animation itself;
//   - Lookpane's resident memory after a while of mirroring (/proc/<pid>/status).
// Runs 1920 × 1080 and 1280 × 720 boxes on a 1920 × 1080 screen and a 3840 × 2160 box on a
// 3840 × 2160 screen, privacy blur off and on (light).
//
//   pipeline_bench [SECONDS] [MEMORY_SECONDS]
// SECONDS (5) is each measurement; MEMORY_SECONDS (60) how long the 1080p and 4K boxes mirror
// before their resident memory is read. Every figure of the summary lines is printed next to
// a reference measured in the same run: the CPU figures next to one memcpy of the frame's
// bytes in this process, the share frame rate next to the source's, the latency next to the
// source's frame interval, resident memory next to the animating window's own process (a
// plain xcb client holding one frame of the same size). LOOKPANE_BENCH_EXECUTABLE names another
// lookpane executable to measure instead of this build's.
#include "ChildProcess.h"
#include "PatternWindow.h"
#include "ProcessCpu.h"
#include "XInput.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include "MemcpyReference.h"

#include <QDir>
#include <QRect>
#include <QSettings>
#include <QTemporaryDir>

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace lookpane::testing;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int stampSize = 160;
constexpr int blurButtonX = 88; // the toolbar's blur button, from its left edge
constexpr int toolbarMiddle = 20;

struct Memory
{
    double rssMb = 0;
    double anonMb = 0;
    double fileMb = 0;
    double shmemMb = 0;
    bool ok = false;
};

struct Result
{
    QSize screen;
    QSize box;
    bool blur = false;
    double seconds = 0;
    int sourceFrames = 0;
    int presentedFrames = 0;
    double lookpaneCpu = 0;
    double serverCpu = 0;
    double medianLatencyMs = 0;
    double p90LatencyMs = 0;
    // After the memory wait, where one was asked for.
    std::optional<Memory> lookpaneMemory;
    std::optional<Memory> sourceMemory;
    double mirroredSeconds = 0;
    bool ok = false;
};

// Resident memory of a process (/proc/<pid>/status), split as the kernel counts it: anonymous
// (heaps), file-backed (libraries, fonts) and shared memory (SysV segments, memfd).
Memory memoryOf(pid_t pid)
{
    Memory memory;
    FILE *file = std::fopen(("/proc/" + std::to_string(pid) + "/status").c_str(), "r");
    if (file == nullptr) {
        return memory;
    }
    char line[256];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        long kb = 0;
        if (std::sscanf(line, "VmRSS: %ld", &kb) == 1) {
            memory.rssMb = double(kb) / 1024.0;
            memory.ok = true;
        } else if (std::sscanf(line, "RssAnon: %ld", &kb) == 1) {
            memory.anonMb = double(kb) / 1024.0;
        } else if (std::sscanf(line, "RssFile: %ld", &kb) == 1) {
            memory.fileMb = double(kb) / 1024.0;
        } else if (std::sscanf(line, "RssShmem: %ld", &kb) == 1) {
            memory.shmemMb = double(kb) / 1024.0;
        }
    }
    std::fclose(file);
    return memory;
}

// Reads one pixel of a window; none on failure.
std::optional<std::uint32_t> pixelOf(xcb_connection_t *c, xcb_window_t window, int x, int y)
{
    std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(c,
                            xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, window,
                                          static_cast<int16_t>(x), static_cast<int16_t>(y), 1, 1,
                                          0xFFFFFFFF),
                            nullptr),
        &std::free);
    if (!reply || xcb_get_image_data_length(reply.get()) < 4) {
        return std::nullopt;
    }
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, xcb_get_image_data(reply.get()), 4);
    return pixel & 0xFFFFFF;
}

// How much fine detail an area of a window holds: the mean difference of neighbouring green
// values along its rows. None on failure.
std::optional<double> detailOf(xcb_connection_t *c, xcb_window_t window, const QRect &area)
{
    std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(
            c,
            xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<int16_t>(area.x()),
                          static_cast<int16_t>(area.y()), static_cast<uint16_t>(area.width()),
                          static_cast<uint16_t>(area.height()), 0xFFFFFFFF),
            nullptr),
        &std::free);
    const std::size_t pixels = std::size_t(area.width()) * std::size_t(area.height());
    if (!reply || std::size_t(xcb_get_image_data_length(reply.get())) < pixels * 4) {
        return std::nullopt;
    }
    const std::uint8_t *data = xcb_get_image_data(reply.get());
    double sum = 0;
    for (int y = 0; y < area.height(); ++y) {
        for (int x = 1; x < area.width(); ++x) {
            const std::size_t at =
                (std::size_t(y) * std::size_t(area.width()) + std::size_t(x)) * 4;
            sum += std::abs(int(data[at + 1]) - int(data[at - 3]));
        }
    }
    return sum / double(pixels);
}

int counterOf(std::uint32_t pixel)
{
    return static_cast<int>(((pixel >> 16) & 0xFF) | (((pixel >> 8) & 0xFF) << 8));
}

double percentile(std::vector<double> values, double p)
{
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const std::size_t index = std::min(
        values.size() - 1, static_cast<std::size_t>(p * static_cast<double>(values.size())));
    return values[index];
}

// The build's own lookpane, or LOOKPANE_BENCH_EXECUTABLE: another build to compare with in
// the same conditions.
std::string executable()
{
    const char *other = std::getenv("LOOKPANE_BENCH_EXECUTABLE");
    return other != nullptr && *other != 0 ? std::string(other) : lookpaneExecutable();
}

Result run(QSize screen, QSize box, bool blur, double measureSeconds, double memorySeconds)
{
    Result result;
    result.screen = screen;
    result.box = box;
    result.blur = blur;
    XvfbServer server({screen.width(), screen.height()});
    if (!server.isRunning() || !server.startWindowManager()) {
        std::fprintf(stderr, "pipeline_bench: no X server or window manager\n");
        return result;
    }
    const std::string display = server.displayName();

    PatternWindow::Options options =
        PatternWindow::at(QRect(QPoint(0, 0), box), Pattern::text, "Source");
    options.animate = true;
    options.undecorated = true;
    options.stampSize = stampSize;
    PatternWindow source(display, options);
    if (!source.isShown()) {
        std::fprintf(stderr, "pipeline_bench: the source window did not show\n");
        return result;
    }

    // The box lies exactly on the source window (screen coordinates: origin bottom-left).
    QTemporaryDir config;
    QDir(config.path()).mkpath(QStringLiteral("Lookpane"));
    {
        QSettings settings(QDir(config.path()).filePath(QStringLiteral("Lookpane/Lookpane.conf")),
                           QSettings::NativeFormat);
        settings.setValue(QStringLiteral("FrameWindowFrame"),
                          QStringLiteral("{{0, %1}, {%2, %3}}")
                              .arg(screen.height() - box.height())
                              .arg(box.width())
                              .arg(box.height()));
    }
    ChildProcess::Options environment;
    environment.environment["DISPLAY"] = display;
    environment.environment["QT_QPA_PLATFORM"] = "xcb";
    environment.environment["XDG_CONFIG_HOME"] = config.path().toStdString();
    environment.unset = {"WAYLAND_DISPLAY", "XAUTHORITY", "SESSION_MANAGER"};
    ChildProcess lookpane({executable()}, environment);
    const Clock::time_point launched = Clock::now();
    const std::optional<WindowInfo> share =
        waitForViewableRole(display, QStringLiteral("share"), 20000);
    const std::optional<WindowInfo> toolbar =
        waitForViewableRole(display, QStringLiteral("toolbar"), 20000);
    if (!share || !toolbar) {
        std::fprintf(stderr, "pipeline_bench: Lookpane's windows did not show\n");
        return result;
    }
    xcb_connection_t *c = xcb_connect(display.c_str(), nullptr);
    if (blur) {
        // Clicked until the share window shows the text blurred: a click that lands while the
        // toolbar still settles under the box would otherwise measure the unblurred picture.
        const QRect textArea(stampSize + 40, 40, 400, 200);
        bool blurred = false;
        for (int attempt = 0; attempt < 3 && !blurred; ++attempt) {
            const std::optional<WindowInfo> bar =
                waitForViewableRole(display, QStringLiteral("toolbar"), 5000);
            if (!bar) {
                break;
            }
            xdotool(display, {"mousemove", std::to_string(bar->geometry.x() + blurButtonX),
                              std::to_string(bar->geometry.y() + toolbarMiddle)});
            xdotool(display, {"click", "1"});
            // Given time to show before another click (which would turn it off again).
            for (int poll = 0; poll < 30 && !blurred; ++poll) {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                const std::optional<double> sharp = detailOf(c, source.window(), textArea);
                const std::optional<double> shown = detailOf(c, share->id, textArea);
                blurred = sharp && shown && *shown < *sharp * 0.2;
            }
        }
        if (!blurred) {
            std::fprintf(stderr, "pipeline_bench: the share window did not turn blurred\n");
            xcb_disconnect(c);
            return result;
        }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));

    const int centre = stampSize / 2;
    std::map<int, Clock::time_point> sourceSeen;
    std::map<int, Clock::time_point> shareSeen;
    const double lookpaneBefore = processCpuSeconds(lookpane.pid());
    const double serverBefore = processCpuSeconds(server.pid());
    const Clock::time_point start = Clock::now();
    const Clock::time_point end = start + std::chrono::duration_cast<Clock::duration>(
                                              std::chrono::duration<double>(measureSeconds));
    while (Clock::now() < end) {
        const std::optional<std::uint32_t> fromSource = pixelOf(c, source.window(), centre, centre);
        const Clock::time_point sourceTime = Clock::now();
        const std::optional<std::uint32_t> fromShare = pixelOf(c, share->id, centre, centre);
        const Clock::time_point shareTime = Clock::now();
        if (fromSource) {
            sourceSeen.emplace(counterOf(*fromSource), sourceTime);
        }
        if (fromShare) {
            shareSeen.emplace(counterOf(*fromShare), shareTime);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    result.lookpaneCpu = processCpuSeconds(lookpane.pid()) - lookpaneBefore;
    result.serverCpu = processCpuSeconds(server.pid()) - serverBefore;
    xcb_disconnect(c);

    if (memorySeconds > 0) {
        // The source keeps animating, so Lookpane keeps mirroring until the memory is read.
        const Clock::time_point readAt =
            launched + std::chrono::duration_cast<Clock::duration>(
                           std::chrono::duration<double>(memorySeconds));
        while (Clock::now() < readAt) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        result.mirroredSeconds = std::chrono::duration<double>(Clock::now() - launched).count();
        result.lookpaneMemory = memoryOf(lookpane.pid());
        result.sourceMemory = memoryOf(source.pid());
    }

    std::vector<double> latencies;
    for (const auto &[counter, shown] : shareSeen) {
        const auto painted = sourceSeen.find(counter);
        if (painted != sourceSeen.end() && shown >= painted->second) {
            latencies.push_back(
                std::chrono::duration<double, std::milli>(shown - painted->second).count());
            ++result.presentedFrames;
        }
    }
    result.sourceFrames = static_cast<int>(sourceSeen.size());
    result.medianLatencyMs = percentile(latencies, 0.5);
    result.p90LatencyMs = percentile(latencies, 0.9);
    result.ok = result.presentedFrames > 0;
    return result;
}

const Result *find(const std::vector<Result> &results, QSize box, bool blur)
{
    for (const Result &r : results) {
        if (r.box == box && r.blur == blur) {
            return &r;
        }
    }
    return nullptr;
}

double fps(const Result &r, int frames)
{
    return frames / std::max(r.seconds, 1e-9);
}

void printMemory(const char *name, const Result *r)
{
    if (r == nullptr || !r->lookpaneMemory || !r->lookpaneMemory->ok) {
        std::printf("%s: not measured\n", name);
        return;
    }
    const Memory &m = *r->lookpaneMemory;
    const Memory source = r->sourceMemory.value_or(Memory{});
    std::printf("%s after %.0f s of mirroring: Lookpane %.1f MB resident (anonymous %.1f, "
                "file %.1f, shared memory %.1f); reference, the animating window's process: "
                "%.1f MB\n",
                name, r->mirroredSeconds, m.rssMb, m.anonMb, m.fileMb, m.shmemMb, source.rssMb);
}

} // namespace

int main(int argc, char **argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 5.0;
    const double memorySeconds = argc > 2 ? std::atof(argv[2]) : 60.0;
    const QSize hd(1920, 1080), uhd(3840, 2160), small(1280, 720);
    std::vector<Result> results;
    results.push_back(run(hd, hd, false, seconds, memorySeconds));
    results.push_back(run(hd, hd, true, seconds, 0));
    results.push_back(run(hd, small, false, seconds, 0));
    results.push_back(run(hd, small, true, seconds, 0));
    results.push_back(run(uhd, uhd, false, seconds, 0));
    results.push_back(run(uhd, uhd, true, seconds, memorySeconds));
    const double memcpyHd = memcpyPerFrameMs(hd);
    const double memcpyUhd = memcpyPerFrameMs(uhd);

    std::printf("screen     box        | blur | source fps | share fps | latency median / p90 ms | "
                "Lookpane CPU ms/frame | X server CPU ms/frame\n");
    for (const Result &r : results) {
        const double frames = std::max(1, r.presentedFrames);
        std::printf("%4dx%-5d  %4dx%-5d | %-4s | %10.1f | %9.1f | %10.1f / %-10.1f | %21.1f | "
                    "%21.1f%s\n",
                    r.screen.width(), r.screen.height(), r.box.width(), r.box.height(),
                    r.blur ? "on" : "off", fps(r, r.sourceFrames), fps(r, r.presentedFrames),
                    r.medianLatencyMs, r.p90LatencyMs, r.lookpaneCpu * 1000.0 / frames,
                    r.serverCpu * 1000.0 / frames,
                    r.ok ? "" : "  (no frame reached the share window)");
    }
    std::printf("reference: one memcpy of a frame's bytes in this process: 1080p %.3f ms, "
                "4K %.3f ms\n",
                memcpyHd, memcpyUhd);
    printMemory("1080p box", find(results, hd, false));
    printMemory("4K box", find(results, uhd, true));

    const auto cpuPerFrame = [](const Result *r) {
        return r != nullptr ? r->lookpaneCpu * 1000.0 / std::max(1, r->presentedFrames) : 0.0;
    };
    const Result *hdPlain = find(results, hd, false);
    const Result *hdBlur = find(results, hd, true);
    const Result *uhdBlur = find(results, uhd, true);
    std::printf("share_fps_1080p_blur=%.1f\n", hdBlur ? fps(*hdBlur, hdBlur->presentedFrames) : 0);
    std::printf("latency_ms_1080p=%.1f\n", hdBlur ? hdBlur->medianLatencyMs : 0);
    std::printf("memcpy_ms_1080p=%.3f\n", memcpyHd);
    std::printf("lookpane_cpu_ms_1080p_plain=%.2f\n", cpuPerFrame(hdPlain));
    std::printf("lookpane_cpu_ms_1080p_blur=%.2f\n", cpuPerFrame(hdBlur));
    const double sourceFps4k = uhdBlur ? fps(*uhdBlur, uhdBlur->sourceFrames) : 0;
    std::printf("source_fps_4k_blur=%.1f\n", sourceFps4k);
    std::printf("share_fps_ratio_4k_blur=%.3f\n",
                sourceFps4k > 0 ? fps(*uhdBlur, uhdBlur->presentedFrames) / sourceFps4k : 0);
    std::printf("source_frame_ms_4k=%.1f\n", sourceFps4k > 0 ? 1000.0 / sourceFps4k : 0);
    std::printf("latency_ms_4k=%.1f\n", uhdBlur ? uhdBlur->medianLatencyMs : 0);
    const auto rss = [](const Result *r, bool lookpane) {
        if (r == nullptr) {
            return 0.0;
        }
        const std::optional<Memory> &m = lookpane ? r->lookpaneMemory : r->sourceMemory;
        return m ? m->rssMb : 0.0;
    };
    std::printf("reference_rss_mb_1080p=%.1f\n", rss(hdPlain, false));
    std::printf("rss_mb_1080p=%.1f\n", rss(hdPlain, true));
    std::printf("reference_rss_mb_4k=%.1f\n", rss(uhdBlur, false));
    std::printf("rss_mb_4k=%.1f\n", rss(uhdBlur, true));
    return std::all_of(results.begin(), results.end(), [](const Result &r) { return r.ok; }) ? 0
                                                                                             : 1;
}
