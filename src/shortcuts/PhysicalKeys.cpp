#include "shortcuts/PhysicalKeys.h"

#include "shortcuts/VirtualKeyCode.h"

#include <linux/input-event-codes.h>

#include <array>
#include <utility>

namespace lookpane {

namespace {

constexpr std::uint32_t evdevToXKeycodeOffset = 8;

// (evdev code, virtual key code) for every key position the program knows.
constexpr auto keyPositions = std::to_array<std::pair<std::uint16_t, std::uint16_t>>({
    // Letters.
    {KEY_A, 0},
    {KEY_S, 1},
    {KEY_D, 2},
    {KEY_F, 3},
    {KEY_H, 4},
    {KEY_G, 5},
    {KEY_Z, 6},
    {KEY_X, 7},
    {KEY_C, 8},
    {KEY_V, 9},
    {KEY_B, 11},
    {KEY_Q, 12},
    {KEY_W, 13},
    {KEY_E, 14},
    {KEY_R, 15},
    {KEY_Y, 16},
    {KEY_T, 17},
    {KEY_O, 31},
    {KEY_U, 32},
    {KEY_I, 34},
    {KEY_P, 35},
    {KEY_L, 37},
    {KEY_J, 38},
    {KEY_K, 40},
    {KEY_N, 45},
    {KEY_M, 46},
    // Digits.
    {KEY_1, 18},
    {KEY_2, 19},
    {KEY_3, 20},
    {KEY_4, 21},
    {KEY_6, 22},
    {KEY_5, 23},
    {KEY_9, 25},
    {KEY_7, 26},
    {KEY_8, 28},
    {KEY_0, 29},
    // Punctuation.
    {KEY_EQUAL, 24},
    {KEY_MINUS, 27},
    {KEY_RIGHTBRACE, 30},
    {KEY_LEFTBRACE, 33},
    {KEY_APOSTROPHE, 39},
    {KEY_SEMICOLON, 41},
    {KEY_BACKSLASH, 42},
    {KEY_COMMA, 43},
    {KEY_SLASH, 44},
    {KEY_DOT, 47},
    {KEY_GRAVE, 50},
    // Special keys.
    {KEY_ENTER, VirtualKeyCode::returnKey},
    {KEY_TAB, VirtualKeyCode::tab},
    {KEY_SPACE, VirtualKeyCode::space},
    {KEY_BACKSPACE, VirtualKeyCode::backspace},
    {KEY_ESC, VirtualKeyCode::escape},
    {KEY_DELETE, VirtualKeyCode::forwardDelete},
    {KEY_HOME, VirtualKeyCode::home},
    {KEY_END, VirtualKeyCode::end},
    {KEY_PAGEUP, VirtualKeyCode::pageUp},
    {KEY_PAGEDOWN, VirtualKeyCode::pageDown},
    {KEY_LEFT, VirtualKeyCode::leftArrow},
    {KEY_RIGHT, VirtualKeyCode::rightArrow},
    {KEY_UP, VirtualKeyCode::upArrow},
    {KEY_DOWN, VirtualKeyCode::downArrow},
    {KEY_F1, VirtualKeyCode::f1},
    {KEY_F2, VirtualKeyCode::f2},
    {KEY_F3, VirtualKeyCode::f3},
    {KEY_F4, VirtualKeyCode::f4},
    {KEY_F5, VirtualKeyCode::f5},
    {KEY_F6, VirtualKeyCode::f6},
    {KEY_F7, VirtualKeyCode::f7},
    {KEY_F8, VirtualKeyCode::f8},
    {KEY_F9, VirtualKeyCode::f9},
    {KEY_F10, VirtualKeyCode::f10},
    {KEY_F11, VirtualKeyCode::f11},
    {KEY_F12, VirtualKeyCode::f12},
});
static_assert(keyPositions.size() == 73);

} // namespace

std::optional<std::uint16_t> virtualKeyCodeFromEvdev(std::uint16_t evdevCode)
{
    for (const auto &[evdev, virtualCode] : keyPositions) {
        if (evdev == evdevCode) {
            return virtualCode;
        }
    }
    return std::nullopt;
}

std::optional<std::uint16_t> evdevFromVirtualKeyCode(std::uint16_t virtualKeyCode)
{
    for (const auto &[evdev, virtualCode] : keyPositions) {
        if (virtualCode == virtualKeyCode) {
            return evdev;
        }
    }
    return std::nullopt;
}

std::optional<std::uint16_t> virtualKeyCodeFromXKeycode(std::uint32_t xKeycode)
{
    if (xKeycode < evdevToXKeycodeOffset || xKeycode > 255) {
        return std::nullopt;
    }
    return virtualKeyCodeFromEvdev(static_cast<std::uint16_t>(xKeycode - evdevToXKeycodeOffset));
}

std::optional<std::uint8_t> xKeycodeFromVirtualKeyCode(std::uint16_t virtualKeyCode)
{
    const std::optional<std::uint16_t> evdev = evdevFromVirtualKeyCode(virtualKeyCode);
    if (!evdev || *evdev + evdevToXKeycodeOffset > 255) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(*evdev + evdevToXKeycodeOffset);
}

} // namespace lookpane
