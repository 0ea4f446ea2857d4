#pragma once

#include "picture/CapturedFrame.h"
#include "render/CaptureRenderer.h"
#include "render/CaptureSurface.h"
#include "render/OverlayLayer.h"

#include <QOpenGLWindow>

#include <memory>

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

    bool hasMipChain() const override { return m_renderer && m_renderer->hasMipChain(); }

protected:
    void initializeGL() override;
    void resizeGL(int w, int h) override;
    void paintGL() override;

    // The renderer and the overlay layer keep copies of what they draw.
    void frameChanged() override;
    void maximumMipChainSideChanged() override;
    void overlayPainterChanged() override;
    void overlayInvalidated() override;

private:
    void releaseRenderer();

    std::unique_ptr<CaptureRenderer> m_renderer;
    std::unique_ptr<OverlayLayer> m_overlay;
};

} // namespace lookpane
