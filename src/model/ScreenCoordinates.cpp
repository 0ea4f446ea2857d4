#include "model/ScreenCoordinates.h"

#include <QGuiApplication>
#include <QScreen>

namespace lookpane {

QRectF screenRectFromQt(const QRectF &qtRect, qreal primaryHeight)
{
    return QRectF(qtRect.x(), primaryHeight - (qtRect.y() + qtRect.height()), qtRect.width(),
                  qtRect.height());
}

QRectF qtRectFromScreen(const QRectF &screenRect, qreal primaryHeight)
{
    // The flip is its own inverse.
    return screenRectFromQt(screenRect, primaryHeight);
}

QPointF screenPointFromQt(const QPointF &qtPoint, qreal primaryHeight)
{
    return QPointF(qtPoint.x(), primaryHeight - qtPoint.y());
}

QPointF qtPointFromScreen(const QPointF &screenPoint, qreal primaryHeight)
{
    return QPointF(screenPoint.x(), primaryHeight - screenPoint.y());
}

qreal primaryScreenHeight()
{
    const QScreen *primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry().height() : 0.0;
}

} // namespace lookpane
