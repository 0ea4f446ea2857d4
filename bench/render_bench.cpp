// Per-frame cost of the capture renderer on whatever OpenGL this machine has, on a private
// Xvfb: upload, unblurred draw, light and strong blur (as shipped, and the full-size reference
// shader beside them), then the frame rate of a blurred share view fed new pictures.
#include "XvfbServer.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "frame/PreviewView.h"
#include "picture/CapturedFrame.h"
#include "render/CaptureRenderer.h"
#include "render/CaptureSurface.h"
#include "render/GlCaptureView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFont>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFunctions>
#include <QOpenGLWindow>
#include <QPainter>
#include <QTimer>
#include <QWindow>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

using namespace lookpane;

namespace {

// Two different pictures of text and blocks, so every frame is really new.
std::vector<CapturedFrame> pictures(QSize size)
{
    std::vector<CapturedFrame> frames;
    for (int variant = 0; variant < 2; ++variant) {
        QImage image(size, QImage::Format_RGB32);
        image.fill(variant == 0 ? QColor(240, 240, 236) : QColor(225, 232, 240));
        QPainter painter(&image);
        QFont font;
        font.setPixelSize(11);
        painter.setFont(font);
        for (int y = 12; y < size.height(); y += 16) {
            painter.drawText(QPoint(variant * 7, y),
                             QStringLiteral("frame %1 row %2 - the quick brown fox jumps over "
                                            "the lazy dog 0123456789 ")
                                 .repeated(6)
                                 .arg(variant)
                                 .arg(y));
        }
        painter.fillRect(size.width() / 3, size.height() / 3, size.width() / 4, size.height() / 4,
                         variant == 0 ? QColor(220, 50, 50) : QColor(40, 90, 210));
        frames.push_back(CapturedFrame::fromImage(image));
    }
    return frames;
}

// Milliseconds per call of `step`, over `iterations` after two warm-up calls.
double timePerCall(int iterations, const std::function<void(int)> &step)
{
    step(0);
    step(1);
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < iterations; ++i) {
        step(i);
    }
    return static_cast<double>(timer.nsecsElapsed()) / 1e6 / iterations;
}

struct Offscreen
{
    QOpenGLContext context;
    QOffscreenSurface surface;
};

// A framebuffer stored like a window's own buffer (BGRA words, no depth or stencil), so the
// figures are those of drawing into a window.
class WindowLikeTarget
{
public:
    explicit WindowLikeTarget(QSize size) : m_gl(QOpenGLContext::currentContext()->extraFunctions())
    {
        m_gl->glGenTextures(1, &m_texture);
        m_gl->glBindTexture(GL_TEXTURE_2D, m_texture);
        m_gl->glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, size.width(), size.height(), 0, GL_BGRA,
                           GL_UNSIGNED_INT_8_8_8_8_REV, nullptr);
        m_gl->glGenFramebuffers(1, &m_framebuffer);
        m_gl->glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
        m_gl->glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_texture,
                                     0);
        m_gl->glBindFramebuffer(GL_FRAMEBUFFER, 0);
    }
    ~WindowLikeTarget()
    {
        m_gl->glDeleteFramebuffers(1, &m_framebuffer);
        m_gl->glDeleteTextures(1, &m_texture);
    }
    WindowLikeTarget(const WindowLikeTarget &) = delete;
    WindowLikeTarget &operator=(const WindowLikeTarget &) = delete;
    GLuint handle() const { return m_framebuffer; }

private:
    QOpenGLExtraFunctions *m_gl;
    GLuint m_texture = 0;
    GLuint m_framebuffer = 0;
};

