#pragma once

#include "shortcuts/HotKeyBackend.h"

#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace lookpane::testing {

// A hot-key service for tests: records every call, refuses the combinations marked as taken
// and delivers presses on request, as the desktop would. What it records outlives it (the
// centre owns its backend), so a test can look after the centre is gone.
class ScriptedHotKeyBackend : public HotKeyBackend
{
public:
    struct Registration
    {
        std::uint16_t keyCode = 0;
        std::uint16_t x11Modifiers = 0;
        HotKeyId id;
        HotKeyHandle handle;
    };

    struct Record
    {
        // Live registrations, in the order they were made.
        std::vector<Registration> live;
        // Combinations another application holds: (key code, X11 modifier mask).
        std::set<std::pair<std::uint16_t, std::uint16_t>> taken;
        int registerCalls = 0;
        int unregisterCalls = 0;
        // Handles passed to unregisterHotKey that were not live.
        int staleUnregisterCalls = 0;
        bool destroyedWhileListened = false;
    };

    ScriptedHotKeyBackend() : m_record(std::make_shared<Record>()) {}
    ~ScriptedHotKeyBackend() override;

    std::optional<HotKeyHandle> registerHotKey(std::uint16_t keyCode, std::uint16_t x11Modifiers,
                                               HotKeyId id) override;
    void unregisterHotKey(HotKeyHandle handle) override;

    // The user presses a registered combination: reports `id` as the desktop would and
    // returns whether the listener took the press.
    bool press(const HotKeyId &id);

    std::shared_ptr<Record> record() const { return m_record; }

private:
    std::shared_ptr<Record> m_record;
    std::uint64_t m_nextHandle = 1;
};

} // namespace lookpane::testing
