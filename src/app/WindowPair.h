#pragma once

#include "annotation/Annotation.h"
#include "app/InputPolicy.h"
#include "model/ScreenRect.h"

#include <QPointF>
#include <QRect>
#include <QRectF>

#include <memory>
#include <vector>

class QScreen;
class QWidget;

namespace lookpane {

class BorderlessWindow;
class PreviewView;

// Lookpane's two windows as one pair: the frame window (the box the user places over the
// region; never in the picture) and the share window (what the meeting application shares),
// each with its preview view. Creates and configures them, places them in screen
// coordinates (points, origin at the bottom-left of the primary screen, y up) and gives them
// the input and outline shapes that an InputPolicy asks for. It decides nothing itself.
class WindowPair
{
public:
    // `staysOnTop` is the box's first window level.
    WindowPair(const ScreenRect &contentRect, bool staysOnTop);
    ~WindowPair();

    WindowPair(const WindowPair &) = delete;
    WindowPair &operator=(const WindowPair &) = delete;

    BorderlessWindow *frameWindow() const { return m_frameWindow.get(); }
    BorderlessWindow *shareWindow() const { return m_shareWindow.get(); }
    PreviewView *previewView() const { return m_previewView; }
    PreviewView *sharePreviewView() const { return m_sharePreviewView; }

    // The box's content rectangle and the share window's rectangle, screen coordinates.
    ScreenRect contentRect() const;
    ScreenRect shareWindowRect() const;
    // The box's screen, else the primary screen.
    QScreen *screen() const;

    void setContentRect(const ScreenRect &screenRect);
    void setShareWindowRect(const ScreenRect &screenRect);
    // Puts any top-level window's top-left corner where `screenRect`'s is.
    static void moveTopLevel(QWidget *window, const ScreenRect &screenRect);
    // Where the box's top-left corner lies in device pixels (root pixels on X11).
    QPoint frameDevicePosition() const;
    // The box's content rectangle, its size in points kept, placed so that Qt puts its top-left
    // corner at `device` pixels (mapped once, by the screen that will hold the box).
    ScreenRect frameRectAtDevicePixel(const QPointF &device) const;
    // The device pixels per point of a top-level window's screen; 1 without one.
    static double scaleOf(const QWidget *window);
    // Lays the share window exactly under the box (overlay mode).
    void putShareWindowUnderFrame();

    void setStaysOnTop(bool onTop);
    // Shows both windows on every virtual desktop, the box above the share window.
    void show();
    void hide();

    // Gives the windows the input shapes of `policy`; false when the box's could not be set.
    bool applyInput(const InputPolicy &policy);
    // Cuts the box down to its edge bands, the privacy banner (`withBanner`) and the pixels
    // of `marks` (detached without a compositing manager), or gives it back its whole shape.
    void applyOutline(bool cut, bool withBanner, const std::vector<Annotation> &marks);
    // The box mirrors the region (black behind its picture), or is a see-through outline.
    void setFrameShowsPicture(bool mirror);

private:
    std::unique_ptr<BorderlessWindow> m_frameWindow;
    std::unique_ptr<BorderlessWindow> m_shareWindow;
    PreviewView *m_previewView = nullptr;      // owned by the frame window
    PreviewView *m_sharePreviewView = nullptr; // owned by the share window
    bool m_outlineShapeApplied = false;
};

} // namespace lookpane
