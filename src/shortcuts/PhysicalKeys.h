#pragma once

#include <cstdint>
#include <optional>

namespace lookpane {

// Maps physical key positions between the kernel's evdev codes (an X keycode less 8) and
// the stored virtual key codes. Positions, not symbols: a binding stays on the same key
// whatever keyboard layout is active. Covers the letters, digits and punctuation of the US
// ANSI block and the named special keys (Return, Tab, Space, Backspace, Delete, Esc, Home,
// End, Page Up, Page Down, the arrows, F1 to F12); other keys have no virtual key code.
std::optional<std::uint16_t> virtualKeyCodeFromEvdev(std::uint16_t evdevCode);
std::optional<std::uint16_t> evdevFromVirtualKeyCode(std::uint16_t virtualKeyCode);

// The same through X keycodes (evdev + 8), as key events and XGrabKey use them.
std::optional<std::uint16_t> virtualKeyCodeFromXKeycode(std::uint32_t xKeycode);
std::optional<std::uint8_t> xKeycodeFromVirtualKeyCode(std::uint16_t virtualKeyCode);

} // namespace lookpane
