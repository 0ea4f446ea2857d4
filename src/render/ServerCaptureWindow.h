#pragma once

#include "picture/CapturedFrame.h"
#include "picture/PictureBlur.h"
#include "render/CaptureSurface.h"

#include <QImage>
#include <QRect>
#include <QWindow>

#include <memory>
#include <vector>

namespace lookpane {

namespace x11 {
class X11PicturePresenter;
}

// The capture picture painted into a native window by the display server itself (X11
// RENDER), for computers whose OpenGL is a software rasteriser. An unblurred picture that the
// server already holds (the X11 capture's pixmap) is painted from there, so none of its pixels
// cross to this process; a picture without one is sent first. The blur is computed on the CPU
// at its reduced size, as RasterCaptureWindow computes it, and the server stretches the small
// result over the window (bilinear, edges clamped, as the renderer's last pass reads it). The
// marks are painted with the raster painter into an overlay when they change, sent only where
// they changed, and blended by the server over the 16-pixel tiles that hold them.
//
// The window has no backing store: what it shows is what was last painted into it, painted
// again when it is exposed or resized.
class ServerCaptureWindow : public QWindow, public CaptureSurface
{
public:
    ServerCaptureWindow();
    ~ServerCaptureWindow() override;

    // Whether this application's display server can paint such a window (an X server with
    // RENDER, reached through Qt's connection).
    static bool isSupported();

    bool hasMipChain() const override { return lastDraw().state == BlurState::blur; }

protected:
    bool event(QEvent *event) override;
    void exposeEvent(QExposeEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

    void frameChanged() override;
    void overlayPainterChanged() override { m_overlayDirty = true; }
    void overlayInvalidated() override { m_overlayDirty = true; }

private:
    void draw();
    // Paints the overlay again for a window `pixels` large and sends what changed.
    void repaintOverlay(QSize pixels);

    std::unique_ptr<x11::X11PicturePresenter> m_presenter;
    PictureBlur m_blur;
    // The tiles of the overlay that hold marks, in pixels, and the size they were painted for.
    std::vector<QRect> m_overlayAreas;
    QSize m_overlaySize;
    bool m_overlayDirty = true;
};

} // namespace lookpane
