#pragma once

#include "picture/CapturedFrame.h"
#include "picture/PictureBlur.h"
#include "render/CaptureRenderer.h"
#include "render/CaptureSurface.h"

#include <QImage>
#include <QRasterWindow>

namespace lookpane {

// The capture picture shown through Qt's raster backing store, for computers whose OpenGL is
// a software rasteriser. There every pass of the renderer costs a fill on the CPU through a
// general-purpose pipeline, and a GL window's swap one more copy of the window. Here the
// unblurred picture is copied row by row into the backing store; the blur is computed as the
// renderer computes it, on the CPU at its reduced size (PictureBlur), and stretched linearly
// over the window as the renderer's last pass would. The marks are painted over it with the
// raster painter, and the backing store reaches the screen with one shared-memory copy.
// Nothing here needs OpenGL, so the window never reports itself unavailable.
class RasterCaptureWindow : public QRasterWindow, public CaptureSurface
{
public:
    RasterCaptureWindow();

    bool hasMipChain() const override { return lastDraw().state == BlurState::blur; }

    // Paints an unblurred `picture` over `bounds` of a device `pixels` large: copied row by
    // row where the sizes match, else stretched smoothly. The painter is left as it was.
    static void paintPicture(QPainter &painter, const QRectF &bounds, const QImage &picture,
                             QSize pixels);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // The blurred picture stretched over all of `target` (opaque 32-bit pixels), with what
    // was done in `drawn`; false for the fail-safe.
    bool blurInto(QImage &target, DrawResult &drawn);

    PictureBlur m_blur;
    // The stretched blur, where the backing store cannot take it directly.
    QImage m_stretched;
};

} // namespace lookpane
