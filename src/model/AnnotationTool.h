#pragma once

#include "model/RawEnum.h"

#include <QString>

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

// What the program calls a tool wherever it names one (toolbar tooltips, the settings
// window): "Freehand", "Line", "Arrow", "Rectangle", "Ellipse".
inline QString toolDisplayName(AnnotationTool tool)
{
    switch (tool) {
    case AnnotationTool::freehand:
        return QStringLiteral("Freehand");
    case AnnotationTool::line:
        return QStringLiteral("Line");
    case AnnotationTool::arrow:
        return QStringLiteral("Arrow");
    case AnnotationTool::rectangle:
        return QStringLiteral("Rectangle");
    case AnnotationTool::ellipse:
        return QStringLiteral("Ellipse");
    }
    return {};
}

} // namespace lookpane
