#pragma once

#include "shortcuts/KeyPress.h"

#include <cstdint>
#include <optional>

namespace lookpane {

// The flags a key adds to the modifier word of its own presses, by the key's position (an
// evdev code, the X keycode less 8), in the bits of the KeyCombo modifier word:
// - ModifierFlag::function: the arrows, F1 to F24, Home, End, Page Up, Page Down, Delete,
//   and Insert and Help (Insert sits where Help sits on the keyboards the stored codes come
//   from);
// - ModifierFlag::numericPad: the arrows as well, and every key of the numeric keypad
//   (digits, operators, its decimal point and Enter, Num Lock in the keypad's Clear place).
// Every other key adds nothing. A recorder keeps these flags in the combination it stores,
// so the arrow and function keys store a word with them in it.
std::uint64_t keyEventFlags(std::uint16_t evdevCode);

// The same for an X keycode as key events carry it (nativeScanCode() on xcb).
std::uint64_t keyEventFlagsFromXKeycode(std::uint32_t xKeycode);

// A key press as the shortcut code sees it, from an X key event's keycode and modifier state:
// the key's position as a virtual key code, and the modifier word made of the state's
// modifiers (Shift, Ctrl as command, Alt as option, Super as control, Caps Lock) and the
// key's own flags. None for a key that has no virtual key code.
std::optional<KeyPress> keyPressFromX11(std::uint32_t xKeycode, std::uint32_t state);

} // namespace lookpane
