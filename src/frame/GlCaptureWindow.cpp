#include "frame/GlCaptureWindow.h"

#include "frame/GlCaptureView.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPainter>
#include <QTimer>

namespace lookpane {

GlCaptureWindow::GlCaptureWindow() : QOpenGLWindow(QOpenGLWindow::NoPartialUpdate)
{
    QSurfaceFormat format = GlCaptureView::surfaceFormat();
    // The painter fills curved and self-overlapping shapes (the outline, marks) through the
    // stencil buffer; without one they cover their whole bounding area.
    format.setStencilBufferSize(8);
    setFormat(format);
    setFlag(Qt::WindowTransparentForInput);
}

GlCaptureWindow::~GlCaptureWindow()
{
    releaseRenderer();
}

void GlCaptureWindow::releaseRenderer()
{
    lookpane::releaseRenderer(*this, m_renderer, context() != nullptr && isValid());
}

void GlCaptureWindow::initializeGL()
{
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &GlCaptureWindow::releaseRenderer,
            Qt::UniqueConnection);
    auto renderer = std::make_unique<CaptureRenderer>();
    if (!renderer->initialize()) {
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
    // The marks' painter leaves its own state behind; the picture needs none of it.
    gl->glDisable(GL_BLEND);
    gl->glDisable(GL_SCISSOR_TEST);
    gl->glDisable(GL_DEPTH_TEST);
    gl->glDisable(GL_STENCIL_TEST);
    gl->glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    const QSize pixels = size() * devicePixelRatio();
    if (!m_renderer) {
        gl->glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        gl->glClear(GL_COLOR_BUFFER_BIT);
        m_lastDraw = DrawResult{};
        return;
    }
    m_lastDraw = m_renderer->draw(defaultFramebufferObject(), pixels, m_settings);
    m_hasRenderedFrame = m_lastDraw.drewPicture;
    paintOverlay();
}

void GlCaptureWindow::paintOverlay()
{
    if (!m_overlayPainter) {
        return;
    }
    QPainter painter(this);
    m_overlayPainter(painter, QSizeF(size()));
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
    m_overlayPainter = std::move(painter);
    update();
}

} // namespace lookpane
