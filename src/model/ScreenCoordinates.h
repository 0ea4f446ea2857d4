#pragma once

#include "model/ScreenRect.h"

#include <QPointF>
#include <QRectF>

namespace lookpane {

// The one place that converts between the geometry code's coordinates (ScreenRect and its
// kin: points, origin at the bottom-left of the primary screen, y up) and Qt's global
// coordinates (QRectF, QPointF: origin at the top-left of the primary screen, y down).
// `primaryHeight` is the primary screen's height in points.
ScreenRect screenRectFromQt(const QRectF &qtRect, qreal primaryHeight);
QRectF qtRectFromScreen(const ScreenRect &screenRect, qreal primaryHeight);
ScreenPoint screenPointFromQt(const QPointF &qtPoint, qreal primaryHeight);
QPointF qtPointFromScreen(const ScreenPoint &screenPoint, qreal primaryHeight);

// A displacement measured in Qt's coordinates (a mouse drag) turned to y up; it needs no
// height.
ScreenOffset screenOffsetFromQt(const QPointF &qtOffset);

// `rect` relative to the top-left corner of `container`, y down: where a rectangle lies in a
// screen's own pixel grid, in points.
QRectF qtRectWithin(const ScreenRect &rect, const ScreenRect &container);

// The primary screen's height in points; 0 when there is no screen.
qreal primaryScreenHeight();

} // namespace lookpane
