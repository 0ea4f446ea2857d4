#include "SoakRun.h"

#include "ChildProcess.h"
#include "Eventually.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "XInput.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include <QSettings>
#include <QTemporaryDir>

#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace lookpane::bench {

using namespace lookpane::testing;
using Clock = std::chrono::steady_clock;

namespace {

constexpr QSize screenSize(2560, 1440);
// The source and the box at the start: 1080p, in the top-left corner, with room below it for
// the toolbar and room to the right for the moves.
constexpr QRect startBox(0, 0, 1920, 1080);
constexpr QPoint moveOffset(96, 64);
constexpr QPoint resizeOffset(-320, -180);
// Changes to the windows inside and over the source, a second.
constexpr double sourceWindowChanges = 10;

// The toolbar's base row, in order: framing, draw, blur | click-through, detach, pin | hide.
constexpr int baseRowButtons = 7;
constexpr int detachButton = 4;

// Counts the updates of Lookpane's share window on a connection of its own: a Damage object
// on the window reports the first change after each subtraction, so each report is one picture
// shown (two pictures shown between two reports count once, which at the share window's rate
// and this thread's promptness is rare). The share window is found by its role again whenever
// it is gone.
class ShareWindowUpdates
{
public:
    explicit ShareWindowUpdates(std::string display) : m_display(std::move(display))
    {
        m_thread = std::thread([this] { run(); });
    }
    ~ShareWindowUpdates()
    {
        m_stop = true;
        m_thread.join();
    }
    ShareWindowUpdates(const ShareWindowUpdates &) = delete;
    ShareWindowUpdates &operator=(const ShareWindowUpdates &) = delete;

    long count() const { return m_count.load(); }
    bool isWatching() const { return m_watching.load(); }

private:
    void run()
    {
        xcb_connection_t *c = xcb_connect(m_display.c_str(), nullptr);
        const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
            c, &xcb_disconnect);
        if (xcb_connection_has_error(c)) {
            return;
        }
        const xcb_query_extension_reply_t *extension = xcb_get_extension_data(c, &xcb_damage_id);
        if (extension == nullptr || !extension->present) {
            return;
        }
        std::free(xcb_damage_query_version_reply(c, xcb_damage_query_version(c, 1, 1), nullptr));
        const std::uint8_t damageNotify = extension->first_event + XCB_DAMAGE_NOTIFY;
        xcb_window_t window = 0;
        xcb_damage_damage_t damage = 0;
        auto lastLookup = Clock::now() - std::chrono::hours(1);
        while (!m_stop) {
            if (Clock::now() - lastLookup > std::chrono::seconds(2)) {
                lastLookup = Clock::now();
                const std::vector<WindowInfo> found =
                    findWindowsByRole(m_display, QStringLiteral("share"));
                const xcb_window_t current = found.empty() ? 0 : found.front().id;
                if (current != window) {
                    if (damage != 0) {
                        xcb_damage_destroy(c, damage);
                        damage = 0;
                    }
                    window = current;
                    if (window != 0) {
                        damage = xcb_generate_id(c);
                        xcb_damage_create(c, damage, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
                    }
                    xcb_flush(c);
                }
                m_watching = window != 0;
            }
            pollfd pfd{xcb_get_file_descriptor(c), POLLIN, 0};
            poll(&pfd, 1, 100);
            bool subtract = false;
            while (xcb_generic_event_t *event = xcb_poll_for_event(c)) {
                if ((event->response_type & 0x7F) == damageNotify) {
                    ++m_count;
                    subtract = true;
                }
                std::free(event);
            }
            if (subtract && damage != 0) {
                xcb_damage_subtract(c, damage, XCB_NONE, XCB_NONE);
                xcb_flush(c);
            }
            if (xcb_connection_has_error(c)) {
                return;
            }
        }
    }