void measureRenderer(QSize size, int iterations)
{
    const std::vector<CapturedFrame> frames = pictures(size);
    WindowLikeTarget target(size);
    CaptureRenderer renderer;
    if (!renderer.initialize()) {
        std::printf("renderer unavailable: %s\n", qPrintable(renderer.failureReason()));
        return;
    }
    auto *gl = QOpenGLContext::currentContext()->functions();
    const char *label = size.width() == 1920 ? "1080p" : "720p";

    const double upload = timePerCall(iterations, [&](int i) {
        renderer.setFrame(frames[static_cast<std::size_t>(i % 2)]);
        renderer.uploadForTiming();
    });
    std::printf("%-6s upload (BGRA as stored)            %7.2f ms\n", label, upload);

    const auto drawTime = [&](RenderSettings settings) {
        return timePerCall(iterations, [&](int i) {
            renderer.setFrame(frames[static_cast<std::size_t>(i % 2)]);
            renderer.draw(target.handle(), size, settings);
            gl->glFinish();
        });
    };
    RenderSettings plain;
    plain.captureScale = 1.0;
    std::printf("%-6s unblurred frame (upload + draw)    %7.2f ms\n", label, drawTime(plain));
    // The same picture drawn again: no upload, no mip chain; only the passes over the target.
    const auto redrawTime = [&](RenderSettings settings) {
        renderer.setFrame(frames[0]);
        return timePerCall(iterations, [&](int) {
            renderer.draw(target.handle(), size, settings);
            gl->glFinish();
        });
    };
    RenderSettings light = plain;
    light.blurEnabled = true;
    std::printf("%-6s redraw of a held picture: unblurred %7.2f ms, light blur scale 1 "
                "(small nine-tap pass + stretch) %7.2f ms\n",
                label, redrawTime(plain), redrawTime(light));
    for (const double scale : {1.0, 2.0}) {
        for (const BlurStrength strength : {BlurStrength::light, BlurStrength::strong}) {
            RenderSettings blur;
            blur.blurEnabled = true;
            blur.captureScale = scale;
            blur.blurBlockPoints = blurBlockPoints(strength);
            blur.path = BlurPath::reduced;
            const double shipped = drawTime(blur);
            blur.path = BlurPath::fullSize;
            const double reference = drawTime(blur);
            std::printf("%-6s %-6s blur, scale %.0f (upload + mips + draw) %7.2f ms   "
                        "full-size reference %7.2f ms\n",
                        label, strength == BlurStrength::light ? "light" : "strong", scale, shipped,
                        reference);
        }
    }
}

