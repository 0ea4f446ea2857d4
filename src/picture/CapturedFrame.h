#pragma once

#include <QImage>

#include <cstdint>
#include <memory>

namespace lookpane {

// One captured picture: an immutable BGRA image (8 bits a channel, blue first in memory,
// opaque) shared by reference. The pixels live in whatever storage the producer handed over
// (a shared-memory segment, a heap block); `storage` keeps it alive for as long as any copy
// of the frame exists, so frames are cheap to pass between threads.
class CapturedFrame
{
public:
    CapturedFrame() = default;

    // Wraps pixels that `storage` keeps alive; the producer must not change them afterwards.
    CapturedFrame(int width, int height, int bytesPerRow, const std::uint8_t *pixels,
                  std::shared_ptr<const void> storage, std::int64_t timestampNs = 0);

    // A frame that owns a copy of `image` (converted to BGRA). Mostly for tests and tools.
    static CapturedFrame fromImage(const QImage &image, std::int64_t timestampNs = 0);

    bool isNull() const { return m_pixels == nullptr; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int bytesPerRow() const { return m_bytesPerRow; }
    const std::uint8_t *pixels() const { return m_pixels; }
    // Monotonic clock (CLOCK_MONOTONIC, nanoseconds) at the moment the pixels were read;
    // 0 when unknown.
    std::int64_t timestampNs() const { return m_timestampNs; }

    // The pixels as a QImage (Format_RGB32) that shares this frame's memory and keeps it
    // alive; no copy is made.
    QImage image() const;

    // Where the display server holds these same pixels, so that a window of the same server
    // can be painted from them without the pixels crossing to this process: on X11 a 32-bit
    // pixmap of the frame's size. 0 when there is none (a frame made from an image, one read
    // with a plain GetImage). The producer keeps it alive and unchanged while any copy of this
    // frame exists, for as long as its own connection lasts.
    std::uint32_t serverPixmap() const { return m_serverPixmap; }
    // This frame, its pixels also held by the display server as `pixmap`.
    CapturedFrame withServerPixmap(std::uint32_t pixmap) const;

private:
    int m_width = 0;
    int m_height = 0;
    int m_bytesPerRow = 0;
    const std::uint8_t *m_pixels = nullptr;
    std::shared_ptr<const void> m_storage;
    std::int64_t m_timestampNs = 0;
    std::uint32_t m_serverPixmap = 0;
};

} // namespace lookpane
