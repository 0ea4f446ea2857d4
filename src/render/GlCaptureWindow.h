#pragma once

#include "picture/CapturedFrame.h"
#include "render/CaptureRenderer.h"
#include "render/CaptureSurface.h"
#include "render/OverlayLayer.h"

#include <QOpenGLWindow>

#include <functional>
#include <memory>

class QPainter;

namespace lookpane {

// The capture picture drawn straight into a native OpenGL window of its own, with what
// belongs above it (the annotation marks) laid over it in the same pass. A
// QOpenGLWidget is drawn into a texture and then composed into its top-level window with every
// other widget; on a software rasteriser that composition costs more than the picture itself. The
// window never takes input: clicks fall through to the widget that holds it.
class GlCaptureWindow : public QOpenGLWindow, public CaptureSurface
{
public:
    GlCaptureWindow();
    ~GlCaptureWindow() override;

    QWindow *window() override { return this; }

    // Each setter asks for one draw; nothing is drawn while nothing changes.
    void setFrame(const CapturedFrame &frame) override;
    void setRenderSettings(const RenderSettings &settings) override;
    void setMaximumMipChainSide(int pixels) override;
    void setOverlayPainter(std::function<void(QPainter &, QSizeF)> painter) override;
    void updateOverlay() override;

    bool hasRenderedFrame() const override { return m_hasRenderedFrame; }
    bool isUnavailable() const override { return m_unavailable; }
    int drawCount() const override { return m_drawCount; }
    const DrawResult &lastDraw() const override { return m_lastDraw; }
    bool hasMipChain() const override { return m_renderer && m_renderer->hasMipChain(); }

protected:
    void initializeGL() override;
    void resizeGL(int w, int h) override;
    void paintGL() override;

private:
    void requestDraw();
    void releaseRenderer();

    CapturedFrame m_frame;
    RenderSettings m_settings;
    int m_maximumMipChainSide = 0;
    std::function<void(QPainter &, QSizeF)> m_overlayPainter;
    std::unique_ptr<CaptureRenderer> m_renderer;
    std::unique_ptr<OverlayLayer> m_overlay;
    bool m_hasRenderedFrame = false;
    bool m_unavailable = false;
    int m_drawCount = 0;
    DrawResult m_lastDraw;
};

} // namespace lookpane
