#include "capture/portal/StreamPicture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace lookpane::portal {

namespace {

constexpr int bytesPerPixel = 4;

// Writes `count` pixels of `layout` as opaque BGRA.
void convertRow(const std::uint8_t *from, std::uint8_t *to, int count, PixelLayout layout)
{
    switch (layout) {
    case PixelLayout::bgrx:
    case PixelLayout::bgra:
        std::memcpy(to, from, static_cast<std::size_t>(count) * bytesPerPixel);
        for (int i = 0; i < count; ++i) {
            to[i * bytesPerPixel + 3] = 0xff;
        }
        return;
    case PixelLayout::rgbx:
    case PixelLayout::rgba:
        for (int i = 0; i < count; ++i) {
            const std::uint8_t *pixel = from + i * bytesPerPixel;
            std::uint8_t *out = to + i * bytesPerPixel;
            out[0] = pixel[2];
            out[1] = pixel[1];
            out[2] = pixel[0];
            out[3] = 0xff;
        }
        return;
    }
}

void convertPixel(const std::uint8_t *from, std::uint8_t *to, PixelLayout layout)
{
    convertRow(from, to, 1, layout);
}

} // namespace

QRect streamPixelsFor(const QRect &rootPixels, const StreamPlacement &placement,
                      const QSize &bufferSize)
{
    const QPoint origin = placement.position.value_or(QPoint(0, 0));
    const QSize logical =
        placement.size && !placement.size->isEmpty() ? *placement.size : bufferSize;
    if (logical.isEmpty() || bufferSize.isEmpty()) {
        return rootPixels.translated(-origin);
    }
    // A monitor scaled by the compositor sends more pixels than its logical size.
    const double scaleX = static_cast<double>(bufferSize.width()) / logical.width();
    const double scaleY = static_cast<double>(bufferSize.height()) / logical.height();
    const QRect relative = rootPixels.translated(-origin);
    const int left = static_cast<int>(std::lround(relative.x() * scaleX));
    const int top = static_cast<int>(std::lround(relative.y() * scaleY));
    const int width = std::max(1, static_cast<int>(std::lround(relative.width() * scaleX)));
    const int height = std::max(1, static_cast<int>(std::lround(relative.height() * scaleY)));
    return QRect(left, top, width, height);
}

CapturedFrame cropPicture(const StreamPicture &picture, const QRect &source, const QSize &frameSize,
                          std::int64_t timestampNs)
{
    const int width = std::max(1, frameSize.width());
    const int height = std::max(1, frameSize.height());
    const int bytesPerRow = width * bytesPerPixel;
    // Zeroed, then made opaque: what lies outside the picture is black.
    auto storage = std::make_shared<std::vector<std::uint8_t>>(
        static_cast<std::size_t>(bytesPerRow) * static_cast<std::size_t>(height), 0);
    std::uint8_t *out = storage->data();
    for (std::size_t i = 3; i < storage->size(); i += bytesPerPixel) {
        out[i] = 0xff;
    }
    const QRect bounds(0, 0, picture.width, picture.height);
    if (picture.pixels && !bounds.isEmpty() && !source.isEmpty()) {
        if (source.size() == QSize(width, height)) {
            const QRect inside = source.intersected(bounds);
            for (int y = inside.top(); y <= inside.bottom(); ++y) {
                const std::uint8_t *from =
                    picture.pixels + static_cast<std::ptrdiff_t>(y) * picture.bytesPerRow +
                    static_cast<std::ptrdiff_t>(inside.left()) * bytesPerPixel;
                std::uint8_t *to =
                    out + static_cast<std::ptrdiff_t>(y - source.top()) * bytesPerRow +
                    static_cast<std::ptrdiff_t>(inside.left() - source.left()) * bytesPerPixel;
                convertRow(from, to, inside.width(), picture.layout);
            }
        } else {
            for (int y = 0; y < height; ++y) {
                const int sourceY =
                    source.top() +
                    static_cast<int>((static_cast<std::int64_t>(y) * source.height()) / height);
                if (sourceY < 0 || sourceY >= picture.height) {
                    continue;
                }
                const std::uint8_t *row =
                    picture.pixels + static_cast<std::ptrdiff_t>(sourceY) * picture.bytesPerRow;
                std::uint8_t *to = out + static_cast<std::ptrdiff_t>(y) * bytesPerRow;
                for (int x = 0; x < width; ++x) {
                    const int sourceX =
                        source.left() +
                        static_cast<int>((static_cast<std::int64_t>(x) * source.width()) / width);
                    if (sourceX < 0 || sourceX >= picture.width) {
                        continue;
                    }
                    convertPixel(row + static_cast<std::ptrdiff_t>(sourceX) * bytesPerPixel,
                                 to + static_cast<std::ptrdiff_t>(x) * bytesPerPixel,
                                 picture.layout);
                }
            }
        }
    }
    const std::uint8_t *pixels = storage->data();
    return CapturedFrame(width, height, bytesPerRow, pixels, std::move(storage), timestampNs);
}

bool samePicture(const CapturedFrame &a, const CapturedFrame &b)
{
    if (a.isNull() || b.isNull() || a.width() != b.width() || a.height() != b.height()) {
        return false;
    }
    const std::size_t rowBytes = static_cast<std::size_t>(a.width()) * bytesPerPixel;
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.pixels() + static_cast<std::ptrdiff_t>(y) * a.bytesPerRow(),
                        b.pixels() + static_cast<std::ptrdiff_t>(y) * b.bytesPerRow(),
                        rowBytes) != 0) {
            return false;
        }
    }
    return true;
}

} // namespace lookpane::portal
