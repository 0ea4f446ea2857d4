#include "render/ServerCaptureWindow.h"

#include "platform/x11/X11PicturePresenter.h"
#include "render/OverlayLayer.h"
#include "render/RenderLog.h"

#include <QExposeEvent>
#include <QPainter>
#include <QPlatformSurfaceEvent>

namespace lookpane {

namespace {

// What a blurred view shows when its blur cannot be made: never the picture.
const QColor failSafeColour(10, 10, 13);

// The overlay's tiles, as the OpenGL window blends them.
constexpr int overlayTile = 16;

} // namespace

ServerCaptureWindow::ServerCaptureWindow() : CaptureSurface(this)
{
    setSurfaceType(QSurface::RasterSurface);
    setFlag(Qt::WindowTransparentForInput);
    // Opaque: the server paints every pixel, and a meeting application reads no transparency.
    QSurfaceFormat opaque = format();
    opaque.setAlphaBufferSize(0);
    setFormat(opaque);
}

ServerCaptureWindow::~ServerCaptureWindow()
{
    // Its resources go before the window does.
    m_presenter.reset();
}

bool ServerCaptureWindow::isSupported()
{
    return x11::X11PicturePresenter::isSupported();
}

bool ServerCaptureWindow::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::UpdateRequest:
        draw();
        return true;
    case QEvent::PlatformSurface:
        if (static_cast<QPlatformSurfaceEvent *>(event)->surfaceEventType() ==
            QPlatformSurfaceEvent::SurfaceAboutToBeDestroyed) {
            // The window's picture goes with the X window; the next one gets its own.
            m_presenter.reset();
            m_overlaySize = QSize();
            m_overlayDirty = true;
        }
        break;
    default:
        break;
    }
    return QWindow::event(event);
}

void ServerCaptureWindow::frameChanged()
{
    // A new frame's pixmap is read afresh, even where its id is an old one's.
    if (m_presenter) {
        m_presenter->forgetPixmap();
    }
}

void ServerCaptureWindow::exposeEvent(QExposeEvent *)
{
    if (isExposed()) {
        draw();
    }
}

void ServerCaptureWindow::resizeEvent(QResizeEvent *)
{
    m_overlayDirty = true;
    setRenderedFrame(false);
    requestUpdate();
}

void ServerCaptureWindow::repaintOverlay(QSize pixels)
{
    QImage overlay(pixels, QImage::Format_ARGB32_Premultiplied);
    overlay.fill(Qt::transparent);
    overlay.setDevicePixelRatio(devicePixelRatio());
    {
        QPainter painter(&overlay);
        painter.setRenderHint(QPainter::Antialiasing);
        overlayPainter()(painter, QSizeF(size()));
    }
    std::vector<QRect> areas = OverlayLayer::paintedAreas(overlay, overlayTile);
    // What held marks before and holds none now is sent as well, cleared.
    std::vector<QRect> changed = areas;
    if (m_overlaySize == pixels) {
        changed.insert(changed.end(), m_overlayAreas.begin(), m_overlayAreas.end());
    }
    m_presenter->setOverlay(overlay, changed);
    m_overlayAreas = std::move(areas);
    m_overlaySize = pixels;
    m_overlayDirty = false;
}

void ServerCaptureWindow::draw()
{
    if (!isExposed() || handle() == nullptr) {
        return;
    }
    if (!m_presenter) {
        m_presenter = x11::X11PicturePresenter::create(static_cast<xcb_window_t>(winId()));
        if (!m_presenter) {
            qCWarning(lcRender) << "The display server cannot paint the share view's window";
            reportUnavailable();
            return;
        }
    }
    DrawResult &drawn = startDraw();
    const QSize pixels = size() * devicePixelRatio();
    setRenderedFrame(false);
    if (frame().isNull() || pixels.isEmpty()) {
        m_presenter->fill(Qt::black, pixels);
        drawn = DrawResult{};
    } else if (renderSettings().blurEnabled) {
        const RenderSettings &settings = renderSettings();
        const std::optional<QImage> picture = m_blur.blur(
            frame(), settings.blurBlockPoints, settings.captureScale, maximumMipChainSide(), drawn);
        if (picture) {
            m_presenter->drawImage(*picture, pixels);
        } else {
            m_presenter->fill(failSafeColour, pixels);
        }
        setRenderedFrame(true);
    } else {
        const QSize source(frame().width(), frame().height());
        if (frame().serverPixmap() != 0) {
            m_presenter->drawPixmap(frame().serverPixmap(), source, pixels);
        } else {
            m_presenter->drawImage(frame().image(), pixels);
        }
        drawn = DrawResult{};
        drawn.drewPicture = true;
        setRenderedFrame(true);
    }
    if (overlayPainter()) {
        if (m_overlayDirty || m_overlaySize != pixels) {
            repaintOverlay(pixels);
        }
        m_presenter->drawOverlay(m_overlayAreas);
    }
    m_presenter->flush();
    reportPresented();
}

} // namespace lookpane
