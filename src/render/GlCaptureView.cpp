#include "render/GlCaptureView.h"

#include "render/GlCaptureWindow.h"
#include "render/RasterCaptureWindow.h"
#include "render/RenderLog.h"
#include "render/ServerCaptureWindow.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QResizeEvent>
#include <QTimer>

namespace lookpane {

QSurfaceFormat GlCaptureView::surfaceFormat()
{
    QSurfaceFormat format;
    if (QOpenGLContext::openGLModuleType() == QOpenGLContext::LibGLES) {
        format.setRenderableType(QSurfaceFormat::OpenGLES);
        format.setVersion(3, 0);
    } else {
        format.setRenderableType(QSurfaceFormat::OpenGL);
        format.setVersion(3, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
    }
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    return format;
}

namespace {

// A throw-away context of the views' format, current on an offscreen surface while it lives.
class ProbeContext
{
public:
    ProbeContext()
    {
        m_context.setFormat(GlCaptureView::surfaceFormat());
        if (!m_context.create()) {
            return;
        }
        m_surface.setFormat(m_context.format());
        m_surface.create();
        m_current = m_surface.isValid() && m_context.makeCurrent(&m_surface);
    }
    ~ProbeContext()
    {
        if (m_current) {
            m_context.doneCurrent();
        }
    }
    ProbeContext(const ProbeContext &) = delete;
    ProbeContext &operator=(const ProbeContext &) = delete;

    bool isCurrent() const { return m_current; }
    QOpenGLContext &context() { return m_context; }

private:
    QOpenGLContext m_context;
    QOffscreenSurface m_surface;
    bool m_current = false;
};

// Builds the programs once in a throw-away context, so a view is only made where it can draw.
bool canRenderHere()
{
    ProbeContext probe;
    if (!probe.isCurrent()) {
        return false;
    }
    CaptureRenderer renderer;
    return renderer.initialize();
}

} // namespace

bool GlCaptureView::isSoftwareRasteriser()
{
    ProbeContext probe;
    if (!probe.isCurrent()) {
        return false;
    }
    const auto *renderer =
        reinterpret_cast<const char *>(probe.context().functions()->glGetString(GL_RENDERER));
    const QString name = QString::fromLatin1(renderer != nullptr ? renderer : "").toLower();
    return name.contains(QLatin1String("llvmpipe")) || name.contains(QLatin1String("softpipe")) ||
           name.contains(QLatin1String("software"));
}

GlCaptureView::Surface GlCaptureView::preferredWindowSurface(bool softwareRasteriser,
                                                             const QString &requested)
{
    const bool serverPaints = ServerCaptureWindow::isSupported();
    if (requested == QLatin1String("opengl")) {
        return Surface::nativeWindow;
    }
    if (requested == QLatin1String("raster")) {
        return Surface::rasterWindow;
    }
    if (requested == QLatin1String("server")) {
        if (!serverPaints) {
            qCWarning(lcRender) << "LOOKPANE_SHARE_SURFACE=server: the display server cannot "
                                   "paint the share view; it draws through the raster window";
        }
        return serverPaints ? Surface::serverWindow : Surface::rasterWindow;
    }
    if (!requested.isEmpty()) {
        qCWarning(lcRender) << "LOOKPANE_SHARE_SURFACE:" << requested
                            << "is none of opengl, raster, server; it is ignored";
    }
    if (!softwareRasteriser) {
        return Surface::nativeWindow;
    }
    return serverPaints ? Surface::serverWindow : Surface::rasterWindow;
}

GlCaptureView::Surface GlCaptureView::preferredWindowSurface()
{
    const QString requested = qEnvironmentVariable("LOOKPANE_SHARE_SURFACE").trimmed().toLower();
    // The probe of the renderer is needed only when nothing was asked for.
    const bool asked = requested == QLatin1String("opengl") ||
                       requested == QLatin1String("raster") || requested == QLatin1String("server");
    return preferredWindowSurface(!asked && isSoftwareRasteriser(), requested);
}

bool GlCaptureView::canRender()
{
    return canRenderHere();
}

std::unique_ptr<GlCaptureView> GlCaptureView::make(QWidget *parent, Surface surface)
{
    if (!canRenderHere()) {
        return nullptr;
    }
    return std::unique_ptr<GlCaptureView>(new GlCaptureView(parent, surface));
}

GlCaptureView::GlCaptureView(QWidget *parent, Surface surface) : QOpenGLWidget(parent)
{
    setFormat(GlCaptureView::surfaceFormat());
    // The picture covers the whole view; nothing below needs painting.
    setAttribute(Qt::WA_OpaquePaintEvent);
    // The framebuffer keeps its picture between draws, so Qt can compose or grab the view
    // again without the picture being drawn again.
    setUpdateBehavior(QOpenGLWidget::PartialUpdate);
    if (surface != Surface::composed) {
        QWindow *native = nullptr;
        if (surface == Surface::rasterWindow) {
            auto *window = new RasterCaptureWindow;
            native = window;
            m_window = window;
        } else if (surface == Surface::serverWindow) {
            auto *window = new ServerCaptureWindow;
            native = window;
            m_window = window;
        } else {
            auto *window = new GlCaptureWindow;
            native = window;
            m_window = window;
        }
        m_window->onUnavailable = [this] { becomeUnavailable(); };
        // The container owns the window and shows, hides and places it with this view.
        m_container = QWidget::createWindowContainer(native, this);
        m_container->setAttribute(Qt::WA_TransparentForMouseEvents);
        m_container->setFocusPolicy(Qt::NoFocus);
        m_container->setGeometry(rect());
    }
    m_surface = surface;
}

GlCaptureView::~GlCaptureView()
{
    releaseRenderer();
}

void GlCaptureView::releaseRenderer()
{
    lookpane::releaseRenderer(*this, m_renderer, context() != nullptr);
}

void GlCaptureView::initializeGL()
{
    // A move to another window gives the view a new context: the old objects go with the old.
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &GlCaptureView::releaseRenderer,
            Qt::UniqueConnection);
    if (m_window) {
        // The native window draws; this widget's own framebuffer is never seen.
        return;
    }
    auto renderer = std::make_unique<CaptureRenderer>();
    if (!renderer->initialize()) {
        becomeUnavailable();
        return;
    }
    renderer->setMaximumMipChainSide(m_maximumMipChainSide);
    renderer->setFrame(m_frame);
    m_renderer = std::move(renderer);
    m_hasRenderedFrame = false;
    m_needsDraw = true;
}

void GlCaptureView::becomeUnavailable()
{
    if (m_unavailable) {
        return;
    }
    m_unavailable = true;
    // Not from inside Qt's GL set-up: the owner may hide or replace this view.
    QTimer::singleShot(0, this, [this] { Q_EMIT unavailable(); });
}

void GlCaptureView::resizeEvent(QResizeEvent *event)
{
    QOpenGLWidget::resizeEvent(event);
    if (m_container != nullptr) {
        m_container->setGeometry(rect());
    }
}

bool GlCaptureView::hasRenderedFrame() const
{
    return m_window ? m_window->hasRenderedFrame() : m_hasRenderedFrame;
}

int GlCaptureView::drawCount() const
{
    return m_window ? m_window->drawCount() : m_drawCount;
}

const DrawResult &GlCaptureView::lastDraw() const
{
    return m_window ? m_window->lastDraw() : m_lastDraw;
}

bool GlCaptureView::hasMipChain() const
{
    if (m_window) {
        return m_window->hasMipChain();
    }
    return m_renderer && m_renderer->hasMipChain();
}

void GlCaptureView::setOverlayPainter(std::function<void(QPainter &, QSizeF)> painter)
{
    if (m_window) {
        m_window->setOverlayPainter(std::move(painter));
    }
}

void GlCaptureView::updateOverlay()
{
    if (m_window) {
        m_window->updateOverlay();
    }
}

void GlCaptureView::resizeGL(int, int)
{
    m_hasRenderedFrame = false;
    m_needsDraw = true;
}

void GlCaptureView::paintGL()
{
    // Qt also asks for paints it needs for itself (exposure, composition, grabs); the
    // framebuffer still holds the picture then.
    if (m_needsDraw) {
        render();
    }
}

void GlCaptureView::render()
{
    ++m_drawCount;
    m_needsDraw = false;
    const QSize pixels = size() * devicePixelRatioF();
    if (!m_renderer) {
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        m_lastDraw = DrawResult{};
        return;
    }
    m_lastDraw = m_renderer->draw(defaultFramebufferObject(), pixels, m_settings);
    m_hasRenderedFrame = m_lastDraw.drewPicture;
}

void GlCaptureView::setFrame(const CapturedFrame &frame)
{
    m_frame = frame;
    if (m_window) {
        m_window->setFrame(frame);
        return;
    }
    if (m_renderer) {
        // Only a reference is kept here; the pixels are copied to the GPU at the next draw.
        m_renderer->setFrame(frame);
    }
    m_hasRenderedFrame = false;
    m_needsDraw = true;
    update();
}

void GlCaptureView::requestRedraw(bool immediately)
{
    if (m_window) {
        m_window->setRenderSettings(m_settings);
        if (immediately) {
            m_window->drawNow();
        }
        return;
    }
    m_hasRenderedFrame = false;
    if (m_frame.isNull()) {
        return;
    }
    m_needsDraw = true;
    if (immediately && m_renderer && isVisible()) {
        // Draw now; the composition that update() schedules then finds the picture drawn.
        makeCurrent();
        render();
        doneCurrent();
    }
    update();
}

void GlCaptureView::setBlurEnabled(bool enabled)
{
    if (m_settings.blurEnabled == enabled) {
        return;
    }
    m_settings.blurEnabled = enabled;
    requestRedraw(true);
}

void GlCaptureView::setBlurBlockPoints(double points)
{
    if (m_settings.blurBlockPoints == points) {
        return;
    }
    m_settings.blurBlockPoints = points;
    requestRedraw(true);
}

void GlCaptureView::setCaptureScale(double scale)
{
    if (m_settings.captureScale == scale) {
        return;
    }
    m_settings.captureScale = scale;
    requestRedraw(true);
}

void GlCaptureView::setBlurPath(BlurPath path)
{
    if (m_settings.path == path) {
        return;
    }
    m_settings.path = path;
    requestRedraw(true);
}

void GlCaptureView::setMaximumMipChainSide(int pixels)
{
    if (m_maximumMipChainSide == pixels) {
        return;
    }
    m_maximumMipChainSide = pixels;
    if (m_window) {
        m_window->setMaximumMipChainSide(pixels);
        return;
    }
    if (m_renderer) {
        m_renderer->setMaximumMipChainSide(pixels);
    }
    requestRedraw(false);
}

} // namespace lookpane
