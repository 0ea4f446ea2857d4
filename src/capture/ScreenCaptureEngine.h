#pragma once

#include "capture/CaptureBackend.h"
#include "capture/CaptureDisplay.h"
#include "capture/ScreenCaptureState.h"
#include "capture/ShareableWindow.h"
#include "capture/StreamSetup.h"
#include "model/ScreenLayout.h"
#include "picture/CapturedFrame.h"

#include <QObject>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lookpane {

class FrameRelay;

// Owns the application's one capture stream: started for the frame window, it captures the
// screen rectangle under the window's content area without the application's own windows,
// hands every complete frame to the main thread and reports its state.
//
// Every operation and callback runs on the main thread (the thread of the Qt application
// object). Asynchronous steps run from the event loop; instead of being cancelled they carry
// generation numbers, and the result of an outdated request changes nothing.
class ScreenCaptureEngine : public QObject
{
    Q_OBJECT

public:
    using CaptureDisplay = lookpane::CaptureDisplay;
    using PendingRegionUpdate = lookpane::PendingRegionUpdate;

    // How long the region loop waits before applying the newest request.
    static constexpr std::chrono::milliseconds regionUpdateInterval{50};
    // How long to wait before asking again for content that does not list this application.
    static constexpr std::chrono::milliseconds captureTargetRetryInterval{100};
    static constexpr int captureTargetAttempts = 5;

    // `screenLayout` answers the primary screen's top edge for the window list; by default
    // the screens of the running application.
    explicit ScreenCaptureEngine(std::unique_ptr<CaptureBackend> backend,
                                 ScreenLayoutProvider screenLayout = currentScreenLayout,
                                 QObject *parent = nullptr);
    ~ScreenCaptureEngine() override;

    ScreenCaptureEngine(const ScreenCaptureEngine &) = delete;
    ScreenCaptureEngine &operator=(const ScreenCaptureEngine &) = delete;

    const ScreenCaptureState &state() const { return m_state; }
    bool isRunning() const { return m_isRunning; }

    // Starts capturing the content area of `window`; ignored while running or starting.
    // Without a window the state becomes starting and then failed.
    void start(const std::optional<MirroredWindow> &window);
    // Stops capturing at once (state idle) and drops any start or region change in progress.
    void stop();
    // Moves the captured rectangle of the running stream to `frame` on `screen`. Requests are
    // coalesced: the newest is applied every 50 ms. Dropped without a stream or a screen.
    void updateRegion(const ScreenRect &frame, const std::optional<CaptureDisplay> &screen);
    // The visible windows of other applications, sorted; an empty list on any failure.
    // `done` runs later on the main thread, unless the engine is gone by then.
    void shareableWindows(std::function<void(std::vector<ShareableWindow>)> done);

Q_SIGNALS:
    // On the main thread, with each delivered frame.
    void frameCaptured(const lookpane::CapturedFrame &frame);
    // On the main thread after each state change, always after the call that changed it has
    // returned, in the order of the changes.
    void stateChanged(const lookpane::ScreenCaptureState &state);

private:
    struct StartAttempt
    {
        std::int64_t generation = 0;
        std::uint32_t windowID = 0;
        ScreenRect frame;
        std::optional<CaptureDisplay> display;
    };
    struct CaptureTargetResult
    {
        std::optional<CaptureTarget> target;
        CaptureError error; // set when the shareable content could not be loaded
    };
    using CaptureTargetCompletion = std::function<void(CaptureTargetResult)>;
    struct RegionUpdateTask
    {
        bool isCancelled = false;
    };

    void setState(const ScreenCaptureState &state);
    bool isCurrent(const StartAttempt &attempt) const;
    void finishStart(const StartAttempt &attempt);
    void startCapture(const StartAttempt &attempt);
    void startWithTarget(const StartAttempt &attempt, const CaptureTarget &target);
    void startStream(const StartAttempt &attempt, const CaptureTarget &target,
                     const std::shared_ptr<CaptureStream> &stream,
                     const StreamConfiguration &configuration);
    void failStart(const StartAttempt &attempt, const QString &description);
    void stopThenFailStart(const StartAttempt &attempt,
                           const std::shared_ptr<CaptureStream> &stream,
                           const QString &description);
    std::shared_ptr<CaptureStream> makeStream(const ContentFilter &filter,
                                              const StreamConfiguration &configuration);
    void handleStreamStopped(const QString &error);

    void processRegionUpdates(std::int64_t generation, std::shared_ptr<RegionUpdateTask> task);
    void endRegionUpdates(std::int64_t generation);
    void applyRegion(const ScreenRect &frame, const CaptureDisplay &display,
                     std::function<void()> done);
    void applyRegionTarget(const ScreenRect &frame, const CaptureDisplay &display,
                           const std::shared_ptr<CaptureStream> &stream,
                           const CaptureTargetResult &result, std::function<void()> done);
    void failRegionUpdate(const QString &description);
    void loadCaptureTarget(std::uint32_t displayID, std::optional<std::uint32_t> windowID,
                           CaptureTargetCompletion done, int attempt = 0);

    // Stops a stream whose owner no longer wants it; the outcome is ignored. The stream stays
    // alive until its stop has completed.
    static void stopStream(const std::shared_ptr<CaptureStream> &stream,
                           std::function<void()> then = {});

    // Declared first so that it outlives every stream.
    std::unique_ptr<CaptureBackend> m_backend;
    ScreenLayoutProvider m_screenLayout;
    // Lets other threads reach the engine through the event loop only while it exists.
    std::shared_ptr<ScreenCaptureEngine *> m_anchor;

    ScreenCaptureState m_state;
    bool m_isRunning = false;
    std::shared_ptr<FrameRelay> m_frameRelay;
    std::shared_ptr<CaptureStream> m_stream;
    std::optional<std::uint32_t> m_excludedWindowID;
    std::optional<std::uint32_t> m_displayID;
    std::optional<PendingRegionUpdate> m_pendingRegionUpdate;
    std::shared_ptr<RegionUpdateTask> m_regionUpdateTask;
    std::int64_t m_regionUpdateGeneration = 0;
    std::int64_t m_startGeneration = 0;
    bool m_isStarting = false;
};

} // namespace lookpane
