#include "capture/x11/CaptureSettings.h"

#include "model/DevicePixels.h"

#include <algorithm>
#include <cmath>

namespace lookpane::x11 {

QRect CaptureSettings::sourcePixels() const
{
    // The pixels that a window laid over the source rectangle covers: the offset from the
    // display's corner and the size each rounded on their own, as Qt places windows. Rounding
    // the four edges instead would make the picture a pixel smaller than the share window
    // whenever the left edge falls on a half pixel.
    const QRect pixels = devicePixelRect(configuration.sourceRect, displayRect.topLeft(), scale);
    return QRect(pixels.topLeft(), QSize(std::clamp(pixels.width(), 1, maximumFrameSide),
                                         std::clamp(pixels.height(), 1, maximumFrameSide)));
}

QSize CaptureSettings::frameSize() const
{
    const auto side = [](std::int64_t value) {
        return static_cast<int>(std::clamp<std::int64_t>(value, 1, maximumFrameSide));
    };
    return QSize(side(configuration.width), side(configuration.height));
}

} // namespace lookpane::x11
