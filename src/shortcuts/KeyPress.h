#pragma once

#include <cstdint>

namespace lookpane {

// A key press as the shortcut matchers see it: the physical key (a virtual key code) and the
// event's modifier flags in the KeyCombo modifier word's bits.
struct KeyPress
{
    std::uint16_t keyCode = 0;
    std::uint64_t modifiers = 0;
};

} // namespace lookpane
