#pragma once

#include "picture/CapturedFrame.h"

#include <QPoint>
#include <QRect>
#include <QSize>

#include <cstdint>
#include <optional>

namespace lookpane::portal {

// The 32-bit layouts a monitor stream may carry, named by their bytes in memory: BGRx is blue
// first, and the x byte means nothing.
enum class PixelLayout
{
    bgrx,
    rgbx,
    bgra,
    rgba
};

// One picture as a stream buffer holds it; valid only while the buffer is (inside the stream's
// process callback).
struct StreamPicture
{
    const std::uint8_t *pixels = nullptr;
    int width = 0;
    int height = 0;
    int bytesPerRow = 0;
    PixelLayout layout = PixelLayout::bgrx;
};

// Where a monitor's stream lies on the desktop, as the portal's Start answer says: its corner
// in the compositor's logical coordinates (the X root window's pixels under XWayland) and its
// logical size. A stream without them (a single monitor) lies at the origin, one pixel of the
// buffer per logical pixel.
struct StreamPlacement
{
    std::optional<QPoint> position;
    std::optional<QSize> size;
};

// The pixels of a buffer of `bufferSize` that show `rootPixels` (a rectangle of the desktop in
// root pixels), as the buffer scales the monitor's logical size. The result may reach beyond
// the buffer where the region leaves the monitor.
QRect streamPixelsFor(const QRect &rootPixels, const StreamPlacement &placement,
                      const QSize &bufferSize);

// A frame of `frameSize` (at least 1 x 1) showing the pixels `source` of `picture`: copied row
// by row where both sizes agree, else by nearest neighbour. Opaque BGRA whatever the stream's
// layout; black where `source` lies outside the picture. `timestampNs` is the frame's.
CapturedFrame cropPicture(const StreamPicture &picture, const QRect &source, const QSize &frameSize,
                          std::int64_t timestampNs = 0);

// Whether two frames show the same picture (size and every pixel).
bool samePicture(const CapturedFrame &a, const CapturedFrame &b);

} // namespace lookpane::portal
