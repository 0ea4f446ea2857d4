#pragma once

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>

#include <optional>
#include <vector>

namespace lookpane {

// Where a rectangle of points lands in device pixels: the one rule that decides the pixels of
// the region for the windows and for the capture alike.
//
// Qt keeps a screen's top-left corner at the same place in points and in device pixels and
// scales only the distances from it, each distance rounded on its own to the nearest pixel,
// halves upwards (qRound): a window `w` points wide covers round(w × scale) pixels wherever it
// lies, and its left edge lies round((x − screen.x) × scale) pixels right of the screen's. The
// capture asks for exactly those pixels, so the share window and the picture it shows are the
// same size at every scale, fractional ones included, and the picture is copied, not stretched.

// A distance of `points` points as device pixels at `scale`: rounded to the nearest whole pixel,
// halves upwards (so 562.5 becomes 563 and -2.5 becomes -2), as Qt rounds window geometry.
double devicePixelDistance(double points, double scale);

// `rectWithinScreen` (points, y down, relative to the screen's top-left corner) in device
// pixels, on a screen whose top-left corner lies at `screenOrigin` device pixels.
QRect devicePixelRect(const QRectF &rectWithinScreen, const QPoint &screenOrigin, double scale);

// A screen as Qt lays points onto its device pixels.
struct DeviceScreen
{
    // The screen in Qt's global coordinates (points). Its top-left corner is also where the
    // screen starts in device pixels.
    QRect geometry;
    // Device pixels per point.
    double scale = 1.0;

    friend bool operator==(const DeviceScreen &, const DeviceScreen &) = default;
};

// The screens of the running application, the primary one first; none without screens.
std::vector<DeviceScreen> currentDeviceScreens();

// The screen whose points hold `qtPoint` (left and top edges included, right and bottom edges
// not, so that neighbours do not share points), else the one nearest to it; none without
// screens. Qt maps the pointer's device pixels to points by the screen the pointer is on, so
// this is the screen a mouse event's global position was mapped by.
std::optional<DeviceScreen> deviceScreenAt(const QPointF &qtPoint,
                                           const std::vector<DeviceScreen> &screens);

// A point of Qt's global coordinates in device pixels, by the screen that holds it. Unlike
// points, device pixels are one continuous space across screens of different scales: the
// pointer moving right from a screen of scale 1 onto one of scale 2 keeps its device y, while
// its y in points halves. Drags are measured there.
QPointF devicePositionFromQt(const QPointF &qtPoint, const std::vector<DeviceScreen> &screens);

// Where a window's top-left corner at `qtTopLeft` (Qt's coordinates) lies in device pixels on
// `screen`, the window's screen.
QPoint devicePixelPosition(const QPoint &qtTopLeft, const DeviceScreen &screen);

// Where a window of `size` points is to be put (its top-left corner in Qt's coordinates) for
// that corner to lie at `device` pixels. Qt maps a window's geometry by the screen that holds
// the window's centre (keeping its current screen while that holds the centre), so the point
// is taken from the first screen that would then hold the centre: `current` first, then the
// others in order. When none would, `current` maps it (the first screen without one).
QPoint qtPositionForDevicePixel(const QPointF &device, const QSize &size,
                                const std::vector<DeviceScreen> &screens,
                                const std::optional<DeviceScreen> &current);

} // namespace lookpane
