#pragma once

#include "picture/CapturedFrame.h"

#include <functional>
#include <memory>
#include <mutex>

namespace lookpane {

// Hands captured frames from the capture thread to the main thread, keeping only the newest:
// at most one delivery is queued on the main thread at a time, and frames that arrive while
// it waits replace one another. A slow main thread therefore lowers the shown frame rate
// instead of building a backlog.
//
// Owned through a shared pointer: the queued delivery holds the relay weakly, so a relay that
// is gone by then delivers nothing.
class FrameRelay : public std::enable_shared_from_this<FrameRelay>
{
public:
    static std::shared_ptr<FrameRelay> create();

    FrameRelay(const FrameRelay &) = delete;
    FrameRelay &operator=(const FrameRelay &) = delete;

    // Called on the main thread with each delivered frame. Set it once, before frames arrive.
    std::function<void(const CapturedFrame &)> onFrame;

    // Thread-safe; called on the capture thread. Keeps `frame` as the pending one (an older
    // pending frame is dropped undelivered) and queues a delivery on the main thread (the
    // thread of the Qt application object) unless one is queued already.
    void submit(CapturedFrame frame);

private:
    FrameRelay() = default;

    void deliver();

    // Guards the next two fields; held only to swap them, never while calling out.
    std::mutex m_lock;
    CapturedFrame m_pendingFrame;
    bool m_deliveryScheduled = false;
};

} // namespace lookpane
