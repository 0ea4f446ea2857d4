#include "render/GlCaptureWindow.h"

#include "render/GlCaptureView.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QTimer>

namespace lookpane {

GlCaptureWindow::GlCaptureWindow() : QOpenGLWindow(QOpenGLWindow::NoPartialUpdate)
{
    // No depth or stencil buffer: what lies above the picture is painted on the CPU (see
    // OverlayLayer), and without them a software rasteriser fills the picture on its fast path.
    setFormat(GlCaptureView::surfaceFormat());
    setFlag(Qt::WindowTransparentForInput);
    connect(this, &QOpenGLWindow::frameSwapped, this, [this] {
        if (onPresented) {
            onPresented();
        }
    });
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
        if (!m_unavailable) {
            m_unavailable = true;
            // Not from inside Qt's GL set-up: the owner may hide or replace this window.
            QTimer::singleShot(0, this, [this] {
                if (onUnavailable) {
                    onUnavailable();
                }
            });
        }
        return;
    }
    renderer->setMaximumMipChainSide(m_maximumMipChainSide);
    renderer->setFrame(m_frame);
    m_renderer = std::move(renderer);
    overlay->setPainter(m_overlayPainter);
    m_overlay = std::move(overlay);
    m_hasRenderedFrame = false;
}

void GlCaptureWindow::resizeGL(int, int)
{
    m_hasRenderedFrame = false;
}

void GlCaptureWindow::paintGL()
{
    // Every paint draws the whole picture: a native window keeps no composed copy to show.
    ++m_drawCount;
    QOpenGLFunctions *gl = context()->functions();
    const QSize pixels = size() * devicePixelRatio();
    if (!m_renderer) {
        gl->glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        gl->glClear(GL_COLOR_BUFFER_BIT);
        m_lastDraw = DrawResult{};
        return;
    }
    m_lastDraw = m_renderer->draw(defaultFramebufferObject(), pixels, m_settings);
    m_hasRenderedFrame = m_lastDraw.drewPicture;
    m_overlay->draw(defaultFramebufferObject(), pixels, devicePixelRatio());
}

void GlCaptureWindow::updateOverlay()
{
    if (m_overlay) {
        m_overlay->invalidate();
    }
    update();
}

void GlCaptureWindow::requestDraw()
{
    m_hasRenderedFrame = false;
    update();
}

void GlCaptureWindow::setFrame(const CapturedFrame &frame)
{
    m_frame = frame;
    if (m_renderer) {
        // Only a reference is kept here; the pixels are copied to the GPU at the next draw.
        m_renderer->setFrame(frame);
    }
    requestDraw();
}

void GlCaptureWindow::setRenderSettings(const RenderSettings &settings)
{
    m_settings = settings;
    requestDraw();
}

void GlCaptureWindow::setMaximumMipChainSide(int pixels)
{
    m_maximumMipChainSide = pixels;
    if (m_renderer) {
        m_renderer->setMaximumMipChainSide(pixels);
    }
    requestDraw();
}

void GlCaptureWindow::setOverlayPainter(std::function<void(QPainter &, QSizeF)> painter)
{
    m_overlayPainter = painter;
    if (m_overlay) {
        m_overlay->setPainter(std::move(painter));
    }
    update();
}

} // namespace lookpane
