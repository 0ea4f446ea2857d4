#pragma once

#include "model/KeyCombo.h"

#include <array>
#include <cstdint>

namespace lookpane {

// The X11 modifier bits the program binds: Shift, Control, Alt (Mod1) and Super (Mod4).
namespace X11Modifier {
inline constexpr std::uint16_t shift = 0x01;   // ShiftMask
inline constexpr std::uint16_t lock = 0x02;    // LockMask (Caps Lock)
inline constexpr std::uint16_t control = 0x04; // ControlMask
inline constexpr std::uint16_t mod1 = 0x08;    // Mod1Mask (Alt)
inline constexpr std::uint16_t mod2 = 0x10;    // Mod2Mask (Num Lock)
inline constexpr std::uint16_t mod4 = 0x40;    // Mod4Mask (Super)
} // namespace X11Modifier

// The X11 modifier mask a hot key is grabbed with: shift -> Shift, command -> Control,
// option -> Alt (Mod1), control -> Super (Mod4). Other bits of the word are ignored.
std::uint16_t x11Modifiers(const KeyCombo &combo);

// The four masks a hot key is grabbed with so that it fires whether Caps Lock and Num Lock
// are on or off: `mask` alone, with Lock, with Num Lock, with both. Num Lock is Mod2 on
// nearly every keyboard map; callers that read the map pass what it says.
std::array<std::uint16_t, 4> x11LockVariants(std::uint16_t mask,
                                             std::uint16_t numLockMask = X11Modifier::mod2);

// The part of a key event's modifier state that tells hot keys apart: Shift, Control, Alt
// and Super; locks, other modifiers and pointer buttons are left out.
std::uint16_t x11SignificantModifiers(std::uint32_t state);

// The modifier flags of a KeyCombo for an X11 key event's modifier state: the reverse
// mapping, plus caps lock for Lock. Num Lock and the other bits have no flag.
std::uint64_t modifierFlagsFromX11State(std::uint32_t state);

} // namespace lookpane
