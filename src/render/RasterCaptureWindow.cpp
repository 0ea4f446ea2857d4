#include "render/RasterCaptureWindow.h"

#include "picture/PictureStretch.h"

#include <QPaintEngine>
#include <QPainter>

#include <cstring>

namespace lookpane {

namespace {

// What a blurred view shows when its blur cannot be made: never the picture.
const QColor failSafeColour(10, 10, 13);

} // namespace

RasterCaptureWindow::RasterCaptureWindow() : CaptureSurface(this)
{
    setFlag(Qt::WindowTransparentForInput);
    // Opaque where the window system allows: a backing store with alpha is cleared before
    // every paint, a full-size fill.
    QSurfaceFormat opaque = format();
    opaque.setAlphaBufferSize(0);
    setFormat(opaque);
}

bool RasterCaptureWindow::blurInto(QImage &target, DrawResult &drawn)
{
    const RenderSettings &settings = renderSettings();
    const std::optional<QImage> picture = m_blur.blur(
        frame(), settings.blurBlockPoints, settings.captureScale, maximumMipChainSide(), drawn);
    if (!picture) {
        return false;
    }
    stretchPicture(picture->constBits(), picture->width(), picture->height(),
                   static_cast<int>(picture->bytesPerLine()), target.bits(), target.width(),
                   target.height(), static_cast<int>(target.bytesPerLine()));
    return true;
}

void RasterCaptureWindow::paintEvent(QPaintEvent *)
{
    DrawResult &drawn = startDraw();
    const QSize pixels = size() * devicePixelRatio();
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const QRectF bounds(QPointF(0, 0), QSizeF(size()));
    setRenderedFrame(false);
    if (frame().isNull() || pixels.isEmpty()) {
        painter.fillRect(bounds, Qt::black);
        drawn = DrawResult{};
    } else if (renderSettings().blurEnabled) {
        // Stretched straight into the backing store where it is a plain 32-bit image of the
        // window's size (it is, with the raster backing store); else through an image here.
        QPaintDevice *device = painter.paintEngine()->paintDevice();
        QImage *store = device != nullptr && device->devType() == QInternal::Image
                            ? static_cast<QImage *>(device)
                            : nullptr;
        const bool direct = store != nullptr && store->size() == pixels &&
                            (store->format() == QImage::Format_RGB32 ||
                             store->format() == QImage::Format_ARGB32_Premultiplied);
        if (!direct && m_stretched.size() != pixels) {
            m_stretched = QImage(pixels, QImage::Format_RGB32);
        }
        if (blurInto(direct ? *store : m_stretched, drawn)) {
            if (!direct) {
                painter.drawImage(bounds, m_stretched);
            }
        } else {
            painter.fillRect(bounds, failSafeColour);
        }
        setRenderedFrame(true);
    } else {
        paintPicture(painter, bounds, frame().image(), pixels);
        drawn = DrawResult{};
        drawn.drewPicture = true;
        setRenderedFrame(true);
    }
    if (overlayPainter()) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        overlayPainter()(painter, bounds.size());
    }
    painter.end();
    // The backing store is flushed when this paint returns.
    reportPresentedAfterPaint();
}

namespace {

// Copies an opaque 32-bit `picture` row by row into the raster device `painter` paints on,
// where the picture lies pixel for pixel at a whole-pixel offset: every 32-bit pixel of it is
// also an opaque premultiplied one, so the bytes need no conversion. Only what the painter may
// touch (its device's clip) is written. False where the device is no such image.
bool copyRows(QPainter &painter, const QRectF &bounds, const QImage &picture)
{
    QPaintEngine *engine = painter.paintEngine();
    QPaintDevice *device = engine != nullptr ? engine->paintDevice() : nullptr;
    if (device == nullptr || device->devType() != QInternal::Image ||
        (picture.format() != QImage::Format_RGB32 &&
         picture.format() != QImage::Format_ARGB32_Premultiplied)) {
        return false;
    }
    auto *store = static_cast<QImage *>(device);
    if (store->format() != QImage::Format_RGB32 &&
        store->format() != QImage::Format_ARGB32_Premultiplied) {
        return false;
    }
    const QTransform transform = painter.deviceTransform();
    if (transform.type() > QTransform::TxTranslate || transform.dx() != qRound(transform.dx()) ||
        transform.dy() != qRound(transform.dy()) || bounds.topLeft() != bounds.toRect().topLeft() ||
        bounds.size() != QSizeF(picture.size())) {
        return false;
    }
    const QPoint offset = transform.map(bounds.topLeft()).toPoint();
    QRegion region(QRect(offset, picture.size()));
    region &= QRect(QPoint(0, 0), store->size());
    // The system clip is what the widget may paint now (its dirty, visible part), in device
    // pixels; none means all of it. A clip of the painter's own is left to the painter.
    if (painter.hasClipping()) {
        return false;
    }
    if (const QRegion clip = engine->systemClip(); !clip.isEmpty()) {
        region &= clip;
    }
    for (const QRect &rect : region) {
        const std::size_t bytes = std::size_t(rect.width()) * 4;
        for (int y = rect.top(); y <= rect.bottom(); ++y) {
            std::memcpy(store->scanLine(y) + std::size_t(rect.left()) * 4,
                        picture.constScanLine(y - offset.y()) +
                            std::size_t(rect.left() - offset.x()) * 4,
                        bytes);
        }
    }
    return true;
}

} // namespace

void RasterCaptureWindow::paintPicture(QPainter &painter, const QRectF &bounds,
                                       const QImage &picture, QSize pixels)
{
    if (picture.size() == pixels && copyRows(painter, bounds, picture)) {
        return;
    }
    painter.save();
    if (picture.size() == pixels) {
        // Pixel for pixel: the raster painter copies the rows as they are.
        painter.setCompositionMode(QPainter::CompositionMode_Source);
    } else {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
    }
    painter.drawImage(bounds, picture);
    painter.restore();
}

} // namespace lookpane
