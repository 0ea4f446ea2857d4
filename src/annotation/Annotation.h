#pragma once

#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"

#include <QPointF>

#include <vector>

namespace lookpane {

// One mark: a stroke of one tool in one colour, in unit coordinates of the mirrored region
// (x 0 at the left, 1 at the right; y 0 at the bottom, 1 at the top).
struct Annotation
{
    AnnotationTool tool = AnnotationTool::freehand;
    AnnotationColor color = AnnotationColor::red;
    std::vector<QPointF> points;
    // Stroke width as a fraction of the shorter side of the canvas.
    double unitLineWidth = 0.005;

    // Freehand marks need two samples; the two-point tools need their ends more than 0.004
    // apart in x or in y, so a click without a drag never becomes a shape.
    bool isDrawable() const;

    friend bool operator==(const Annotation &, const Annotation &) = default;
};

} // namespace lookpane
