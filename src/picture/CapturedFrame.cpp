#include "picture/CapturedFrame.h"

#include <cstring>
#include <utility>

namespace lookpane {

CapturedFrame::CapturedFrame(int width, int height, int bytesPerRow, const std::uint8_t *pixels,
                             std::shared_ptr<const void> storage, std::int64_t timestampNs)
    : m_width(width), m_height(height), m_bytesPerRow(bytesPerRow), m_pixels(pixels),
      m_storage(std::move(storage)), m_timestampNs(timestampNs)
{}

CapturedFrame CapturedFrame::fromImage(const QImage &image, std::int64_t timestampNs)
{
    // QImage::Format_RGB32 is 0xffRRGGBB per pixel: B, G, R, A in memory on little-endian.
    QImage converted = image.convertToFormat(QImage::Format_RGB32);
    const int width = converted.width();
    const int height = converted.height();
    const int bytesPerRow = static_cast<int>(converted.bytesPerLine());
    // The pixel data is implicitly shared: the pointer stays valid inside the moved image.
    const std::uint8_t *pixels = converted.constBits();
    std::shared_ptr<const void> storage = std::make_shared<const QImage>(std::move(converted));
    return CapturedFrame(width, height, bytesPerRow, pixels, std::move(storage), timestampNs);
}

CapturedFrame CapturedFrame::withServerPixmap(std::uint32_t pixmap) const
{
    CapturedFrame frame = *this;
    frame.m_serverPixmap = pixmap;
    return frame;
}

QImage CapturedFrame::image() const
{
    if (isNull()) {
        return {};
    }
    // QImage's cleanup hook takes a plain pointer: hand it a heap-held reference to the
    // storage, which the hook frees when the image's last copy goes.
    auto *keepAlive = std::make_unique<std::shared_ptr<const void>>(m_storage).release();
    return QImage(
        m_pixels, m_width, m_height, m_bytesPerRow, QImage::Format_RGB32,
        [](void *info) { delete static_cast<std::shared_ptr<const void> *>(info); }, keepAlive);
}

} // namespace lookpane
