#pragma once

#include "capture/CaptureBackend.h"
#include "capture/x11/CaptureSettings.h"

#include <QThread>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace lookpane::x11 {

// The one capture thread of a stream: it owns the stream's CaptureSession, sleeps until the
// X server reports a change (or the owner sends new settings), and delivers each frame at
// most maximumFramesPerSecond times a second. Nothing changes, nothing is delivered.
class CaptureThread : public QThread
{
public:
    // The thread's name, after the application's identifier.
    static constexpr const char *threadName = "org.lookpane.Lookpane.capture";

    CaptureThread(std::string displayName, CaptureSettings settings);
    ~CaptureThread() override;

    // All three run on the capture thread; install them before start().
    std::function<void(CaptureError)> onStarted;
    std::function<void(const CaptureSample &)> onSample;
    std::function<void(const QString &error)> onBroken;

    // Thread-safe: the newest settings win.
    void apply(const CaptureSettings &settings);
    void requestStop();

protected:
    void run() override;

private:
    void wake();
    void waitForWork(int xcbDescriptor, int timeoutMs);
    std::optional<CaptureSettings> takePendingSettings();

    std::string m_displayName;
    CaptureSettings m_initialSettings;
    int m_wakeDescriptor = -1;
    std::mutex m_mutex;
    std::optional<CaptureSettings> m_pendingSettings;
    std::atomic<bool> m_stopRequested{false};
};

} // namespace lookpane::x11
