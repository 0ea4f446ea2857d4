#include "ScriptedHotKeyBackend.h"

#include <algorithm>

namespace lookpane::testing {

ScriptedHotKeyBackend::~ScriptedHotKeyBackend()
{
    m_record->destroyedWhileListened = static_cast<bool>(onHotKeyPressed);
}

std::optional<HotKeyHandle> ScriptedHotKeyBackend::registerHotKey(std::uint16_t keyCode,
                                                                  std::uint16_t x11Modifiers,
                                                                  HotKeyId id)
{
    ++m_record->registerCalls;
    if (m_record->taken.contains({keyCode, x11Modifiers})) {
        return std::nullopt;
    }
    const HotKeyHandle handle{m_nextHandle++};
    m_record->live.push_back({keyCode, x11Modifiers, id, handle});
    return handle;
}

void ScriptedHotKeyBackend::unregisterHotKey(HotKeyHandle handle)
{
    ++m_record->unregisterCalls;
    std::vector<Registration> &live = m_record->live;
    const auto found = std::find_if(live.begin(), live.end(), [&](const Registration &entry) {
        return entry.handle == handle;
    });
    if (found == live.end()) {
        ++m_record->staleUnregisterCalls;
        return;
    }
    live.erase(found);
}

bool ScriptedHotKeyBackend::press(const HotKeyId &id)
{
    return onHotKeyPressed ? onHotKeyPressed(id) : false;
}

} // namespace lookpane::testing
