#pragma once

#include <QPoint>
#include <QRect>
#include <QRectF>

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

} // namespace lookpane
