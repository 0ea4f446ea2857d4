#include "render/RasterCaptureWindow.h"

#include "picture/PictureStretch.h"

#include <QPaintEngine>
#include <QPainter>
#include <QTimer>

namespace lookpane {

namespace {

// What a blurred view shows when its blur cannot be made: never the picture.
const QColor failSafeColour(10, 10, 13);

} // namespace

RasterCaptureWindow::RasterCaptureWindow()
{
    setFlag(Qt::WindowTransparentForInput);
    // Opaque where the window system allows: a backing store with alpha is cleared before
    // every paint, a full-size fill.
    QSurfaceFormat opaque = format();
    opaque.setAlphaBufferSize(0);
    setFormat(opaque);
}

bool RasterCaptureWindow::blurInto(QImage &target)
{
    const std::optional<QImage> picture =
        m_blur.blur(m_frame, m_settings.blurBlockPoints, m_settings.captureScale,
                    m_maximumMipChainSide, m_lastDraw);
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
    ++m_drawCount;
    const QSize pixels = size() * devicePixelRatio();
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const QRectF bounds(QPointF(0, 0), QSizeF(size()));
    m_hasRenderedFrame = false;
    if (m_frame.isNull() || pixels.isEmpty()) {
        painter.fillRect(bounds, Qt::black);
        m_lastDraw = DrawResult{};
    } else if (m_settings.blurEnabled) {
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
        if (blurInto(direct ? *store : m_stretched)) {
            if (!direct) {
                painter.drawImage(bounds, m_stretched);
            }
        } else {
            painter.fillRect(bounds, failSafeColour);
        }
        m_hasRenderedFrame = true;
    } else {
        paintPicture(painter, bounds, m_frame.image(), pixels);
        m_lastDraw = DrawResult{};
        m_lastDraw.drewPicture = true;
        m_hasRenderedFrame = true;
    }
    if (m_overlayPainter) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        m_overlayPainter(painter, bounds.size());
    }
    painter.end();
    if (onPresented) {
        // The backing store is flushed when this paint returns.
        QTimer::singleShot(0, this, [this] {
            if (onPresented) {
                onPresented();
            }
        });
    }
}

void RasterCaptureWindow::paintPicture(QPainter &painter, const QRectF &bounds,
                                       const QImage &picture, QSize pixels)
{
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

void RasterCaptureWindow::requestPaint()
{
    m_hasRenderedFrame = false;
    update();
}

void RasterCaptureWindow::setFrame(const CapturedFrame &frame)
{
    m_frame = frame;
    requestPaint();
}

void RasterCaptureWindow::setRenderSettings(const RenderSettings &settings)
{
    m_settings = settings;
    requestPaint();
}

void RasterCaptureWindow::setMaximumMipChainSide(int pixels)
{
    m_maximumMipChainSide = pixels;
    requestPaint();
}

void RasterCaptureWindow::setOverlayPainter(std::function<void(QPainter &, QSizeF)> painter)
{
    m_overlayPainter = std::move(painter);
    update();
}

void RasterCaptureWindow::updateOverlay()
{
    update();
}

} // namespace lookpane
