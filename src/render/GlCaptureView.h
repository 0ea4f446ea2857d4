#pragma once

#include "model/BlurStrength.h"
#include "picture/BlurParameters.h"
#include "picture/CapturedFrame.h"
#include "render/CaptureRenderer.h"
#include "render/CaptureSurface.h"

#include <QOpenGLWidget>
#include <QSurfaceFormat>

#include <functional>
#include <memory>

class QPainter;

namespace lookpane {

// Draws the newest captured picture stretched over the view, with the viewers-only privacy
// blur when it is on. Draws on demand: once per new picture and once per change that alters
// the output, never while nothing changes. With blur wanted but no mip chain to read, it
// shows the fail-safe colour (10, 10, 13) and none of the picture.
//
// A `composed` view draws into the widget's own texture, which Qt composes with the rest of
// its window (widgets above it can be translucent and take input). A `nativeWindow` view
// hands the picture, its settings and the marks to a native OpenGL window that fills it and
// draws them in one pass, without the composition; nothing shows above it, so what belongs
// there is painted in the same pass, and it takes no input (clicks reach the widgets of the
// window as if it were not there). A `rasterWindow` view does the same with a native window
// that shows the picture through Qt's raster backing store and computes the blur on the CPU
// (see RasterCaptureWindow). A `serverWindow` view's native window is painted by the display
// server from the picture it already holds, the blur computed on the CPU at its reduced size
// (see ServerCaptureWindow); software rasterisers on X11 draw with it.
class GlCaptureView : public QOpenGLWidget
{
    Q_OBJECT

public:
    enum class Surface
    {
        composed,
        nativeWindow,
        rasterWindow,
        serverWindow
    };

    // The view, or none when this computer cannot run its OpenGL programs (no OpenGL 3.3 /
    // ES 3.0 context, or the shaders do not compile); the caller then shows a message.
    static std::unique_ptr<GlCaptureView> make(QWidget *parent = nullptr,
                                               Surface surface = Surface::composed);
    ~GlCaptureView() override;

    // Whether this computer can run the view's OpenGL programs (what make() checks first).
    static bool canRender();

    // The OpenGL version and buffers the renderer needs.
    static QSurfaceFormat surfaceFormat();

    // The surface this computer draws a window's picture best with: where OpenGL is a
    // software rasteriser, `serverWindow` where the display server can paint it and
    // `rasterWindow` where it cannot; `nativeWindow` elsewhere. LOOKPANE_SHARE_SURFACE
    // ("opengl", "raster" or "server") chooses one instead, for tests and comparisons; a
    // "server" the display cannot paint falls back to the raster window.
    static Surface preferredWindowSurface();
    // The choice for a computer whose OpenGL is (or is not) a software rasteriser, with the
    // environment's choice if any (what preferredWindowSurface() applies).
    static Surface preferredWindowSurface(bool softwareRasteriser, const QString &requested);
    // Whether this computer's OpenGL draws on the CPU (Mesa's llvmpipe or softpipe, or another
    // software renderer).
    static bool isSoftwareRasteriser();

    Surface surface() const { return m_surface; }
    // The native window that draws a `nativeWindow` or `rasterWindow` view; none for a
    // composed one.
    QWindow *nativeWindow() const { return m_window != nullptr ? m_window->window() : nullptr; }
    CaptureSurface *captureSurface() const { return m_window; }
    // What a `nativeWindow` view paints over its picture in the same pass (logical
    // coordinates, y down), and the request to paint it again after it changed. A composed
    // view leaves that to the widgets above it and ignores both.
    void setOverlayPainter(std::function<void(QPainter &, QSizeF)> painter);
    void updateOverlay();

    // The picture to draw; a redraw is requested at once.
    void setFrame(const CapturedFrame &frame);
    const CapturedFrame &frame() const { return m_frame; }
    bool hasFrame() const { return !m_frame.isNull(); }

    // Each setter does nothing for an equal value; otherwise it forgets the drawn frame and
    // redraws now when a picture is held.
    void setBlurEnabled(bool enabled);
    bool blurEnabled() const { return m_settings.blurEnabled; }
    void setBlurBlockPoints(double points);
    double blurBlockPoints() const { return m_settings.blurBlockPoints; }
    void setCaptureScale(double scale);
    double captureScale() const { return m_settings.captureScale; }
    void setBlurStrength(BlurStrength strength)
    {
        setBlurBlockPoints(lookpane::blurBlockPoints(strength));
    }

    // The reduced-size blur is what ships; the full-size path is the reference it is checked
    // against (tests, benchmarks).
    void setBlurPath(BlurPath path);
    BlurPath blurPath() const { return m_settings.path; }

    // A mip chain for a picture wider or taller than this is not built (0: the GL limit); the
    // blurred view then shows the fail-safe colour.
    void setMaximumMipChainSide(int pixels);

    bool hasRenderedFrame() const;
    bool isUnavailable() const { return m_unavailable; }
    // Draws made since the view was created, and what the last one did.
    int drawCount() const;
    const DrawResult &lastDraw() const;
    bool hasMipChain() const;

Q_SIGNALS:
    // Once, when the view's own context turns out unusable after it was made.
    void unavailable();

protected:
    void initializeGL() override;
    void resizeGL(int w, int h) override;
    void paintGL() override;
    void resizeEvent(QResizeEvent *event) override;

private:
    GlCaptureView(QWidget *parent, Surface surface);
    void becomeUnavailable();
    void requestRedraw(bool immediately);
    void render();
    void releaseRenderer();

    CapturedFrame m_frame;
    RenderSettings m_settings;
    int m_maximumMipChainSide = 0;
    std::unique_ptr<CaptureRenderer> m_renderer;
    bool m_hasRenderedFrame = false;
    // The framebuffer no longer shows the current picture and settings.
    bool m_needsDraw = true;
    bool m_unavailable = false;
    int m_drawCount = 0;
    DrawResult m_lastDraw;
    Surface m_surface = Surface::composed;
    // Owned by m_container, its child.
    CaptureSurface *m_window = nullptr;
    QWidget *m_container = nullptr;
};

} // namespace lookpane
