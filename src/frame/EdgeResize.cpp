#include "frame/EdgeResize.h"

#include <algorithm>
#include <cmath>

namespace lookpane::EdgeResize {

Qt::Edges edgesAt(const QPointF &position, const QSizeF &size, double band)
{
    Qt::Edges edges;
    if (position.x() < band) {
        edges |= Qt::LeftEdge;
    } else if (position.x() >= size.width() - band) {
        edges |= Qt::RightEdge;
    }
    if (position.y() < band) {
        edges |= Qt::TopEdge;
    } else if (position.y() >= size.height() - band) {
        edges |= Qt::BottomEdge;
    }
    return edges;
}

Qt::Edges resizeEdgesAt(const QPointF &position, const QSizeF &size, double band, double grip)
{
    if (edgesAt(position, size, band)) {
        // Near a corner the whole band takes that corner, so that it is easy to hit.
        const QSizeF reach(std::min(2 * band, size.width() / 2),
                           std::min(2 * band, size.height() / 2));
        Qt::Edges horizontal;
        if (position.x() < reach.width()) {
            horizontal = Qt::LeftEdge;
        } else if (position.x() >= size.width() - reach.width()) {
            horizontal = Qt::RightEdge;
        }
        Qt::Edges vertical;
        if (position.y() < reach.height()) {
            vertical = Qt::TopEdge;
        } else if (position.y() >= size.height() - reach.height()) {
            vertical = Qt::BottomEdge;
        }
        if (horizontal && vertical) {
            return horizontal | vertical;
        }
    }
    return edgesAt(position, size, grip);
}

QRectF resized(const QRectF &start, Qt::Edges edges, const QPointF &delta,
               const std::optional<QSize> &aspect, const QSizeF &minimum)
{
    double width = start.width();
    double height = start.height();
    if (edges & Qt::LeftEdge) {
        width -= delta.x();
    } else if (edges & Qt::RightEdge) {
        width += delta.x();
    }
    if (edges & Qt::TopEdge) {
        height -= delta.y();
    } else if (edges & Qt::BottomEdge) {
        height += delta.y();
    }
    width = std::max(width, minimum.width());
    height = std::max(height, minimum.height());

    if (aspect && aspect->width() > 0 && aspect->height() > 0) {
        const double ratio = static_cast<double>(aspect->width()) / aspect->height();
        const bool horizontal = edges & (Qt::LeftEdge | Qt::RightEdge);
        const bool vertical = edges & (Qt::TopEdge | Qt::BottomEdge);
        const bool widthLeads =
            horizontal && (!vertical || std::abs(width - start.width()) / ratio >=
                                            std::abs(height - start.height()));
        if (widthLeads) {
            height = width / ratio;
        } else {
            width = height * ratio;
        }
        if (width < minimum.width()) {
            width = minimum.width();
            height = width / ratio;
        }
        if (height < minimum.height()) {
            height = minimum.height();
            width = height * ratio;
        }
    }

    const double x = (edges & Qt::LeftEdge) ? start.x() + start.width() - width : start.x();
    const double y = (edges & Qt::TopEdge) ? start.y() + start.height() - height : start.y();
    return QRectF(x, y, width, height);
}

} // namespace lookpane::EdgeResize
