#include "capture/x11/CaptureThread.h"

#include "capture/x11/CaptureSession.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace lookpane::x11 {

namespace {

std::int64_t nowNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// When every frame buffer is still held by the viewer, look again this soon.
constexpr std::int64_t bufferRetryNs = 4000000;

} // namespace

CaptureThread::CaptureThread(std::string displayName, CaptureSettings settings)
    : m_displayName(std::move(displayName)), m_initialSettings(std::move(settings)),
      m_wakeDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    setObjectName(QString::fromLatin1(threadName));
}

CaptureThread::~CaptureThread()
{
    requestStop();
    wait();
    if (m_wakeDescriptor >= 0) {
        close(m_wakeDescriptor);
    }
}

void CaptureThread::apply(const CaptureSettings &settings)
{
    {
        std::lock_guard lock(m_mutex);
        m_pendingSettings = settings;
    }
    wake();
}

void CaptureThread::requestStop()
{
    m_stopRequested = true;
    wake();
}

void CaptureThread::wake()
{
    if (m_wakeDescriptor >= 0) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(m_wakeDescriptor, &one, sizeof one);
    }
}

std::optional<CaptureSettings> CaptureThread::takePendingSettings()
{
    std::lock_guard lock(m_mutex);
    return std::exchange(m_pendingSettings, std::nullopt);
}

void CaptureThread::waitForWork(int xcbDescriptor, int timeoutMs)
{
    pollfd descriptors[2] = {{m_wakeDescriptor, POLLIN, 0}, {xcbDescriptor, POLLIN, 0}};
    // Without an X descriptor only a wake-up or the timeout ends the wait.
    poll(descriptors, xcbDescriptor >= 0 ? 2 : 1, timeoutMs);
    if (descriptors[0].revents & POLLIN) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t bytes = read(m_wakeDescriptor, &count, sizeof count);
    }
}

void CaptureThread::run()
{
    CaptureSession session(m_displayName);
    CaptureSettings settings = m_initialSettings;
    if (std::optional<CaptureSettings> pending = takePendingSettings()) {
        settings = *pending;
    }
    const std::optional<QString> failure = session.start(settings);
    if (onStarted) {
        onStarted(failure);
    }
    if (failure) {
        return;
    }
    std::int64_t nextFrameNs = 0;
    while (!m_stopRequested) {
        if (std::optional<CaptureSettings> pending = takePendingSettings()) {
            session.apply(*pending);
        }
        if (!session.processEvents()) {
            if (onBroken) {
                onBroken(QStringLiteral("The connection to the X display was lost"));
            }
            break;
        }
        if (!session.needsFrame()) {
            // Events that already wait inside xcb would not wake the poll; handle them first.
            if (!session.hasQueuedEvents()) {
                waitForWork(session.fileDescriptor(), -1);
            }
            continue;
        }
        const std::int64_t now = nowNs();
        if (now < nextFrameNs) {
            // Too early for the next frame: let X events wait in the socket meanwhile, so a
            // busy window costs one wake-up per frame, not one per drawing request.
            const auto remainingMs = static_cast<int>((nextFrameNs - now + 999999) / 1000000);
            waitForWork(-1, std::max(1, remainingMs));
            continue;
        }
        if (std::optional<CapturedFrame> frame = session.capture()) {
            const int rate = std::max(1, session.settings().configuration.maximumFramesPerSecond);
            nextFrameNs = now + 1000000000 / rate;
            if (onSample) {
                onSample(CaptureSample{*frame, FrameStatus::complete});
            }
        } else {
            nextFrameNs = now + bufferRetryNs;
        }
    }
    session.finish();
}

} // namespace lookpane::x11
