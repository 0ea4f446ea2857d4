#include "model/ScreenLayout.h"

#include "model/DevicePixels.h"
#include "model/ScreenCoordinates.h"

#include <QGuiApplication>
#include <QScreen>

namespace lookpane {

ScreenLayout currentScreenLayout()
{
    ScreenLayout layout;
    const QScreen *primary = QGuiApplication::primaryScreen();
    if (!primary) {
        return layout;
    }
    layout.primaryGeometry = QRectF(primary->geometry());
    const auto add = [&](const QScreen *screen) {
        layout.screens.emplace_back(
            screenRectFromQt(QRectF(screen->geometry()), layout.primaryGeometry),
            screenRectFromQt(QRectF(screen->availableGeometry()), layout.primaryGeometry),
            screen->devicePixelRatio());
    };
    // The primary screen comes first, as the window system counts screens.
    add(primary);
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen != primary) {
            add(screen);
        }
    }
    layout.mainIndex = 0;
    return layout;
}

ScreenLayout seenFrom(const ScreenLayout &layout, std::size_t index)
{
    if (index >= layout.screens.size()) {
        return layout;
    }
    const auto ratio = [](double scale) { return scale > 0 ? scale : 1.0; };
    const ScreenLayout::Screen &viewer = layout.screens[index];
    const double viewerScale = ratio(viewer.scale);
    const QPointF viewerCorner = qtRectFromScreen(viewer.frame, layout.primaryGeometry).topLeft();
    ScreenLayout seen = layout;
    for (ScreenLayout::Screen &screen : seen.screens) {
        const double scale = ratio(screen.scale);
        const QPointF corner = qtRectFromScreen(screen.frame, layout.primaryGeometry).topLeft();
        // A rectangle of this screen's points in device pixels, as Qt lays it out, then in the
        // points of the viewing screen.
        const auto viewed = [&](const ScreenRect &rect) {
            const QRectF points = qtRectFromScreen(rect, layout.primaryGeometry);
            const QPointF deviceCorner(
                corner.x() + devicePixelDistance(points.left() - corner.x(), scale),
                corner.y() + devicePixelDistance(points.top() - corner.y(), scale));
            const QSizeF deviceSize(devicePixelDistance(points.width(), scale),
                                    devicePixelDistance(points.height(), scale));
            const QRectF inViewer(viewerCorner + (deviceCorner - viewerCorner) / viewerScale,
                                  deviceSize / viewerScale);
            return screenRectFromQt(inViewer, layout.primaryGeometry);
        };
        screen.frame = viewed(screen.frame);
        screen.visibleFrame = viewed(screen.visibleFrame);
        screen.scale = viewerScale;
    }
    return seen;
}

} // namespace lookpane
