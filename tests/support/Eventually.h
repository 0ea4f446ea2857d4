#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace lookpane::testing {

// Waits until `condition` holds, polling, for tests whose subject runs in another process
// (nothing here turns the Qt event loop; QtWait.h's waitUntil does). Returns the condition.
inline bool eventually(const std::function<bool()> &condition, int timeoutMs = 10000)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    return true;
}

} // namespace lookpane::testing
