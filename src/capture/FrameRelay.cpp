#include "capture/FrameRelay.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <utility>

namespace lookpane {

std::shared_ptr<FrameRelay> FrameRelay::create()
{
    return std::shared_ptr<FrameRelay>(new FrameRelay());
}

void FrameRelay::submit(CapturedFrame frame)
{
    bool wasScheduled = false;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        // The frame it replaces is released here, undelivered.
        std::swap(m_pendingFrame, frame);
        wasScheduled = m_deliveryScheduled;
        m_deliveryScheduled = true;
    }
    if (wasScheduled) {
        return;
    }
    QCoreApplication *application = QCoreApplication::instance();
    if (!application) {
        // No event loop to deliver on: keep the frame pending and let the next submit retry.
        const std::lock_guard<std::mutex> guard(m_lock);
        m_deliveryScheduled = false;
        return;
    }
    std::weak_ptr<FrameRelay> weakRelay = weak_from_this();
    QMetaObject::invokeMethod(
        application,
        [weakRelay] {
            if (const std::shared_ptr<FrameRelay> relay = weakRelay.lock()) {
                relay->deliver();
            }
        },
        Qt::QueuedConnection);
}

void FrameRelay::deliver()
{
    CapturedFrame frame;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        std::swap(frame, m_pendingFrame);
        m_deliveryScheduled = false;
    }
    if (!frame.isNull() && onFrame) {
        onFrame(frame);
    }
}

} // namespace lookpane
