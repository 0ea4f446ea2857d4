#pragma once

#include "model/RawEnum.h"

#include <QSize>

#include <optional>

namespace lookpane {

// Aspect lock of the frame. `mac` is the 16:10 lock; its name and stored string are kept.
enum class FrameRatio
{
    free,
    widescreen,
    mac,
    classic,
    square
};

template <> struct RawEnumTable<FrameRatio>
{
    static constexpr std::array<std::pair<FrameRatio, std::string_view>, 5> entries{{
        {FrameRatio::free, "free"},
        {FrameRatio::widescreen, "widescreen"},
        {FrameRatio::mac, "mac"},
        {FrameRatio::classic, "classic"},
        {FrameRatio::square, "square"},
    }};
};

// "Free", "16:9", "16:10", "4:3", "1:1".
QString menuTitle(FrameRatio ratio);

// The width : height pair handed to the window system; none for `free`.
std::optional<QSize> aspect(FrameRatio ratio);

// Width divided by height in double precision; none for `free`, which is no constraint.
std::optional<double> ratioValue(FrameRatio ratio);

} // namespace lookpane
