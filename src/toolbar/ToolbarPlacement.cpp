// Where the toolbar goes relative to the frame: a pure function of the two rectangles.
#include "toolbar/FrameToolbarWindowController.h"

#include <algorithm>

namespace lookpane {

namespace {

constexpr qreal toolbarGap = 10.0;
constexpr qreal screenMargin = 4.0;

} // namespace

QPointF FrameToolbarWindowController::origin(QSizeF size, QRectF frame,
                                             std::optional<QRectF> visibleFrame)
{
    // Rectangles here have y growing upwards: y() is the bottom edge, y() + height() the top.
    const auto minX = [](const QRectF &r) { return r.x(); };
    const auto maxX = [](const QRectF &r) { return r.x() + r.width(); };
    const auto minY = [](const QRectF &r) { return r.y(); };
    const auto maxY = [](const QRectF &r) { return r.y() + r.height(); };
    const qreal w = size.width();
    const qreal h = size.height();
    qreal x = frame.center().x() - w * 0.5;
    qreal y = minY(frame) - toolbarGap - h;
    if (!visibleFrame) {
        return {x, y};
    }
    const QRectF &v = *visibleFrame;
    if (y < minY(v)) {
        y = maxY(frame) + toolbarGap;
        if (y + h > maxY(v)) {
            y = minY(frame) + toolbarGap;
        }
    }
    // The lower bound first: a panel wider than the area ends at its upper bound.
    x = std::min(std::max(x, minX(v) + screenMargin), maxX(v) - w - screenMargin);
    y = std::min(std::max(y, minY(v) + screenMargin), maxY(v) - h - screenMargin);
    return {x, y};
}

} // namespace lookpane
