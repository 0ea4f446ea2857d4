#include "model/DevicePixels.h"

#include <QGuiApplication>
#include <QScreen>

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

QRectF pointsOf(const DeviceScreen &screen)
{
    return QRectF(screen.geometry.topLeft(), QSizeF(screen.geometry.size()));
}

// Half-open, so that a point on the edge two screens share belongs to one of them.
bool holds(const DeviceScreen &screen, const QPointF &point)
{
    const QRectF area = pointsOf(screen);
    return point.x() >= area.left() && point.x() < area.left() + area.width() &&
           point.y() >= area.top() && point.y() < area.top() + area.height();
}

double distanceTo(const DeviceScreen &screen, const QPointF &point)
{
    const QRectF area = pointsOf(screen);
    const double dx = std::max({area.left() - point.x(), 0.0, point.x() - area.right()});
    const double dy = std::max({area.top() - point.y(), 0.0, point.y() - area.bottom()});
    return std::hypot(dx, dy);
}

double ratioOf(const DeviceScreen &screen)
{
    return screen.scale > 0 ? screen.scale : 1.0;
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

std::vector<DeviceScreen> currentDeviceScreens()
{
    std::vector<DeviceScreen> screens;
    if (!qGuiApp) {
        return screens;
    }
    const QScreen *primary = QGuiApplication::primaryScreen();
    if (primary) {
        screens.push_back({primary->geometry(), primary->devicePixelRatio()});
    }
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen != primary) {
            screens.push_back({screen->geometry(), screen->devicePixelRatio()});
        }
    }
    return screens;
}

std::optional<DeviceScreen> deviceScreenAt(const QPointF &qtPoint,
                                           const std::vector<DeviceScreen> &screens)
{
    const auto holder = std::find_if(screens.begin(), screens.end(),
                                     [&](const DeviceScreen &s) { return holds(s, qtPoint); });
    if (holder != screens.end()) {
        return *holder;
    }
    const auto nearest = std::min_element(
        screens.begin(), screens.end(), [&](const DeviceScreen &a, const DeviceScreen &b) {
            return distanceTo(a, qtPoint) < distanceTo(b, qtPoint);
        });
    if (nearest == screens.end()) {
        return std::nullopt;
    }
    return *nearest;
}

QPointF devicePositionFromQt(const QPointF &qtPoint, const std::vector<DeviceScreen> &screens)
{
    const std::optional<DeviceScreen> screen = deviceScreenAt(qtPoint, screens);
    if (!screen) {
        return qtPoint;
    }
    const QPointF corner(screen->geometry.topLeft());
    return corner + (qtPoint - corner) * ratioOf(*screen);
}

QPoint devicePixelPosition(const QPoint &qtTopLeft, const DeviceScreen &screen)
{
    const QPoint corner = screen.geometry.topLeft();
    const QPoint offset = qtTopLeft - corner;
    return corner + QPoint(toCoordinate(devicePixelDistance(offset.x(), ratioOf(screen))),
                           toCoordinate(devicePixelDistance(offset.y(), ratioOf(screen))));
}

QPoint qtPositionForDevicePixel(const QPointF &device, const QSize &size,
                                const std::vector<DeviceScreen> &screens,
                                const std::optional<DeviceScreen> &current)
{
    const auto mappedBy = [&](const DeviceScreen &screen) {
        const QPointF corner(screen.geometry.topLeft());
        const QPointF point = corner + (device - corner) / ratioOf(screen);
        return QPoint(static_cast<int>(std::floor(point.x() + 0.5)),
                      static_cast<int>(std::floor(point.y() + 0.5)));
    };
    // Qt's choice for a window at that place: the screen holding its centre.
    const auto chosenFor = [&](const DeviceScreen &screen) {
        return screen.geometry.contains(QRect(mappedBy(screen), size).center());
    };
    std::vector<DeviceScreen> candidates;
    if (current) {
        candidates.push_back(*current);
    }
    candidates.insert(candidates.end(), screens.begin(), screens.end());
    for (const DeviceScreen &screen : candidates) {
        if (chosenFor(screen)) {
            return mappedBy(screen);
        }
    }
    if (!candidates.empty()) {
        return mappedBy(candidates.front());
    }
    return QPoint(static_cast<int>(std::floor(device.x() + 0.5)),
                  static_cast<int>(std::floor(device.y() + 0.5)));
}

} // namespace lookpane
