#include "model/ScreenCoordinates.h"

#include <QGuiApplication>
#include <QScreen>

namespace lookpane {

// y_up = primaryHeight - (y_down + height), and back the same way: the flip is its own inverse.

ScreenRect screenRectFromQt(const QRectF &qtRect, qreal primaryHeight)
{
    return ScreenRect(qtRect.x(), primaryHeight - (qtRect.y() + qtRect.height()), qtRect.width(),
                      qtRect.height());
}

QRectF qtRectFromScreen(const ScreenRect &screenRect, qreal primaryHeight)
{
    return QRectF(screenRect.minX(), primaryHeight - screenRect.maxY(), screenRect.width(),
                  screenRect.height());
}

ScreenPoint screenPointFromQt(const QPointF &qtPoint, qreal primaryHeight)
{
    return ScreenPoint(qtPoint.x(), primaryHeight - qtPoint.y());
}

QPointF qtPointFromScreen(const ScreenPoint &screenPoint, qreal primaryHeight)
{
    return QPointF(screenPoint.x(), primaryHeight - screenPoint.y());
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

qreal primaryScreenHeight()
{
    const QScreen *primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry().height() : 0.0;
}

} // namespace lookpane
