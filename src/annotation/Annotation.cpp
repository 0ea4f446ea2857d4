#include "annotation/Annotation.h"

#include <cmath>

namespace lookpane {

bool Annotation::isDrawable() const
{
    if (tool == AnnotationTool::freehand) {
        return points.size() >= 2;
    }
    if (points.size() < 2) {
        return false;
    }
    const QPointF &first = points[0];
    const QPointF &second = points[1];
    return std::abs(first.x() - second.x()) > 0.004 || std::abs(first.y() - second.y()) > 0.004;
}

} // namespace lookpane
