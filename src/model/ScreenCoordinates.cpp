#include "model/ScreenCoordinates.h"

#include <QGuiApplication>
#include <QScreen>

namespace lookpane {

namespace {

// The primary screen's bottom edge in Qt's coordinates: where y_up is 0.
qreal bottomEdge(const QRectF &primary)
{
    return primary.top() + primary.height();
}

} // namespace

ScreenRect screenRectFromQt(const QRectF &qtRect, const QRectF &primary)
{
    return ScreenRect(qtRect.x() - primary.left(),
                      bottomEdge(primary) - (qtRect.y() + qtRect.height()), qtRect.width(),
                      qtRect.height());
}

QRectF qtRectFromScreen(const ScreenRect &screenRect, const QRectF &primary)
{
    return QRectF(screenRect.minX() + primary.left(), bottomEdge(primary) - screenRect.maxY(),
                  screenRect.width(), screenRect.height());
}

ScreenPoint screenPointFromQt(const QPointF &qtPoint, const QRectF &primary)
{
    return ScreenPoint(qtPoint.x() - primary.left(), bottomEdge(primary) - qtPoint.y());
}

QPointF qtPointFromScreen(const ScreenPoint &screenPoint, const QRectF &primary)
{
    return QPointF(screenPoint.x() + primary.left(), bottomEdge(primary) - screenPoint.y());
}

ScreenOffset screenOffsetFromQt(const QPointF &qtOffset)
{
    return ScreenOffset(qtOffset.x(), -qtOffset.y());
}

QRectF qtRectWithin(const ScreenRect &rect, const ScreenRect &container)
{
    // Across from the container's left edge, down from its top edge to the rectangle's top.
    return QRectF(rect.minX() - container.minX(), container.maxY() - rect.maxY(), rect.width(),
                  rect.height());
}

QRectF primaryScreenGeometry()
{
    const QScreen *primary = QGuiApplication::primaryScreen();
    return primary ? QRectF(primary->geometry()) : QRectF();
}

} // namespace lookpane
