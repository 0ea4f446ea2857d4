// Where the toolbar goes relative to the frame: a pure function of the two rectangles.
#include "toolbar/FrameToolbarWindowController.h"

#include <algorithm>

namespace lookpane {

namespace {

constexpr qreal toolbarGap = 10.0;
constexpr qreal screenMargin = 4.0;

} // namespace

ScreenPoint FrameToolbarWindowController::origin(QSizeF size, ScreenRect frame,
                                                 std::optional<ScreenRect> visibleFrame)
{
    const qreal w = size.width();
    const qreal h = size.height();
    qreal x = frame.midX() - w * 0.5;
    qreal y = frame.minY() - toolbarGap - h;
    if (!visibleFrame) {
        return ScreenPoint(x, y);
    }
    const ScreenRect &v = *visibleFrame;
    if (y < v.minY()) {
        y = frame.maxY() + toolbarGap;
        if (y + h > v.maxY()) {
            y = frame.minY() + toolbarGap;
        }
    }
    // The lower bound first: a panel wider than the area ends at its upper bound.
    x = std::min(std::max(x, v.minX() + screenMargin), v.maxX() - w - screenMargin);
    y = std::min(std::max(y, v.minY() + screenMargin), v.maxY() - h - screenMargin);
    return ScreenPoint(x, y);
}

} // namespace lookpane
