#pragma once

#include "model/RawEnum.h"

namespace lookpane {

enum class AnnotationTool
{
    freehand,
    line,
    arrow,
    rectangle,
    ellipse
};

template <> struct RawEnumTable<AnnotationTool>
{
    static constexpr std::array<std::pair<AnnotationTool, std::string_view>, 5> entries{{
        {AnnotationTool::freehand, "freehand"},
        {AnnotationTool::line, "line"},
        {AnnotationTool::arrow, "arrow"},
        {AnnotationTool::rectangle, "rectangle"},
        {AnnotationTool::ellipse, "ellipse"},
    }};
};

} // namespace lookpane
