#pragma once

#include "model/RawEnum.h"

namespace lookpane {

// Strength of the viewers-only privacy blur.
enum class BlurStrength
{
    light,
    strong
};

template <> struct RawEnumTable<BlurStrength>
{
    static constexpr std::array<std::pair<BlurStrength, std::string_view>, 2> entries{{
        {BlurStrength::light, "light"},
        {BlurStrength::strong, "strong"},
    }};
};

// The settings window's titles.
inline QString settingsTitle(BlurStrength strength)
{
    return strength == BlurStrength::light
               ? QStringLiteral("Light — text unreadable, layout visible")
               : QStringLiteral("Strong — nothing legible");
}

} // namespace lookpane
