#pragma once

#include "capture/CaptureBackend.h"
#include "capture/x11/X11CaptureBackend.h"

#include <QColor>
#include <QImage>
#include <QRect>
#include <QString>
#include <QWidget>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lookpane::testing {

// Runs the X11 capture backend's stream on the test's private display and keeps what it
// delivers, for assertions. Everything but the collecting of samples runs on this (the main)
// thread, which waits by running the Qt event loop.
class X11CaptureHarness
{
public:
    X11CaptureHarness();
    // On another display (":N").
    explicit X11CaptureHarness(const std::string &displayName);
    ~X11CaptureHarness();

    // Passed with every configuration; set before start().
    int maximumFramesPerSecond = 60;
    // Whether the windows of this process are left out; set before start(). Off for tests
    // that make windows of their own over a plain X connection.
    bool excludeOwnProcess = true;

    x11::X11CaptureBackend &backend() { return m_backend; }
    // The first display the backend lists.
    std::uint32_t displayID();

    // Starts capturing `source` (root pixels of the one display) delivered at `size` (the
    // source's size when empty), leaving out this process (see excludeOwnProcess) and
    // `excludedWindows`.
    CaptureError start(const QRect &source, QSize size = {},
                       std::vector<std::uint32_t> excludedWindows = {});
    CaptureError update(const QRect &source, QSize size = {});
    CaptureError stop();

    int frameCount() const;
    CapturedFrame latestFrame() const;
    // Both at once: the count with the frame that was the latest at that count.
    std::pair<int, CapturedFrame> countAndLatestFrame() const;
    // The name of the thread that delivered the last sample.
    QString sampleThreadName() const;
    std::vector<FrameStatus> statuses() const;
    // What onStopped reported, if the stream ended by itself.
    std::optional<QString> stoppedError() const;

    // Runs the event loop until `condition` holds; false on timeout.
    static bool waitUntil(const std::function<bool()> &condition, int timeoutMs);
    // Runs the event loop for a while.
    static void pump(int milliseconds);
    bool waitForFrames(int count, int timeoutMs);
    // Waits until the newest frame (whenever it came) satisfies `condition`.
    bool waitForLatestWhere(const std::function<bool(const QImage &)> &condition, int timeoutMs);
    // Waits for a frame after the current one whose picture satisfies `condition`.
    bool waitForFrameWhere(const std::function<bool(const QImage &)> &condition, int timeoutMs);

private:
    StreamConfiguration configurationFor(const QRect &source, QSize size) const;
    CaptureError waitForCompletion(const std::function<void(CaptureCompletion)> &request);

    x11::X11CaptureBackend m_backend;
    std::unique_ptr<CaptureStream> m_stream;
    std::uint32_t m_displayID = 0;
    bool m_displayKnown = false;

    mutable std::mutex m_mutex;
    int m_frames = 0;
    CapturedFrame m_latest;
    QString m_threadName;
    std::vector<FrameStatus> m_statuses;
    std::optional<QString> m_stoppedError;
};

// Starts the test display's window manager and waits until it manages new windows (openbox
// announces itself before it has finished setting up).
bool startWindowManagerAndWait();

// A deep copy of a frame's picture (Format_RGB32).
QImage frameImage(const CapturedFrame &frame);
// Saves a picture under $LOOKPANE_X11_FRAME_DIR (when set) as NAME.png, for looking at.
void saveForInspection(const QImage &image, const QString &name);
// Pixels of `image` inside `area` whose colour differs from `expected(x, y)` (0xRRGGBB, x and
// y relative to `area`) by more than `tolerance` in any channel.
int countMismatches(const QImage &image, const QRect &area,
                    const std::function<std::uint32_t(int, int)> &expected, int tolerance = 0);

// A top-level window of this process in one colour, shown and painted.
std::unique_ptr<QWidget> showOwnWindow(const QRect &geometry, const QColor &color,
                                       const QString &title);

// How many resources of each type the X server holds for the clients of process `pid`
// (X-Resource extension); type names as the server reports them.
std::map<std::string, std::uint32_t> clientResourceCounts(const std::string &display, pid_t pid);

} // namespace lookpane::testing
