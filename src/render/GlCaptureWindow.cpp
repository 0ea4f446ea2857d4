#include "render/GlCaptureWindow.h"

#include "render/GlCaptureView.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

namespace lookpane {

GlCaptureWindow::GlCaptureWindow()
    : QOpenGLWindow(QOpenGLWindow::NoPartialUpdate), CaptureSurface(this)
{
    // No depth or stencil buffer: what lies above the picture is painted on the CPU (see
    // OverlayLayer), and without them a software rasteriser fills the picture on its fast path.
    setFormat(GlCaptureView::surfaceFormat());
    setFlag(Qt::WindowTransparentForInput);
    connect(this, &QOpenGLWindow::frameSwapped, this, [this] { reportPresented(); });
}

GlCaptureWindow::~GlCaptureWindow()
{
    releaseRenderer();
}

void GlCaptureWindow::releaseRenderer()
{
    const bool contextAlive = context() != nullptr && isValid();
    if (m_overlay && contextAlive) {
        makeCurrent();
        m_overlay.reset();
        doneCurrent();
    } else if (m_overlay) {
        m_overlay->abandon();
        m_overlay.reset();
    }
    lookpane::releaseRenderer(*this, m_renderer, contextAlive);
}

void GlCaptureWindow::initializeGL()
{
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &GlCaptureWindow::releaseRenderer,
            Qt::UniqueConnection);
    auto renderer = std::make_unique<CaptureRenderer>();
    auto overlay = std::make_unique<OverlayLayer>();
    if (!renderer->initialize() || !overlay->initialize()) {
        reportUnavailable();
        return;
    }
    renderer->setMaximumMipChainSide(maximumMipChainSide());
    renderer->setFrame(frame());
    m_renderer = std::move(renderer);
    overlay->setPainter(overlayPainter());
    m_overlay = std::move(overlay);
    setRenderedFrame(false);
}

void GlCaptureWindow::resizeGL(int, int)
{
    setRenderedFrame(false);
}

void GlCaptureWindow::paintGL()
{
    // Every paint draws the whole picture: a native window keeps no composed copy to show.
    DrawResult &drawn = startDraw();
    QOpenGLFunctions *gl = context()->functions();
    const QSize pixels = size() * devicePixelRatio();
    if (!m_renderer) {
        gl->glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        gl->glClear(GL_COLOR_BUFFER_BIT);
        drawn = DrawResult{};
        return;
    }
    drawn = m_renderer->draw(defaultFramebufferObject(), pixels, renderSettings());
    setRenderedFrame(drawn.drewPicture);
    m_overlay->draw(defaultFramebufferObject(), pixels, devicePixelRatio());
}

void GlCaptureWindow::frameChanged()
{
    if (m_renderer) {
        // Only a reference is kept here; the pixels are copied to the GPU at the next draw.
        m_renderer->setFrame(frame());
    }
}

void GlCaptureWindow::maximumMipChainSideChanged()
{
    if (m_renderer) {
        m_renderer->setMaximumMipChainSide(maximumMipChainSide());
    }
}

void GlCaptureWindow::overlayPainterChanged()
{
    if (m_overlay) {
        m_overlay->setPainter(overlayPainter());
    }
}

void GlCaptureWindow::overlayInvalidated()
{
    if (m_overlay) {
        m_overlay->invalidate();
    }
}

} // namespace lookpane
