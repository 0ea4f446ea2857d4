#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace lookpane {

// The identity a hot key is registered under and reported with when pressed: the
// registrant's four-character tag and its own identifier.
struct HotKeyId
{
    std::uint32_t signature = 0;
    std::uint32_t identifier = 0;

    friend bool operator==(const HotKeyId &, const HotKeyId &) = default;
};

// A live registration; only the backend that issued it knows what it stands for.
struct HotKeyHandle
{
    std::uint64_t value = 0;

    friend bool operator==(const HotKeyHandle &, const HotKeyHandle &) = default;
};

// The desktop's system-wide hot-key service. The X11 implementation grabs the key on the
// root window (once per state of Caps Lock, Num Lock and Scroll Lock); tests script one. Main
// thread only.
class HotKeyBackend
{
public:
    virtual ~HotKeyBackend() = default;

    // Binds the physical key `keyCode` (a virtual key code) with exactly the X11 modifier
    // mask `x11Modifiers` (Shift, Control, Mod1, Mod4) system-wide, reported as `id`. None
    // when the combination cannot be had: another client holds it (BadAccess), or this
    // keyboard has no such key.
    virtual std::optional<HotKeyHandle> registerHotKey(std::uint16_t keyCode,
                                                       std::uint16_t x11Modifiers, HotKeyId id) = 0;
    // Releases a registration; a handle that is no longer live is ignored.
    virtual void unregisterHotKey(HotKeyHandle handle) = 0;

    // Installed by the one owner of the backend's presses: called for each press of a
    // registered combination with its id. Returns whether the press was taken; a press that
    // is not the owner's is left for whoever else listens.
    std::function<bool(const HotKeyId &id)> onHotKeyPressed;
};

} // namespace lookpane