    std::string m_display;
    std::atomic<bool> m_stop{false};
    std::atomic<long> m_count{0};
    std::atomic<bool> m_watching{false};
    std::thread m_thread;
};

// The horizontal centres of the toolbar's buttons, left to right, found in a picture of the
// toolbar: the symbols are drawn in near white on the dark strip, and the lit cell of a button
// that is on, the separators and the strip's edge stay far darker. Columns holding symbol
// pixels in the middle band make one button while gaps between them are narrower than the
// space between two buttons' symbols.
std::vector<int> toolbarButtonCentres(const std::string &display, const WindowInfo &toolbar)
{
    const QImage picture = grabWindow(display, toolbar.id);
    std::vector<int> centres;
    if (picture.isNull()) {
        return centres;
    }
    const int middle = picture.height() / 2;
    const int top = std::max(0, middle - 9);
    const int bottom = std::min(picture.height() - 1, middle + 9);
    std::vector<bool> lit(static_cast<std::size_t>(picture.width()), false);
    for (int x = 0; x < picture.width(); ++x) {
        for (int y = top; y <= bottom && !lit[std::size_t(x)]; ++y) {
            const QRgb pixel = picture.pixel(x, y);
            lit[std::size_t(x)] = std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)}) >= 150;
        }
    }
    constexpr int largestGapInASymbol = 6;
    int first = -1;
    int last = -1;
    for (int x = 0; x <= picture.width(); ++x) {
        const bool on = x < picture.width() && lit[std::size_t(x)];
        if (on) {
            if (first < 0) {
                first = x;
            }
            last = x;
        } else if (first >= 0 && (x - last > largestGapInASymbol || x == picture.width())) {
            if (last - first >= 4) {
                centres.push_back(toolbar.geometry.x() + (first + last) / 2);
            }
            first = -1;
        }
    }
    return centres;
}

class Driver
{
public:
    Driver(std::string display, SoakFigures &figures)
        : m_display(std::move(display)), m_figures(figures)
    {}

    WindowInfo role(const char *name, int timeoutMs = 5000) const
    {
        return waitForViewableRole(m_display, QString::fromLatin1(name), timeoutMs)
            .value_or(WindowInfo{});
    }

    // Waits until the toolbar lies still below the box, where it follows every change.
    WindowInfo settledToolbar() const
    {
        WindowInfo toolbar;
        eventually(
            [&] {
                const WindowInfo frame = role("frame");
                toolbar = role("toolbar");
                return toolbar.id != 0 && toolbar.geometry.top() >= frame.geometry.bottom() &&
                       std::abs(toolbar.geometry.center().x() - frame.geometry.center().x()) <= 1;
            },
            5000);
        return toolbar;
    }

    // Drags the toolbar's strip by its left end (left of the first button), which moves the box.
    bool moveBy(QPoint offset)
    {
        const QRect before = role("frame").geometry;
        const WindowInfo toolbar = settledToolbar();
        const QPoint grip = toolbar.geometry.topLeft() + QPoint(4, toolbar.geometry.height() / 2);
        dragFromTo(m_display, grip, grip + offset);
        const bool ok = eventually(
            [&] { return role("frame").geometry.topLeft() == before.topLeft() + offset; }, 5000);
        m_figures.moved = m_figures.moved || ok;
        return ok;
    }

    // Drags the box's bottom-right corner.
    bool resizeBy(QPoint offset)
    {
        const QRect before = role("frame").geometry;
        const QPoint corner = before.bottomRight() - QPoint(5, 5);
        dragFromTo(m_display, corner, corner + offset);
        const QSize expected = before.size() + QSize(offset.x(), offset.y());
        const bool ok = eventually([&] { return role("frame").geometry.size() == expected; }, 5000);
        m_figures.resized = m_figures.resized || ok;
        return ok;
    }

    bool shortcut(const char *keys) { return xdotool(m_display, {"key", keys}); }

