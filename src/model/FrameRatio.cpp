#include "model/FrameRatio.h"

namespace lookpane {

QString menuTitle(FrameRatio ratio)
{
    switch (ratio) {
    case FrameRatio::free:
        return QStringLiteral("Free");
    case FrameRatio::widescreen:
        return QStringLiteral("16:9");
    case FrameRatio::mac:
        return QStringLiteral("16:10");
    case FrameRatio::classic:
        return QStringLiteral("4:3");
    case FrameRatio::square:
        return QStringLiteral("1:1");
    }
    return {};
}

std::optional<QSize> aspect(FrameRatio ratio)
{
    switch (ratio) {
    case FrameRatio::free:
        return std::nullopt;
    case FrameRatio::widescreen:
        return QSize(16, 9);
    case FrameRatio::mac:
        return QSize(16, 10);
    case FrameRatio::classic:
        return QSize(4, 3);
    case FrameRatio::square:
        return QSize(1, 1);
    }
    return std::nullopt;
}

std::optional<double> ratioValue(FrameRatio ratio)
{
    const std::optional<QSize> pair = aspect(ratio);
    if (!pair) {
        return std::nullopt;
    }
    return static_cast<double>(pair->width()) / static_cast<double>(pair->height());
}

} // namespace lookpane