// Frames per second of a share view (a PreviewView in its own window, no authoring chrome) fed
// a new picture as soon as the previous one has reached the window.
double shareViewFps(QSize size, bool blur, double seconds, bool canvasShown = true,
                    std::optional<GlCaptureView::Surface> surface = std::nullopt)
{
    const std::vector<CapturedFrame> frames = pictures(size);
    PreviewView share(false, nullptr,
                      surface ? PreviewView::CaptureViewFactory([&](QWidget *parent) {
                          return GlCaptureView::make(parent, *surface);
                      })
                              : PreviewView::CaptureViewFactory());
    share.setWindowFlag(Qt::FramelessWindowHint);
    share.resize(size);
    share.move(0, 0);
    GlCaptureView *view = share.captureView();
    if (view == nullptr) {
        return 0.0;
    }
    view->setCaptureScale(1.0);
    view->setBlurEnabled(blur);
    share.setBlurStrength(BlurStrength::light);
    share.show();
    if (!canvasShown) {
        share.annotationCanvas()->hide();
    }
    int delivered = 0;
    int swapped = 0;
    const auto nextPicture = [&] {
        ++swapped;
        share.setCapturedFrame(frames[static_cast<std::size_t>(++delivered % 2)]);
    };
    // The share view swaps its own native window; a composed view swaps with its window.
    if (CaptureSurface *window = view->captureSurface()) {
        window->onPresented = nextPicture;
    } else {
        QObject::connect(view, &QOpenGLWidget::frameSwapped, nextPicture);
    }
    share.setCapturedFrame(frames[0]);
    // Warm up, then count.
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const int startSwaps = swapped;
    const int startDraws = view->drawCount();
    timer.restart();
    while (timer.elapsed() < seconds * 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const double elapsed = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    const double fps = (swapped - startSwaps) / elapsed;
    const char *kind = view->surface() == GlCaptureView::Surface::rasterWindow   ? "raster window"
                       : view->surface() == GlCaptureView::Surface::nativeWindow ? "OpenGL window"
                                                                                 : "composed";
    std::printf("share view (%s) %dx%d, blur %s%s: %.1f fps (%d draws, %d swaps in %.1f s)\n", kind,
                size.width(), size.height(), blur ? "light" : "off",
                canvasShown ? "" : ", canvas hidden", fps, view->drawCount() - startDraws,
                swapped - startSwaps, elapsed);
    return fps;
}

// The same renderer drawing straight into a window of its own (QOpenGLWindow, no widget
// composition), for comparison with the widget-based share view.
class DirectWindow : public QOpenGLWindow
{
public:
    DirectWindow(std::vector<CapturedFrame> frames, RenderSettings settings)
        : m_frames(std::move(frames)), m_settings(settings)
    {
        connect(this, &QOpenGLWindow::frameSwapped, this, [this] {
            ++swaps;
            m_renderer->setFrame(m_frames[static_cast<std::size_t>(swaps % 2)]);
            update();
        });
    }
    ~DirectWindow() override
    {
        makeCurrent();
        m_renderer.reset();
        doneCurrent();
    }

    int swaps = 0;

protected:
    void initializeGL() override
    {
        m_renderer = std::make_unique<CaptureRenderer>();
        m_renderer->initialize();
        m_renderer->setFrame(m_frames[0]);
    }
    void paintGL() override
    {
        m_renderer->draw(defaultFramebufferObject(), size() * devicePixelRatio(), m_settings);
    }

private:
    std::vector<CapturedFrame> m_frames;
    RenderSettings m_settings;
    std::unique_ptr<CaptureRenderer> m_renderer;
};

double directWindowFps(QSize size, bool blur, double seconds)
{
    RenderSettings settings;
    settings.blurEnabled = blur;
    settings.captureScale = 1.0;
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    DirectWindow window(pictures(size), settings);
    window.setFormat(format);
    window.setFlag(Qt::FramelessWindowHint);
    window.setGeometry(QRect(QPoint(0, 0), size));
    window.show();
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const int start = window.swaps;
    timer.restart();
    while (timer.elapsed() < seconds * 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const double elapsed = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    const double fps = (window.swaps - start) / elapsed;
    std::printf("direct QOpenGLWindow %dx%d, blur %s: %.1f fps\n", size.width(), size.height(),
                blur ? "light" : "off", fps);
    return fps;
}

// A capture view alone as its own window: the widget composition without the preview's
// other layers.
double bareViewFps(QSize size, bool blur, double seconds)
{
    const std::vector<CapturedFrame> frames = pictures(size);
    std::unique_ptr<GlCaptureView> view = GlCaptureView::make();
    if (!view) {
        return 0.0;
    }
    view->setWindowFlag(Qt::FramelessWindowHint);
    view->resize(size);
    view->move(0, 0);
    view->setCaptureScale(1.0);
    view->setBlurEnabled(blur);
    view->show();
    int swapped = 0;
    QObject::connect(view.get(), &QOpenGLWidget::frameSwapped, [&] {
        ++swapped;
        view->setFrame(frames[static_cast<std::size_t>(swapped % 2)]);
    });
    view->setFrame(frames[0]);
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const int start = swapped;
    timer.restart();
    while (timer.elapsed() < seconds * 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const double fps = (swapped - start) / (static_cast<double>(timer.nsecsElapsed()) / 1e9);
    std::printf("bare GlCaptureView window %dx%d, blur %s: %.1f fps\n", size.width(), size.height(),
                blur ? "light" : "off", fps);
    return fps;
}

} // namespace

int main(int argc, char **argv)
{
    const int iterations = argc > 1 ? std::atoi(argv[1]) : 20;
    lookpane::testing::XvfbServer server({1920, 1080});
    if (!server.isRunning()) {
        std::fprintf(stderr, "could not start Xvfb\n");
        return 1;
    }
    setenv("DISPLAY", server.displayName().c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    unsetenv("WAYLAND_DISPLAY");
    QApplication app(argc, argv);

    {
        Offscreen offscreen;
        QSurfaceFormat format;
        format.setVersion(3, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
        offscreen.context.setFormat(format);
        if (!offscreen.context.create()) {
            std::fprintf(stderr, "no OpenGL context\n");
            return 1;
        }
        offscreen.surface.setFormat(offscreen.context.format());
        offscreen.surface.create();
        offscreen.context.makeCurrent(&offscreen.surface);
        auto *gl = offscreen.context.functions();
        std::printf("GL_RENDERER: %s\n",
                    reinterpret_cast<const char *>(gl->glGetString(GL_RENDERER)));
        std::printf("GL_VERSION: %s\n",
                    reinterpret_cast<const char *>(gl->glGetString(GL_VERSION)));
        for (const QSize size : {QSize(1920, 1080), QSize(1280, 720)}) {
            measureRenderer(size, iterations);
        }
        offscreen.context.doneCurrent();
    }

    directWindowFps({1920, 1080}, false, 3.0);
    directWindowFps({1920, 1080}, true, 3.0);
    bareViewFps({1920, 1080}, false, 3.0);
    bareViewFps({1920, 1080}, true, 3.0);
    // The OpenGL window as a computer with a GPU uses it, for comparison.
    shareViewFps({1920, 1080}, false, 3.0, true, GlCaptureView::Surface::nativeWindow);
    shareViewFps({1920, 1080}, true, 3.0, true, GlCaptureView::Surface::nativeWindow);
    // As shipped on this computer.
    shareViewFps({1920, 1080}, false, 3.0);
    shareViewFps({1280, 720}, true, 3.0);
    shareViewFps({1920, 1080}, true, 3.0, false);
    const double fps = shareViewFps({1920, 1080}, true, 3.0);
    std::printf("blur_light_1080p_fps=%.1f\n", fps);
    return 0;
}