    // Drawing mode by its shortcut (the toolbar then shows the wider drawing row), and a mark
    // drawn across the box.
    bool drawAMark()
    {
        const int baseWidth = settledToolbar().geometry.width();
        if (!shortcut("ctrl+alt+super+d") ||
            !eventually([&] { return role("toolbar").geometry.width() > baseWidth; }, 5000)) {
            return false;
        }
        const QRect box = role("frame").geometry;
        const QPoint from = box.topLeft() + QPoint(box.width() * 3 / 10, box.height() * 6 / 10);
        const QPoint to = box.topLeft() + QPoint(box.width() * 6 / 10, box.height() * 3 / 10);
        const bool ok = dragFromTo(m_display, from, to);
        m_figures.drawn = m_figures.drawn || ok;
        return ok;
    }

    // Clears the marks and leaves drawing mode, both by their shortcuts.
    bool clearAndStopDrawing()
    {
        const int drawingWidth = role("toolbar").geometry.width();
        return shortcut("ctrl+alt+super+e") && shortcut("ctrl+alt+super+d") &&
               eventually([&] { return role("toolbar").geometry.width() < drawingWidth; }, 5000);
    }

    bool isDetached() const { return role("share", 1000).geometry != role("frame", 1000).geometry; }

    // Clicks the toolbar's detach button; in overlay mode the share window lies exactly under
    // the box, detached it does not.
    bool setDetached(bool detached)
    {
        const WindowInfo toolbar = settledToolbar();
        const std::vector<int> buttons = toolbarButtonCentres(m_display, toolbar);
        if (buttons.size() != std::size_t(baseRowButtons)) {
            if (m_figures.failure.empty()) {
                m_figures.failure = "found " + std::to_string(buttons.size()) +
                                    " buttons in the toolbar, not " +
                                    std::to_string(baseRowButtons);
            }
            return false;
        }
        clickAt(m_display,
                QPoint(buttons[std::size_t(detachButton)], toolbar.geometry.center().y()));
        const bool ok = eventually([&] { return isDetached() == detached; }, 5000);
        m_figures.detached = m_figures.detached || (ok && detached);
        return ok;
    }

private:
    std::string m_display;
    SoakFigures &m_figures;
};

// Holds a process still (SIGSTOP) for as long as it lives, then lets it go on (SIGCONT).
class ProcessPause
{
public:
    explicit ProcessPause(pid_t pid) : m_pid(pid > 0 && ::kill(pid, SIGSTOP) == 0 ? pid : -1) {}
    ~ProcessPause()
    {
        if (m_pid > 0) {
            ::kill(m_pid, SIGCONT);
        }
    }
    ProcessPause(const ProcessPause &) = delete;
    ProcessPause &operator=(const ProcessPause &) = delete;

    bool isPaused() const { return m_pid > 0; }

private:
    pid_t m_pid;
};

