#pragma once

#include <QPointF>
#include <QRectF>

namespace lookpane {

// The one place that converts between the geometry code's coordinates (points, origin at the
// bottom-left of the primary screen, y up) and Qt's global coordinates (origin at the top-left
// of the primary screen, y down). `primaryHeight` is the primary screen's height in points.
QRectF screenRectFromQt(const QRectF &qtRect, qreal primaryHeight);
QRectF qtRectFromScreen(const QRectF &screenRect, qreal primaryHeight);
QPointF screenPointFromQt(const QPointF &qtPoint, qreal primaryHeight);
QPointF qtPointFromScreen(const QPointF &screenPoint, qreal primaryHeight);

// The primary screen's height in points; 0 when there is no screen.
qreal primaryScreenHeight();

} // namespace lookpane
