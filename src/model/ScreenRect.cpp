#include "model/ScreenRect.h"

#include <ostream>

namespace lookpane {

std::ostream &operator<<(std::ostream &stream, const ScreenPoint &point)
{
    return stream << "ScreenPoint(x " << point.x() << ", y " << point.y() << ")";
}

std::ostream &operator<<(std::ostream &stream, const ScreenOffset &offset)
{
    return stream << "ScreenOffset(dx " << offset.dx() << ", dy " << offset.dy() << ")";
}

std::ostream &operator<<(std::ostream &stream, const ScreenRect &rect)
{
    return stream << "ScreenRect(minX " << rect.minX() << ", minY " << rect.minY() << ", width "
                  << rect.width() << ", height " << rect.height() << ")";
}

} // namespace lookpane
