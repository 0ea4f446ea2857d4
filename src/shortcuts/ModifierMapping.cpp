#include "shortcuts/ModifierMapping.h"

#include <algorithm>

namespace lookpane {

std::uint16_t x11Modifiers(const KeyCombo &combo)
{
    std::uint16_t mask = 0;
    if (combo.modifiers & ModifierFlag::command) {
        mask |= X11Modifier::control;
    }
    if (combo.modifiers & ModifierFlag::shift) {
        mask |= X11Modifier::shift;
    }
    if (combo.modifiers & ModifierFlag::option) {
        mask |= X11Modifier::mod1;
    }
    if (combo.modifiers & ModifierFlag::control) {
        mask |= X11Modifier::mod4;
    }
    return mask;
}

LockModifiers lockModifiersFromMap(const std::array<std::vector<std::uint32_t>, 8> &keysyms)
{
    constexpr std::size_t firstModN = 3; // Shift, Lock and Control come first
    constexpr std::uint16_t taken = X11Modifier::mod1 | X11Modifier::mod4;
    const auto bitHolding = [&](std::uint32_t keysym) -> std::uint16_t {
        for (std::size_t index = firstModN; index < keysyms.size(); ++index) {
            const auto bit = static_cast<std::uint16_t>(1u << index);
            if ((bit & taken) == 0 && std::find(keysyms[index].begin(), keysyms[index].end(),
                                                keysym) != keysyms[index].end()) {
                return bit;
            }
        }
        return 0;
    };
    return {bitHolding(X11Keysym::numLock), bitHolding(X11Keysym::scrollLock)};
}

std::vector<std::uint16_t> x11LockVariants(std::uint16_t mask, const LockModifiers &locks)
{
    const std::array<std::uint16_t, 3> lockBits{X11Modifier::lock, locks.numLock, locks.scrollLock};
    std::vector<std::uint16_t> variants;
    for (unsigned subset = 0; subset < (1u << lockBits.size()); ++subset) {
        std::uint16_t variant = mask;
        for (std::size_t bit = 0; bit < lockBits.size(); ++bit) {
            if (subset & (1u << bit)) {
                variant = static_cast<std::uint16_t>(variant | lockBits[bit]);
            }
        }
        if (std::find(variants.begin(), variants.end(), variant) == variants.end()) {
            variants.push_back(variant);
        }
    }
    return variants;
}

std::uint16_t x11SignificantModifiers(std::uint32_t state)
{
    constexpr std::uint32_t significant =
        X11Modifier::shift | X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4;
    return static_cast<std::uint16_t>(state & significant);
}

std::uint64_t modifierFlagsFromX11State(std::uint32_t state)
{
    std::uint64_t flags = 0;
    if (state & X11Modifier::shift) {
        flags |= ModifierFlag::shift;
    }
    if (state & X11Modifier::lock) {
        flags |= ModifierFlag::capsLock;
    }
    if (state & X11Modifier::control) {
        flags |= ModifierFlag::command;
    }
    if (state & X11Modifier::mod1) {
        flags |= ModifierFlag::option;
    }
    if (state & X11Modifier::mod4) {
        flags |= ModifierFlag::control;
    }
    return flags;
}

} // namespace lookpane
