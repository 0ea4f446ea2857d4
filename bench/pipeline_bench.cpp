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
//     the server spends on the animation itself.
// Runs 1920 × 1080 and 1280 × 720 boxes, privacy blur off and on (light). The last lines read
// share_fps_1080p_blur=F and latency_ms_1080p=L (the median with blur on).
#include "ChildProcess.h"
#include "PatternWindow.h"
#include "ProcessCpu.h"
#include "XInput.h"
#include "XReadback.h"
#include "XvfbServer.h"

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
#include <thread>
#include <vector>

using namespace lookpane::testing;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int stampSize = 160;
constexpr int blurButtonX = 88; // the toolbar's blur button, from its left edge
constexpr int toolbarMiddle = 20;

struct Result
{
    QSize box;
    bool blur = false;
    double seconds = 0;
    int sourceFrames = 0;
    int presentedFrames = 0;
    double lookpaneCpu = 0;
    double serverCpu = 0;
    double medianLatencyMs = 0;
    double p90LatencyMs = 0;
    bool ok = false;
};

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

Result run(QSize box, bool blur, double measureSeconds)
{
    Result result;
    result.box = box;
    result.blur = blur;
    XvfbServer server({1920, 1080});
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
        settings.setValue(QStringLiteral("FrameWindowFrame"), QStringLiteral("{{0, %1}, {%2, %3}}")
                                                                  .arg(1080 - box.height())
                                                                  .arg(box.width())
                                                                  .arg(box.height()));
    }
    ChildProcess::Options environment;
    environment.environment["DISPLAY"] = display;
    environment.environment["QT_QPA_PLATFORM"] = "xcb";
    environment.environment["XDG_CONFIG_HOME"] = config.path().toStdString();
    environment.unset = {"WAYLAND_DISPLAY", "XAUTHORITY", "SESSION_MANAGER"};
    ChildProcess lookpane({lookpaneExecutable()}, environment);
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

} // namespace

int main(int argc, char **argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 5.0;
    std::vector<Result> results;
    for (const QSize box : {QSize(1920, 1080), QSize(1280, 720)}) {
        for (const bool blur : {false, true}) {
            results.push_back(run(box, blur, seconds));
        }
    }
    std::printf("box        | blur | source fps | share fps | latency median / p90 ms | "
                "Lookpane CPU ms/frame | X server CPU ms/frame\n");
    for (const Result &r : results) {
        const double frames = std::max(1, r.presentedFrames);
        std::printf("%4dx%-5d  | %-4s | %10.1f | %9.1f | %10.1f / %-10.1f | %21.1f | %21.1f%s\n",
                    r.box.width(), r.box.height(), r.blur ? "on" : "off",
                    r.sourceFrames / std::max(r.seconds, 1e-9),
                    r.presentedFrames / std::max(r.seconds, 1e-9), r.medianLatencyMs,
                    r.p90LatencyMs, r.lookpaneCpu * 1000.0 / frames, r.serverCpu * 1000.0 / frames,
                    r.ok ? "" : "  (no frame reached the share window)");
    }
    const Result &headline = results[1];
    std::printf("share_fps_1080p_blur=%.1f\n",
                headline.presentedFrames / std::max(headline.seconds, 1e-9));
    std::printf("latency_ms_1080p=%.1f\n", headline.medianLatencyMs);
    return std::all_of(results.begin(), results.end(), [](const Result &r) { return r.ok; }) ? 0
                                                                                             : 1;
}
