#pragma once

#include "model/RawEnum.h"

#include <QColor>

namespace lookpane {

// Swatch colour of a mark.
enum class AnnotationColor
{
    red,
    yellow,
    green,
    blue,
    white
};

template <> struct RawEnumTable<AnnotationColor>
{
    static constexpr std::array<std::pair<AnnotationColor, std::string_view>, 5> entries{{
        {AnnotationColor::red, "red"},
        {AnnotationColor::yellow, "yellow"},
        {AnnotationColor::green, "green"},
        {AnnotationColor::blue, "blue"},
        {AnnotationColor::white, "white"},
    }};
};

// The desktop palette's colours: system red, yellow, green, blue; anything else is white.
QColor color(AnnotationColor value);

} // namespace lookpane
