#pragma once

#include <cstdint>

namespace lookpane {

// Modifier bits of a KeyCombo's modifier word. On Linux: shift = Shift, option = Alt,
// command = Ctrl, control = Super.
namespace ModifierFlag {
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
// Shift, control, option, command: what matching compares.
inline constexpr std::uint64_t matchMask = 0x1E0000;
// Control, option, command: a global hot key needs at least one of these.
inline constexpr std::uint64_t hotKeyMask = 0x1C0000;
// The device-independent flag bits: what a recorder stores.
inline constexpr std::uint64_t deviceIndependentMask = 0xFFFF0000;
// Carried by arrow, function and keypad keys.
inline constexpr std::uint64_t numericPad = 0x200000;
inline constexpr std::uint64_t function = 0x800000;
inline constexpr std::uint64_t capsLock = 0x10000;
} // namespace ModifierFlag

// One recorded key combination: a physical key position (virtual key code, 0 = A) and the
// raw modifier word. Equal only when both values are equal as a whole; producers strip
// meaningless flag bits before making one.
struct KeyCombo
{
    std::uint16_t keyCode = 0;
    std::uint64_t modifiers = 0;

    friend bool operator==(const KeyCombo &, const KeyCombo &) = default;
};

} // namespace lookpane
