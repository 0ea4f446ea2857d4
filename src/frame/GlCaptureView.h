#pragma once

#include "capture/CapturedFrame.h"
#include "frame/BlurParameters.h"
#include "frame/CaptureRenderer.h"
#include "model/BlurStrength.h"

#include <QOpenGLWidget>

#include <functional>
#include <memory>

namespace lookpane {

// Draws the newest captured picture stretched over the view, with the viewers-only privacy
// blur when it is on. Draws on demand: once per new picture and once per change that alters
// the output, never while nothing changes. With blur wanted but no mip chain to read, it
// shows the fail-safe colour (10, 10, 13) and none of the picture.
class GlCaptureView : public QOpenGLWidget
{
    Q_OBJECT

public:
    // The view, or none when this computer cannot run its OpenGL programs (no OpenGL 3.3 /
    // ES 3.0 context, or the shaders do not compile); the caller then shows a message.
    static std::unique_ptr<GlCaptureView> make(QWidget *parent = nullptr);
    ~GlCaptureView() override;

    // Called (once) when the view's own context turns out unusable after it was made.
    std::function<void()> onUnavailable;

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

    bool hasRenderedFrame() const { return m_hasRenderedFrame; }
    bool isUnavailable() const { return m_unavailable; }
    // Draws made since the view was created, and what the last one did.
    int drawCount() const { return m_drawCount; }
    const DrawResult &lastDraw() const { return m_lastDraw; }
    bool hasMipChain() const { return m_renderer && m_renderer->hasMipChain(); }

protected:
    void initializeGL() override;
    void resizeGL(int w, int h) override;
    void paintGL() override;

private:
    explicit GlCaptureView(QWidget *parent);
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
};

} // namespace lookpane
