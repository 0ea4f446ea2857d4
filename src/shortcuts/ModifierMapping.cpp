#include "shortcuts/ModifierMapping.h"

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

std::array<std::uint16_t, 4> x11LockVariants(std::uint16_t mask, std::uint16_t numLockMask)
{
    const auto with = [mask](std::uint16_t extra) {
        return static_cast<std::uint16_t>(mask | extra);
    };
    return {mask, with(X11Modifier::lock), with(numLockMask),
            with(static_cast<std::uint16_t>(X11Modifier::lock | numLockMask))};
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
