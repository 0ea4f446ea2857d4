#include "capture/x11/CaptureSettings.h"

#include <algorithm>
#include <cmath>

namespace lookpane::x11 {

QRect CaptureSettings::sourcePixels() const
{
    const QRectF &points = configuration.sourceRect;
    const double left = displayRect.x() + points.left() * scale;
    const double top = displayRect.y() + points.top() * scale;
    const double right = displayRect.x() + points.right() * scale;
    const double bottom = displayRect.y() + points.bottom() * scale;
    const int x = static_cast<int>(std::lround(left));
    const int y = static_cast<int>(std::lround(top));
    const int width = std::clamp(static_cast<int>(std::lround(right)) - x, 1, maximumFrameSide);
    const int height = std::clamp(static_cast<int>(std::lround(bottom)) - y, 1, maximumFrameSide);
    return QRect(x, y, width, height);
}

QSize CaptureSettings::frameSize() const
{
    const auto side = [](std::int64_t value) {
        return static_cast<int>(std::clamp<std::int64_t>(value, 1, maximumFrameSide));
    };
    return QSize(side(configuration.width), side(configuration.height));
}

} // namespace lookpane::x11
