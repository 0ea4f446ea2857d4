#pragma once

#include "picture/CapturedFrame.h"
#include "render/CaptureRenderer.h"
#include "render/CaptureSurface.h"
#include "picture/PictureBlur.h"

#include <QImage>
#include <QRasterWindow>

#include <functional>

namespace lookpane {

// The capture picture shown through Qt's raster backing store, for computers whose OpenGL is
// a software rasteriser. There every pass of the renderer costs a fill on the CPU through a
// general-purpose pipeline, and a GL window's swap one more copy of the window. Here the
// unblurred picture is copied row by row into the backing store; the blur is computed as the
// renderer computes it, on the CPU at its reduced size (PictureBlur), and stretched linearly
// over the window as the renderer's last pass would. The marks are painted over it with the
// raster painter, and the backing store reaches the screen with one shared-memory copy.
class RasterCaptureWindow : public QRasterWindow, public CaptureSurface
{
public:
    RasterCaptureWindow();

    QWindow *window() override { return this; }

    // Each setter asks for one paint; nothing is painted while nothing changes.
    void setFrame(const CapturedFrame &frame) override;
    void setRenderSettings(const RenderSettings &settings) override;
    void setMaximumMipChainSide(int pixels) override;
    void setOverlayPainter(std::function<void(QPainter &, QSizeF)> painter) override;
    void updateOverlay() override;

    bool hasRenderedFrame() const override { return m_hasRenderedFrame; }
    // Nothing here needs OpenGL.
    bool isUnavailable() const override { return false; }
    int drawCount() const override { return m_drawCount; }
    const DrawResult &lastDraw() const override { return m_lastDraw; }
    bool hasMipChain() const override { return m_lastDraw.state == BlurState::blur; }

    // Paints an unblurred `picture` over `bounds` of a device `pixels` large: copied row by
    // row where the sizes match, else stretched smoothly. The painter is left as it was.
    static void paintPicture(QPainter &painter, const QRectF &bounds, const QImage &picture,
                             QSize pixels);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void requestPaint();
    // The blurred picture stretched over all of `target` (opaque 32-bit pixels); false for
    // the fail-safe.
    bool blurInto(QImage &target);

    CapturedFrame m_frame;
    RenderSettings m_settings;
    int m_maximumMipChainSide = 0;
    std::function<void(QPainter &, QSizeF)> m_overlayPainter;
    PictureBlur m_blur;
    // The stretched blur, where the backing store cannot take it directly.
    QImage m_stretched;
    bool m_hasRenderedFrame = false;
    int m_drawCount = 0;
    DrawResult m_lastDraw;
};

} // namespace lookpane
