#pragma once

#include <QPointF>
#include <QRectF>
#include <QSize>
#include <QSizeF>

#include <optional>

// Interactive resizing of a borderless window from its edges, in Qt's coordinates (y down):
// which edges a press grabs, and the rectangle a drag produces, holding a locked aspect ratio.
namespace lookpane::EdgeResize {

// The edges within `band` of `position` (window coordinates) in a window of `size`.
Qt::Edges edgesAt(const QPointF &position, const QSizeF &size, double band);

// The window rectangle after dragging `edges` of `start` by `delta`. The opposite edges stay
// put; the size never falls below `minimum`; with `aspect` (width : height) the result keeps
// that ratio, the dimension the drag changed most deciding the other.
QRectF resized(const QRectF &start, Qt::Edges edges, const QPointF &delta,
               const std::optional<QSize> &aspect, const QSizeF &minimum);

} // namespace lookpane::EdgeResize
