#pragma once

#include <QSizeF>

#include <algorithm>
#include <iosfwd>

// The geometry code's own coordinates: points, global, origin at the bottom-left of the
// primary screen, y growing upwards. Qt's rectangles and points have y growing downwards; the
// types below are distinct from QRectF and QPointF, and neither converts to the other
// implicitly, so mixing the two systems does not compile. ScreenCoordinates converts between
// them. Sizes have no orientation and stay QSizeF.
namespace lookpane {

// A point, y up.
class ScreenPoint
{
public:
    constexpr ScreenPoint() = default;
    constexpr explicit ScreenPoint(double x, double y) : m_x(x), m_y(y) {}

    constexpr double x() const { return m_x; }
    constexpr double y() const { return m_y; }

    friend constexpr bool operator==(const ScreenPoint &, const ScreenPoint &) = default;

private:
    double m_x = 0;
    double m_y = 0;
};

// A displacement, y up: positive dy moves up the screen.
class ScreenOffset
{
public:
    constexpr ScreenOffset() = default;
    constexpr explicit ScreenOffset(double dx, double dy) : m_dx(dx), m_dy(dy) {}

    constexpr double dx() const { return m_dx; }
    constexpr double dy() const { return m_dy; }

    friend constexpr bool operator==(const ScreenOffset &, const ScreenOffset &) = default;

private:
    double m_dx = 0;
    double m_dy = 0;
};

// A rectangle, y up: its origin is the bottom-left corner, so minY is the bottom edge and maxY
// the top edge. Width and height are taken to be non-negative.
class ScreenRect
{
public:
    constexpr ScreenRect() = default;
    constexpr explicit ScreenRect(double minX, double minY, double width, double height)
        : m_x(minX), m_y(minY), m_width(width), m_height(height)
    {}
    constexpr explicit ScreenRect(ScreenPoint origin, QSizeF size)
        : ScreenRect(origin.x(), origin.y(), size.width(), size.height())
    {}

    constexpr double minX() const { return m_x; }
    constexpr double maxX() const { return m_x + m_width; }
    // The bottom edge.
    constexpr double minY() const { return m_y; }
    // The top edge.
    constexpr double maxY() const { return m_y + m_height; }
    constexpr double midX() const { return m_x + m_width * 0.5; }
    constexpr double midY() const { return m_y + m_height * 0.5; }
    constexpr double width() const { return m_width; }
    constexpr double height() const { return m_height; }

    // The bottom-left corner.
    constexpr ScreenPoint origin() const { return ScreenPoint(m_x, m_y); }
    constexpr QSizeF size() const { return QSizeF(m_width, m_height); }
    constexpr ScreenPoint center() const { return ScreenPoint(midX(), midY()); }

    // No area.
    constexpr bool isEmpty() const { return m_width <= 0 || m_height <= 0; }

    // Edges included, as for QRectF; an empty rectangle contains nothing.
    constexpr bool contains(ScreenPoint point) const
    {
        return !isEmpty() && point.x() >= minX() && point.x() <= maxX() && point.y() >= minY() &&
               point.y() <= maxY();
    }

    // Whether the two share an area; rectangles that only touch do not.
    constexpr bool intersects(const ScreenRect &other) const
    {
        return !intersected(other).isEmpty();
    }

    // The common area; the zero rectangle when there is none (as QRectF answers).
    constexpr ScreenRect intersected(const ScreenRect &other) const
    {
        if (isEmpty() || other.isEmpty()) {
            return ScreenRect();
        }
        const double left = std::max(minX(), other.minX());
        const double right = std::min(maxX(), other.maxX());
        const double bottom = std::max(minY(), other.minY());
        const double top = std::min(maxY(), other.maxY());
        if (left >= right || bottom >= top) {
            return ScreenRect();
        }
        return ScreenRect(left, bottom, right - left, top - bottom);
    }

    constexpr ScreenRect translated(ScreenOffset offset) const
    {
        return ScreenRect(m_x + offset.dx(), m_y + offset.dy(), m_width, m_height);
    }

    friend constexpr bool operator==(const ScreenRect &, const ScreenRect &) = default;

private:
    double m_x = 0;
    double m_y = 0;
    double m_width = 0;
    double m_height = 0;
};

// Readable forms for test failures and logs.
std::ostream &operator<<(std::ostream &stream, const ScreenPoint &point);
std::ostream &operator<<(std::ostream &stream, const ScreenOffset &offset);
std::ostream &operator<<(std::ostream &stream, const ScreenRect &rect);

} // namespace lookpane
