#pragma once

#include "model/KeyCombo.h"

#include <array>
#include <cstdint>
#include <vector>

namespace lookpane {

// The X11 modifier bits the program binds: Shift, Control, Alt (Mod1) and Super (Mod4).
namespace X11Modifier {
inline constexpr std::uint16_t shift = 0x01;   // ShiftMask
inline constexpr std::uint16_t lock = 0x02;    // LockMask (Caps Lock)
inline constexpr std::uint16_t control = 0x04; // ControlMask
inline constexpr std::uint16_t mod1 = 0x08;    // Mod1Mask (Alt)
inline constexpr std::uint16_t mod2 = 0x10;    // Mod2Mask (Num Lock on most maps)
inline constexpr std::uint16_t mod3 = 0x20;    // Mod3Mask
inline constexpr std::uint16_t mod4 = 0x40;    // Mod4Mask (Super)
inline constexpr std::uint16_t mod5 = 0x80;    // Mod5Mask
} // namespace X11Modifier

// The X11 modifier mask a hot key is grabbed with: shift -> Shift, command -> Control,
// option -> Alt (Mod1), control -> Super (Mod4). Other bits of the word are ignored.
std::uint16_t x11Modifiers(const KeyCombo &combo);

// X11 keysyms of the lock keys whose modifier bit depends on the keyboard map.
namespace X11Keysym {
inline constexpr std::uint32_t numLock = 0xff7f;    // XK_Num_Lock
inline constexpr std::uint32_t scrollLock = 0xff14; // XK_Scroll_Lock
} // namespace X11Keysym

// Where the keyboard map puts Num Lock and Scroll Lock: the modifier bit of each, 0 where the
// key drives no modifier. (Caps Lock is always Lock.) Num Lock is Mod2 on nearly every map,
// but nothing guarantees it, and Scroll Lock is often no modifier at all.
struct LockModifiers
{
    std::uint16_t numLock = 0;
    std::uint16_t scrollLock = 0;

    friend bool operator==(const LockModifiers &, const LockModifiers &) = default;
};

// The lock bits of a modifier map given as the keysyms of the keys bound to each of the eight
// modifiers (Shift, Lock, Control, Mod1 ... Mod5, in that order). Only Mod1 to Mod5 count, and
// a lock that shares a bit with Alt (Mod1) or Super (Mod4) is left out: adding that bit to a
// grab would make it another combination rather than the same one with a lock on.
LockModifiers lockModifiersFromMap(const std::array<std::vector<std::uint32_t>, 8> &keysyms);

// The masks a hot key is grabbed with so that it fires whatever the state of Caps Lock, Num
// Lock and Scroll Lock: `mask` with every subset of Lock, `locks.numLock` and
// `locks.scrollLock`, each mask once (8 when both locks are modifiers of their own, 4 when one
// is missing). `mask` itself comes first.
std::vector<std::uint16_t> x11LockVariants(std::uint16_t mask, const LockModifiers &locks);

// The part of a key event's modifier state that tells hot keys apart: Shift, Control, Alt
// and Super; locks, other modifiers and pointer buttons are left out.
std::uint16_t x11SignificantModifiers(std::uint32_t state);

// The modifier flags of a KeyCombo for an X11 key event's modifier state: the reverse
// mapping, plus caps lock for Lock. Num Lock and the other bits have no flag.
std::uint64_t modifierFlagsFromX11State(std::uint32_t state);

} // namespace lookpane
