#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>

#include <QMetaObject>

#include <functional>
#include <memory>

namespace lookpane::testing {

// Runs the Qt event loop until `condition` holds or `timeoutMs` passed; returns the condition.
inline bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 10000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() >= timeoutMs) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// Runs the event loop until a call queued now has run: everything posted before it (queued
// signals and calls) has been delivered by then. Returns whether it ran within `timeoutMs`.
inline bool handlePostedEvents(int timeoutMs = 10000)
{
    const auto ran = std::make_shared<bool>(false);
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [ran] { *ran = true; }, Qt::QueuedConnection);
    return waitUntil([&] { return *ran; }, timeoutMs);
}

// Runs the event loop for `ms` milliseconds.
inline void spinFor(int ms)
{
    waitUntil([] { return false; }, ms);
}

} // namespace lookpane::testing
