#include "render/CaptureSurface.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPaintDeviceWindow>
#include <QTimer>

#include <utility>

namespace lookpane {

namespace {

void callIfSet(const std::function<void()> &callback)
{
    if (callback) {
        callback();
    }
}

} // namespace

CaptureSurface::CaptureSurface(QWindow *window) : m_window(*window) {}

void CaptureSurface::updateWindow()
{
    if (auto *painted = qobject_cast<QPaintDeviceWindow *>(&m_window)) {
        painted->update();
    } else {
        m_window.requestUpdate();
    }
}

QWindow *CaptureSurface::window() const
{
    return &m_window;
}

void CaptureSurface::requestDraw()
{
    m_hasRenderedFrame = false;
    updateWindow();
}

void CaptureSurface::setFrame(const CapturedFrame &frame)
{
    m_frame = frame;
    frameChanged();
    requestDraw();
}

void CaptureSurface::setRenderSettings(const RenderSettings &settings)
{
    m_settings = settings;
    requestDraw();
}

void CaptureSurface::setMaximumMipChainSide(int pixels)
{
    m_maximumMipChainSide = pixels;
    maximumMipChainSideChanged();
    requestDraw();
}

void CaptureSurface::setOverlayPainter(OverlayPainter painter)
{
    // The marks lie over the picture: the picture itself stays drawn.
    m_overlayPainter = std::move(painter);
    overlayPainterChanged();
    updateWindow();
}

void CaptureSurface::drawNow()
{
    if (!m_window.isExposed()) {
        return;
    }
    // The update request that update() posted, handled here: the window paints what is dirty
    // and hands it to the window system; the posted one then finds nothing left to do.
    QEvent request(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(&m_window, &request);
}

void CaptureSurface::updateOverlay()
{
    overlayInvalidated();
    updateWindow();
}

DrawResult &CaptureSurface::startDraw()
{
    ++m_drawCount;
    return m_lastDraw;
}

void CaptureSurface::reportUnavailable()
{
    if (m_unavailable) {
        return;
    }
    m_unavailable = true;
    QTimer::singleShot(0, &m_window, [this] { callIfSet(onUnavailable); });
}

void CaptureSurface::reportPresented()
{
    callIfSet(onPresented);
}

void CaptureSurface::reportPresentedAfterPaint()
{
    // No timer while nobody listens; whoever listens when it fires is told.
    if (onPresented) {
        QTimer::singleShot(0, &m_window, [this] { reportPresented(); });
    }
}

} // namespace lookpane
