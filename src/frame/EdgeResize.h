#pragma once

#include <QPointF>
#include <QRectF>
#include <QSize>
#include <QSizeF>

#include <optional>

// Interactive resizing of a borderless window from its edges, in Qt's coordinates (y down):
// which edges a press grabs, and the rectangle a drag produces, holding a locked aspect ratio.
namespace lookpane::EdgeResize {

// How far in from the outline a press on an edge resizes the window, in points: as on the
// border that a window manager draws. The rest of an edge band moves the window.
inline constexpr double resizeGrip = 4;

// The edges within `band` of `position` (window coordinates) in a window of `size`.
Qt::Edges edgesAt(const QPointF &position, const QSizeF &size, double band);

// The edges that a press at `position` resizes, in a window of `size` with edge bands `band`
// wide: both edges of a corner anywhere in a band within 2 × `band` of that corner, one edge
// within `grip` of it, none elsewhere (the rest of a band, and the interior, move).
Qt::Edges resizeEdgesAt(const QPointF &position, const QSizeF &size, double band, double grip);

// The window rectangle after dragging `edges` of `start` by `delta`. The opposite edges stay
// put; the size never falls below `minimum`; with `aspect` (width : height) the result keeps
// that ratio, the dimension the drag changed most deciding the other.
QRectF resized(const QRectF &start, Qt::Edges edges, const QPointF &delta,
               const std::optional<QSize> &aspect, const QSizeF &minimum);

} // namespace lookpane::EdgeResize
