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
//
// What every such window keeps (the picture, its settings, the overlay painter and the record
// of its draws) and how a setter asks for a draw live here; a concrete window adds how it
// draws, in its paint, and passes the changes on to whatever it draws with.
class CaptureSurface
{
public:
    using OverlayPainter = std::function<void(QPainter &, QSizeF)>;

    virtual ~CaptureSurface() = default;
    CaptureSurface(const CaptureSurface &) = delete;
    CaptureSurface &operator=(const CaptureSurface &) = delete;

    // Called (once, from the event loop) when the window cannot run the renderer's programs.
    std::function<void()> onUnavailable;
    // Called after each drawn picture reached the window system (benchmarks pace with it).
    std::function<void()> onPresented;

    QWindow *window() const;

    // Each setter asks for one draw; nothing is drawn while nothing changes.
    void setFrame(const CapturedFrame &frame);
    void setRenderSettings(const RenderSettings &settings);
    void setMaximumMipChainSide(int pixels);
    // Paints over the picture after every draw (logical coordinates, y down); a change of
    // what it paints needs updateOverlay().
    void setOverlayPainter(OverlayPainter painter);
    void updateOverlay();
    // Carries out an asked-for draw before it returns, instead of at the next turn of the event
    // loop, for a change that must reach the screen before whatever the caller does next (the
    // privacy blur: the box says "Viewers see a blur" only after viewers do). Does nothing
    // while the window is not exposed; it draws when it is.
    void drawNow();

    bool hasRenderedFrame() const { return m_hasRenderedFrame; }
    bool isUnavailable() const { return m_unavailable; }
    // Draws made since the window was created, and what the last one did.
    int drawCount() const { return m_drawCount; }
    const DrawResult &lastDraw() const { return m_lastDraw; }
    virtual bool hasMipChain() const = 0;

protected:
    // `window` is the concrete window itself, which paints and is updated through it: a
    // QPaintDeviceWindow repaints all of itself, any other window draws at its update request.
    explicit CaptureSurface(QWindow *window);

    const CapturedFrame &frame() const { return m_frame; }
    const RenderSettings &renderSettings() const { return m_settings; }
    int maximumMipChainSide() const { return m_maximumMipChainSide; }
    const OverlayPainter &overlayPainter() const { return m_overlayPainter; }

    // What a window draws with beside this state (a GL renderer and its overlay layer) hears
    // of each change here, before the draw it asks for; a window that reads the state at each
    // paint needs none of them.
    virtual void frameChanged() {}
    virtual void maximumMipChainSideChanged() {}
    virtual void overlayPainterChanged() {}
    virtual void overlayInvalidated() {}

    // Counts a draw that is starting and gives its record to fill in.
    DrawResult &startDraw();
    // Whether the window now shows the current picture and settings; every setter but the
    // overlay's makes it false until the next draw says so.
    void setRenderedFrame(bool rendered) { m_hasRenderedFrame = rendered; }

    // Marks the window unavailable and calls onUnavailable from the event loop, not from
    // inside the window's set-up: the owner may hide or replace the window. Only the first
    // call reports.
    void reportUnavailable();
    // Calls onPresented now, or from the event loop where the picture reaches the window
    // system only after the paint returns.
    void reportPresented();
    void reportPresentedAfterPaint();

private:
    // Forgets the drawn picture and asks the window for a paint.
    void requestDraw();

    // Asks the window for a draw at the next turn of the event loop.
    void updateWindow();

    QWindow &m_window;
    CapturedFrame m_frame;
    RenderSettings m_settings;
    int m_maximumMipChainSide = 0;
    OverlayPainter m_overlayPainter;
    bool m_hasRenderedFrame = false;
    bool m_unavailable = false;
    int m_drawCount = 0;
    DrawResult m_lastDraw;
};

} // namespace lookpane
