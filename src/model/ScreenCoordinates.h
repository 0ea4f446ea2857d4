#pragma once

#include "model/ScreenRect.h"

#include <QPointF>
#include <QRectF>

namespace lookpane {

// The one place that converts between the geometry code's coordinates (ScreenRect and its
// kin: points, origin at the bottom-left corner of the primary screen, y up) and Qt's global
// coordinates (QRectF, QPointF: origin at the top-left of the whole desktop, the X root
// window, y down; the primary screen need not start there).
//
// `primary` is the primary screen's geometry in Qt's coordinates (P):
//   x_up = x_down - P.left,   y_up = (P.top + P.height) - (y_down + height),
// and back the same way. With no screen, P is the empty rectangle at the origin.
ScreenRect screenRectFromQt(const QRectF &qtRect, const QRectF &primary);
QRectF qtRectFromScreen(const ScreenRect &screenRect, const QRectF &primary);
ScreenPoint screenPointFromQt(const QPointF &qtPoint, const QRectF &primary);
QPointF qtPointFromScreen(const ScreenPoint &screenPoint, const QRectF &primary);

// A displacement measured in Qt's coordinates (a mouse drag) turned to y up; it needs no
// origin.
ScreenOffset screenOffsetFromQt(const QPointF &qtOffset);

// `rect` relative to the top-left corner of `container`, y down: where a rectangle lies in a
// screen's own pixel grid, in points.
QRectF qtRectWithin(const ScreenRect &rect, const ScreenRect &container);

// The primary screen's geometry in Qt's coordinates; the empty rectangle at the origin when
// there is no screen.
QRectF primaryScreenGeometry();

} // namespace lookpane
