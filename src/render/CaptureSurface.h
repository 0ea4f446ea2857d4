#pragma once

#include "picture/CapturedFrame.h"
#include "render/CaptureRenderer.h"

#include <functional>

class QPainter;
class QSizeF;
class QWindow;

namespace lookpane {

// A native window that shows the capture picture (blurred for viewers when asked) with the
// marks over it, for a GlCaptureView to host. It never takes input, and it draws only when
// one of its setters changed something.
class CaptureSurface
{
public:
    virtual ~CaptureSurface() = default;

    // Called (once, from the event loop) when the window cannot run the renderer's programs.
    std::function<void()> onUnavailable;
    // Called after each drawn picture reached the window system (benchmarks pace with it).
    std::function<void()> onPresented;

    virtual QWindow *window() = 0;

    virtual void setFrame(const CapturedFrame &frame) = 0;
    virtual void setRenderSettings(const RenderSettings &settings) = 0;
    virtual void setMaximumMipChainSide(int pixels) = 0;
    // Paints over the picture after every draw (logical coordinates, y down); a change of
    // what it paints needs updateOverlay().
    virtual void setOverlayPainter(std::function<void(QPainter &, QSizeF)> painter) = 0;
    virtual void updateOverlay() = 0;

    virtual bool hasRenderedFrame() const = 0;
    virtual bool isUnavailable() const = 0;
    virtual int drawCount() const = 0;
    virtual const DrawResult &lastDraw() const = 0;
    virtual bool hasMipChain() const = 0;
};

} // namespace lookpane