long median(std::vector<long> values)
{
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool sameCounts(const XClientResources &a, const XClientResources &b)
{
    return a.clients == b.clients && a.counts == b.counts;
}

// Lookpane's figures with the source paused: whatever a moment of the source's animation and
// window churn asks of Lookpane (a damage object and a shape selection for each window over
// the region, the frame in flight, the buffers of a window that just went) is then done with,
// and what remains is what Lookpane holds for its own state.
QuietFigures takeQuietFigures(const std::string &display, pid_t lookpane, pid_t source,
                              const ShareWindowUpdates &updates)
{
    QuietFigures figures;
    const ProcessPause pause(source);
    // Quiet: the share window has not updated for a second (Lookpane delivers frames only
    // when the region changed).
    constexpr auto stillFor = std::chrono::seconds(1);
    const Clock::time_point quietBy = Clock::now() + std::chrono::seconds(20);
    long frames = updates.count();
    Clock::time_point lastFrame = Clock::now();
    while (Clock::now() - lastFrame < stillFor && Clock::now() < quietBy) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (updates.count() != frames) {
            frames = updates.count();
            lastFrame = Clock::now();
        }
    }
    figures.quiet = pause.isPaused() && Clock::now() - lastFrame >= stillFor;

    // Steady: the same counts three times in a row, a quarter of a second apart.
    constexpr int sameInARow = 3;
    const Clock::time_point steadyBy = Clock::now() + std::chrono::seconds(20);
    int run = 0;
    while (run < sameInARow && Clock::now() < steadyBy) {
        const std::optional<XClientResources> sample = xClientResourcesOf(display, lookpane);
        if (!sample) {
            break;
        }
        run = figures.xres && sameCounts(*figures.xres, *sample) ? run + 1 : 1;
        figures.xres = sample;
        if (run < sameInARow) {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
        }
    }
    figures.steady = run >= sameInARow;

    // Memory: the median of samples a fifth of a second apart, each part on its own.
    constexpr int memorySamples = 9;
    std::vector<long> total, anonymous, fileBacked, shared;
    for (int i = 0; i < memorySamples; ++i) {
        if (const std::optional<ResidentMemory> memory = residentMemory(lookpane)) {
            total.push_back(memory->total);
            anonymous.push_back(memory->anonymous);
            fileBacked.push_back(memory->fileBacked);
            shared.push_back(memory->shared);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    figures.memory = {median(total), median(anonymous), median(fileBacked), median(shared)};
    return figures;
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool isRunning(ChildProcess &process)
{
    return !process.waitForExit(std::chrono::milliseconds(0)).has_value();
}

} // namespace

double SoakFigures::rssGrowthPercent() const
{
    return rssStartKiB > 0 ? 100.0 * double(rssEndKiB - rssStartKiB) / double(rssStartKiB) : 0.0;
}

double SoakFigures::rssAboveWarmUpPercent() const
{
    if (warmUpResidentKiB.empty() || rssEndKiB <= 0) {
        return 0.0;
    }
    const long highest = *std::max_element(warmUpResidentKiB.begin(), warmUpResidentKiB.end());
    return highest > 0 ? 100.0 * double(rssEndKiB - highest) / double(highest) : 0.0;
}

long SoakFigures::xresGrowth() const
{
    return xresStart && xresEnd ? xresEnd->total() - xresStart->total() : 0;
}

SoakFigures runSoak(const SoakOptions &options)
{
    SoakFigures figures;
    const auto say = [&](const std::string &line) {
        if (options.progress != nullptr) {
            std::fprintf(options.progress, "soak: %s\n", line.c_str());
            std::fflush(options.progress);
        }
    };
    XvfbServer server({screenSize.width(), screenSize.height()});
    if (!server.isRunning() || !server.startWindowManager()) {
        figures.failure = "no X server or window manager";
        return figures;
    }
    const std::string display = server.displayName();

    PatternWindow::Options sourceOptions = PatternWindow::at(startBox, Pattern::text, "Source");
    sourceOptions.animate = true;
    sourceOptions.undecorated = true;
    sourceOptions.churnChildrenRate = sourceWindowChanges;
    PatternWindow source(display, sourceOptions);
    if (!source.isShown()) {
        figures.failure = "the source window did not show";
        return figures;
    }

    // The box starts on the source (stored in screen coordinates, origin bottom-left).
    QTemporaryDir config;
    keepGuideClosedAtLaunch(config.path());
    {
        QSettings settings(lookpaneSettingsFile(config.path()), QSettings::NativeFormat);
        settings.setValue(QStringLiteral("FrameWindowFrame"),
                          QStringLiteral("{{%1, %2}, {%3, %4}}")
                              .arg(startBox.x())
                              .arg(screenSize.height() - startBox.bottom() - 1)
                              .arg(startBox.width())
                              .arg(startBox.height()));
    }
    ChildProcess lookpane({lookpaneExecutable()}, lookpaneEnvironment(display, config.path()));
    Driver driver(display, figures);
    if (driver.role("frame", 20000).id == 0 || driver.role("share", 20000).id == 0 ||
        driver.role("toolbar", 20000).id == 0) {
        figures.failure = "Lookpane's windows did not show";
        return figures;
    }
    const QRect box = driver.role("frame").geometry;
    if (box != startBox) {
        say("the box starts at " + std::to_string(box.x()) + "," + std::to_string(box.y()) + " " +
            std::to_string(box.width()) + "x" + std::to_string(box.height()));
    }
    ShareWindowUpdates updates(display);

    const std::vector<std::pair<const char *, std::function<bool()>>> cycle = {
        {"move", [&] { return driver.moveBy(moveOffset); }},
        {"resize", [&] { return driver.resizeBy(resizeOffset); }},
        {"blur on", [&] { return driver.shortcut("ctrl+alt+super+b"); }},
        {"draw a mark", [&] { return driver.drawAMark(); }},
        {"clear the marks", [&] { return driver.clearAndStopDrawing(); }},
        {"blur off", [&] { return driver.shortcut("ctrl+alt+super+b"); }},
        {"detach", [&] { return driver.setDetached(true); }},
        {"attach", [&] { return driver.setDetached(false); }},
        {"resize back", [&] { return driver.resizeBy(-resizeOffset); }},
        {"move back", [&] { return driver.moveBy(-moveOffset); }},
    };
    bool measuring = false;
    bool lookpaneDied = false;
    // Waits out an action's time, sampling resident memory while measuring.
    const auto waitUntil = [&](Clock::time_point deadline) {
        do {
            if (!isRunning(lookpane)) {
                lookpaneDied = true;
                return;
            }
            if (measuring) {
                figures.rssPeakKiB =
                    std::max(figures.rssPeakKiB, residentKiB(lookpane.pid()).value_or(0));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        } while (Clock::now() < deadline);
    };
    const auto runCycle = [&] {
        for (const auto &[name, action] : cycle) {
            const Clock::time_point deadline =
                Clock::now() + std::chrono::milliseconds(long(options.secondsPerAction * 1000));
            const bool ok = action();
            if (measuring) {
                ++figures.actions;
                if (!ok) {
                    ++figures.actionsFailed;
                    say(std::string("the action '") + name + "' did not take effect");
                }
            }
            waitUntil(deadline);
            if (lookpaneDied) {
                return;
            }
        }
    };
    // Before each measurement: back in overlay mode at the start geometry, then a moment
    // for the last action's work to finish.
    // The pointer is parked away from Lookpane's windows, so that no tooltip (a window and a
    // shared-memory image of its own) counts in one measurement and not in the other.
    // An action that did not take effect in time on a loaded machine (a drag the box followed
    // only in part, say) can leave the box elsewhere: it is brought back first, as a user would,
    // without counting as an action.
    const auto settle = [&] {
        const SoakFigures seen = figures;
        for (int attempt = 0; attempt < 3; ++attempt) {
            if (driver.isDetached()) {
                driver.setDetached(false);
            }
            const QRect now = driver.role("frame").geometry;
            if (now.size() != box.size()) {
                driver.resizeBy(QPoint(box.width() - now.width(), box.height() - now.height()));
            }
            const QRect sized = driver.role("frame").geometry;
            if (sized.topLeft() != box.topLeft()) {
                driver.moveBy(box.topLeft() - sized.topLeft());
            }
            if (driver.role("frame").geometry == box && !driver.isDetached()) {
                break;
            }
            say("bringing the box back to its start");
        }
        figures.moved = seen.moved;
        figures.resized = seen.resized;
        figures.detached = seen.detached;
        moveMouseTo(display, QPoint(screenSize.width() - 10, screenSize.height() - 10));
        waitUntil(Clock::now() + std::chrono::seconds(3));
        return driver.role("frame").geometry == box && !driver.isDetached();
    };

    // Warm-up: whole cycles until the quiet resident memory after one lies no more than
    // `warmUpSettledPercent` above the highest after those before (at least `warmUpCycles`). The
    // last quiet figures are the start figures, the reference.
    QuietFigures start;
    for (int warmUp = 0; warmUp < std::max(options.warmUpCycles, options.maxWarmUpCycles);
         ++warmUp) {
        say("warm-up cycle " + std::to_string(warmUp + 1));
        runCycle();
        if (lookpaneDied) {
            figures.failure = "Lookpane ended during the warm-up";
            return figures;
        }
        if (!settle()) {
            figures.failure = "the box did not come back after a warm-up cycle";
            return figures;
        }
        ++figures.warmUpCycles;
        const long before = figures.warmUpResidentKiB.empty()
                                ? 0
                                : *std::max_element(figures.warmUpResidentKiB.begin(),
                                                    figures.warmUpResidentKiB.end());
        start = takeQuietFigures(display, lookpane.pid(), source.pid(), updates);
        figures.warmUpResidentKiB.push_back(start.memory.total);
        const bool settled =
            before > 0 && 100.0 * double(start.memory.total - before) / double(before) <=
                              options.warmUpSettledPercent;
        say("quiet resident memory " + std::to_string(start.memory.total) + " KiB");
        if (figures.warmUpCycles >= options.warmUpCycles && settled) {
            break;
        }
    }
    figures.memoryStart = start.memory;
    figures.rssStartKiB = start.memory.total;
    figures.rssPeakKiB = figures.rssStartKiB;
    figures.xresStart = start.xres;
    figures.quietStart = start.quiet && start.steady;
    const long framesAtStart = updates.count();
    const Clock::time_point startTime = Clock::now();
    figures.started = true;
    measuring = true;
    say("start: resident " + std::to_string(figures.rssStartKiB) + " KiB, X resources " +
        (figures.xresStart ? std::to_string(figures.xresStart->total()) : "unknown"));

    const double seconds = options.minutes * 60.0;
    Clock::time_point lastReport = startTime;
    while (!lookpaneDied && secondsSince(startTime) < seconds) {
        runCycle();
        if (secondsSince(lastReport) >= 60 && !lookpaneDied) {
            lastReport = Clock::now();
            const ResidentMemory memory = residentMemory(lookpane.pid()).value_or(ResidentMemory{});
            say(std::to_string(int(secondsSince(startTime))) + " s: resident " +
                std::to_string(memory.total) + " KiB (anonymous " +
                std::to_string(memory.anonymous) + ", shared " + std::to_string(memory.shared) +
                "), " + std::to_string(updates.count() - framesAtStart) + " frames");
        }
    }
    if (!lookpaneDied) {
        figures.boxRestored = settle();
    }
    figures.seconds = secondsSince(startTime);
    figures.framesDelivered = updates.count() - framesAtStart;
    if (!lookpaneDied) {
        const QuietFigures end = takeQuietFigures(display, lookpane.pid(), source.pid(), updates);
        figures.memoryEnd = end.memory;
        figures.rssEndKiB = figures.memoryEnd.total;
        figures.rssPeakKiB = std::max(figures.rssPeakKiB, figures.rssEndKiB);
        figures.xresEnd = end.xres;
        figures.quietEnd = end.quiet && end.steady;
        // Still showing pictures: the share window updates over ten more seconds.
        const long before = updates.count();
        waitUntil(Clock::now() + std::chrono::seconds(10));
        figures.framesLastTenSeconds = updates.count() - before;
    }
    figures.alive = !lookpaneDied && isRunning(lookpane) && figures.framesLastTenSeconds > 0;
    if (lookpaneDied && figures.failure.empty()) {
        figures.failure = "Lookpane ended during the soak";
    }
    return figures;
}

void printSoakFigures(const SoakFigures &f, std::FILE *out)
{
    const auto xres = [](const std::optional<testing::XClientResources> &r) {
        return r ? std::to_string(r->total()) : std::string("unknown");
    };
    std::fprintf(out,
                 "figure                        | start (reference) |        end |       peak\n");
    std::fprintf(out, "resident memory KiB           | %17ld | %10ld | %10ld\n", f.rssStartKiB,
                 f.rssEndKiB, f.rssPeakKiB);
    std::fprintf(out, "  anonymous (heaps)           | %17ld | %10ld |\n", f.memoryStart.anonymous,
                 f.memoryEnd.anonymous);
    std::fprintf(out, "  file-backed                 | %17ld | %10ld |\n", f.memoryStart.fileBacked,
                 f.memoryEnd.fileBacked);
    std::fprintf(out, "  shared memory               | %17ld | %10ld |\n", f.memoryStart.shared,
                 f.memoryEnd.shared);
    std::fprintf(out, "X resources of Lookpane       | %17s | %10s |\n", xres(f.xresStart).c_str(),
                 xres(f.xresEnd).c_str());
    if (f.xresStart) {
        for (const auto &[type, count] : f.xresStart->counts) {
            long end = 0;
            if (f.xresEnd) {
                const auto found = f.xresEnd->counts.find(type);
                end = found == f.xresEnd->counts.end() ? 0 : found->second;
            }
            std::fprintf(out, "  %-27s | %17ld | %10ld |\n", type.c_str(), count, end);
        }
    }
    if (f.xresStart && f.xresEnd) {
        const std::string changes = testing::describeResourceChanges(*f.xresStart, *f.xresEnd);
        std::fprintf(out, "X resource changes: %s\n", changes.empty() ? "none" : changes.c_str());
    }
    if (!f.failure.empty()) {
        std::fprintf(out, "soak: %s\n", f.failure.c_str());
    }
    std::string warmUp;
    for (const long kib : f.warmUpResidentKiB) {
        warmUp += (warmUp.empty() ? "" : " ") + std::to_string(kib);
    }
    std::fprintf(out, "quiet resident memory after each warm-up cycle, KiB: %s\n",
                 warmUp.empty() ? "none" : warmUp.c_str());
    std::fprintf(out, "soak_warmup_cycles=%d\n", f.warmUpCycles);
    std::fprintf(out, "soak_quiet=%d\n", f.quietStart && f.quietEnd ? 1 : 0);
    std::fprintf(out, "soak_seconds=%.0f\n", f.seconds);
    std::fprintf(out, "soak_frames=%ld\n", f.framesDelivered);
    std::fprintf(out, "soak_fps=%.1f\n",
                 f.seconds > 0 ? double(f.framesDelivered) / f.seconds : 0.0);
    std::fprintf(out, "soak_actions=%d\n", f.actions);
    std::fprintf(out, "soak_actions_failed=%d\n", f.actionsFailed);
    std::fprintf(out, "soak_rss_start_kib=%ld\n", f.rssStartKiB);
    std::fprintf(out, "soak_rss_end_kib=%ld\n", f.rssEndKiB);
    std::fprintf(out, "soak_rss_peak_kib=%ld\n", f.rssPeakKiB);
    std::fprintf(out, "soak_rss_growth_percent=%.2f\n", f.rssGrowthPercent());
    std::fprintf(out, "soak_rss_above_warmup_percent=%.2f\n", f.rssAboveWarmUpPercent());
    std::fprintf(out, "soak_xres_start=%s\n", xres(f.xresStart).c_str());
    std::fprintf(out, "soak_xres_end=%s\n", xres(f.xresEnd).c_str());
    std::fprintf(out, "soak_xres_growth=%ld\n", f.xresGrowth());
    std::fprintf(out, "soak_alive=%d\n", f.alive ? 1 : 0);
}

} // namespace lookpane::bench
