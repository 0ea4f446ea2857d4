#include "model/DevicePixels.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lookpane {

namespace {

// Far beyond any screen, yet safe to add to a screen's origin in an int.
int toCoordinate(double pixels)
{
    constexpr double limit = std::numeric_limits<int>::max() / 2;
    return static_cast<int>(std::clamp(pixels, -limit, limit));
}

} // namespace

double devicePixelDistance(double points, double scale)
{
    // qRound(d) is floor(d + 0.5) for every d that fits an int; the same without its range.
    return std::floor(points * scale + 0.5);
}

QRect devicePixelRect(const QRectF &rectWithinScreen, const QPoint &screenOrigin, double scale)
{
    return QRect(screenOrigin.x() + toCoordinate(devicePixelDistance(rectWithinScreen.x(), scale)),
                 screenOrigin.y() + toCoordinate(devicePixelDistance(rectWithinScreen.y(), scale)),
                 toCoordinate(devicePixelDistance(rectWithinScreen.width(), scale)),
                 toCoordinate(devicePixelDistance(rectWithinScreen.height(), scale)));
}

} // namespace lookpane
