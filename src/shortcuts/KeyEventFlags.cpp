#include "shortcuts/KeyEventFlags.h"

#include "model/KeyCombo.h"
#include "shortcuts/ModifierMapping.h"
#include "shortcuts/PhysicalKeys.h"

#include <linux/input-event-codes.h>

#include <array>
#include <utility>

namespace lookpane {

namespace {

constexpr std::uint32_t evdevToXKeycodeOffset = 8;

constexpr std::uint64_t functionKey = ModifierFlag::function;
constexpr std::uint64_t keypadKey = ModifierFlag::numericPad;
// The arrows count as both: they are the navigation keys and share the keypad's cluster.
constexpr std::uint64_t arrowKey = ModifierFlag::function | ModifierFlag::numericPad;

// (evdev code, flags) for every key that adds flags to its presses.
constexpr auto flaggedKeys = std::to_array<std::pair<std::uint16_t, std::uint64_t>>({
    // Arrows.
    {KEY_LEFT, arrowKey},
    {KEY_RIGHT, arrowKey},
    {KEY_UP, arrowKey},
    {KEY_DOWN, arrowKey},
    // Function keys.
    {KEY_F1, functionKey},
    {KEY_F2, functionKey},
    {KEY_F3, functionKey},
    {KEY_F4, functionKey},
    {KEY_F5, functionKey},
    {KEY_F6, functionKey},
    {KEY_F7, functionKey},
    {KEY_F8, functionKey},
    {KEY_F9, functionKey},
    {KEY_F10, functionKey},
    {KEY_F11, functionKey},
    {KEY_F12, functionKey},
    {KEY_F13, functionKey},
    {KEY_F14, functionKey},
    {KEY_F15, functionKey},
    {KEY_F16, functionKey},
    {KEY_F17, functionKey},
    {KEY_F18, functionKey},
    {KEY_F19, functionKey},
    {KEY_F20, functionKey},
    {KEY_F21, functionKey},
    {KEY_F22, functionKey},
    {KEY_F23, functionKey},
    {KEY_F24, functionKey},
    // The navigation block above the arrows.
    {KEY_INSERT, functionKey},
    {KEY_HELP, functionKey},
    {KEY_DELETE, functionKey},
    {KEY_HOME, functionKey},
    {KEY_END, functionKey},
    {KEY_PAGEUP, functionKey},
    {KEY_PAGEDOWN, functionKey},
    // The numeric keypad.
    {KEY_NUMLOCK, keypadKey},
    {KEY_KPSLASH, keypadKey},
    {KEY_KPASTERISK, keypadKey},
    {KEY_KPMINUS, keypadKey},
    {KEY_KPPLUS, keypadKey},
    {KEY_KPENTER, keypadKey},
    {KEY_KPDOT, keypadKey},
    {KEY_KPCOMMA, keypadKey},
    {KEY_KPEQUAL, keypadKey},
    {KEY_KP0, keypadKey},
    {KEY_KP1, keypadKey},
    {KEY_KP2, keypadKey},
    {KEY_KP3, keypadKey},
    {KEY_KP4, keypadKey},
    {KEY_KP5, keypadKey},
    {KEY_KP6, keypadKey},
    {KEY_KP7, keypadKey},
    {KEY_KP8, keypadKey},
    {KEY_KP9, keypadKey},
});

} // namespace

std::uint64_t keyEventFlags(std::uint16_t evdevCode)
{
    for (const auto &[evdev, flags] : flaggedKeys) {
        if (evdev == evdevCode) {
            return flags;
        }
    }
    return 0;
}

std::uint64_t keyEventFlagsFromXKeycode(std::uint32_t xKeycode)
{
    if (xKeycode < evdevToXKeycodeOffset || xKeycode > 255) {
        return 0;
    }
    return keyEventFlags(static_cast<std::uint16_t>(xKeycode - evdevToXKeycodeOffset));
}

std::optional<KeyPress> keyPressFromX11(std::uint32_t xKeycode, std::uint32_t state)
{
    const std::optional<std::uint16_t> keyCode = virtualKeyCodeFromXKeycode(xKeycode);
    if (!keyCode) {
        return std::nullopt;
    }
    return KeyPress{*keyCode,
                    modifierFlagsFromX11State(state) | keyEventFlagsFromXKeycode(xKeycode)};
}

} // namespace lookpane
