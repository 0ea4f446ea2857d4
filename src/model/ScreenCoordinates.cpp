#include "model/ScreenCoordinates.h"

#include <QGuiApplication>
#include <QScreen>

namespace lookpane {

QRectF designRectFromQt(const QRectF &qtRect, qreal primaryHeight)
{
    return QRectF(qtRect.x(), primaryHeight - (qtRect.y() + qtRect.height()), qtRect.width(),
                  qtRect.height());
}

QRectF qtRectFromDesign(const QRectF &designRect, qreal primaryHeight)
{
    // The flip is its own inverse.
    return designRectFromQt(designRect, primaryHeight);
}

QPointF designPointFromQt(const QPointF &qtPoint, qreal primaryHeight)
{
    return QPointF(qtPoint.x(), primaryHeight - qtPoint.y());
}

QPointF qtPointFromDesign(const QPointF &designPoint, qreal primaryHeight)
{
    return QPointF(designPoint.x(), primaryHeight - designPoint.y());
}

qreal primaryScreenHeight()
{
    const QScreen *primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry().height() : 0.0;
}

} // namespace lookpane
