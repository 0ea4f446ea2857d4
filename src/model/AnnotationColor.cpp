#include "model/AnnotationColor.h"

#include "model/SystemColors.h"

namespace lookpane {

QColor color(AnnotationColor value)
{
    switch (value) {
    case AnnotationColor::red:
        return SystemColors::red;
    case AnnotationColor::yellow:
        return SystemColors::yellow;
    case AnnotationColor::green:
        return SystemColors::green;
    case AnnotationColor::blue:
        return SystemColors::blue;
    case AnnotationColor::white:
        break;
    }
    return SystemColors::white;
}

} // namespace lookpane
