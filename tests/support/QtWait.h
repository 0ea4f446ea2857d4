#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>

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

// Runs the event loop for `ms` milliseconds.
inline void spinFor(int ms)
{
    waitUntil([] { return false; }, ms);
}

} // namespace lookpane::testing
