#pragma once

#include "model/RawEnum.h"

#include <cstdint>

namespace lookpane {

// Actions that can be bound to a global hot key.
enum class ShortcutAction
{
    privacyBlur,
    drawingMode,
    clearAnnotations
};

template <> struct RawEnumTable<ShortcutAction>
{
    static constexpr std::array<std::pair<ShortcutAction, std::string_view>, 3> entries{{
        {ShortcutAction::privacyBlur, "privacyBlur"},
        {ShortcutAction::drawingMode, "drawingMode"},
        {ShortcutAction::clearAnnotations, "clearAnnotations"},
    }};
};

// The identifier under which the action's hot key is registered and handled: 1, 2, 3.
constexpr std::uint32_t hotKeyIdentifier(ShortcutAction action)
{
    return static_cast<std::uint32_t>(caseIndex(action)) + 1;
}

} // namespace lookpane
