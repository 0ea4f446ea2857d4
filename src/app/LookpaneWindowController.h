#pragma once

#include "annotation/AnnotationStore.h"
#include "frame/FrameSizePreset.h"
#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"
#include "model/BlurStrength.h"
#include "model/FramePreferences.h"
#include "model/FrameRatio.h"
#include "model/ScreenLayout.h"
#include "model/ShareMode.h"
#include "picture/CapturedFrame.h"

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QRectF>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QKeyEvent;
class QScreen;

namespace lookpane {

class BorderlessWindow;
class ApplicationEventTap;
class FrameToolbarWindowController;
class Preferences;
class PreviewView;
class ToolShortcutPreferences;

namespace x11 {
class X11PointerReleaseMonitor;
}

// Owns Lookpane's two windows and everything that happens to them: the frame window (the
// box the user places over the region; never in the picture) and the share window (what the
// meeting application shares). In overlay mode the share window lies exactly under the frame;
// in detached mode the frame becomes an outline and the share window a movable window of the
// box's shape. It owns the toolbar, the marks and both preview views, and reports every change
// through its on... callbacks. Geometry is in screen coordinates (points, origin at the
// bottom-left of the primary screen, y up) and converted to Qt's only at the windows.
class LookpaneWindowController : public QObject
{
    Q_OBJECT
public:
    static constexpr int edgeBand = 12;

    // `contentRect` is the frame's first rectangle. `screens` answers the screen layout of the
    // moment (tests inject one).
    LookpaneWindowController(Preferences &preferences, const QRectF &contentRect,
                             ScreenLayoutProvider screens = currentScreenLayout,
                             QObject *parent = nullptr);
    ~LookpaneWindowController() override;

    LookpaneWindowController(const LookpaneWindowController &) = delete;
    LookpaneWindowController &operator=(const LookpaneWindowController &) = delete;

    // The frame's content rectangle and its screen, after every geometry change.
    std::function<void(const QRectF &rect, QScreen *screen)> onFrameChanged;
    std::function<void(bool clickThrough)> onClickThroughChanged;
    std::function<void(bool visible)> onVisibilityChanged;
    std::function<void(ShareMode mode)> onModeChanged;
    std::function<void(FrameRatio ratio)> onRatioChanged;
    std::function<void(bool drawing)> onDrawingModeChanged;

    void show();
    void hide();
    void beginMoveMode();
    void setMode(ShareMode mode);
    void setRatio(FrameRatio ratio);
    void applySizePreset(const FrameSizePreset &preset);
    // "Fit to Window": lays the box over a window whose frame (screen coordinates) is given.
    void snapTo(const QRectF &targetFrame);
    void setPrivacyBlur(bool active);
    void setAlwaysOnTop(bool onTop);
    void setDrawingMode(bool drawing);
    void setClickThrough(bool clickThrough);
    // The toolbar's and the menu's click-through switch: ends move mode, flips click-through
    // and brings the windows' mouse handling in line.
    void toggleClickThrough();
    void setBlurStrength(BlurStrength strength);

    // A captured picture: always to the share window, to the frame's own view in overlay mode.
    void showCapturedFrame(const CapturedFrame &frame);
    // A capture message: always on the share window, on the frame's own view only in overlay.
    void setCaptureMessage(const std::optional<QString> &message);

    // Saves the frame, and in detached mode the share window's place too.
    void saveFrames();

    void updateMouseInteraction();
    void updateToolbar();
    void focusForDrawing();
    void clearAnnotations();
    void undoAnnotation();

    ShareMode mode() const { return m_mode; }
    FrameRatio ratio() const { return m_ratio; }
    bool isPrivacyBlurActive() const { return m_isPrivacyBlurActive; }
    BlurStrength blurStrength() const { return m_blurStrength; }
    bool isDrawing() const { return m_isDrawing; }
    AnnotationTool annotationTool() const { return m_annotationTool; }
    AnnotationColor annotationColor() const { return m_annotationColor; }
    bool isFrameVisible() const { return m_isFrameVisible; }
    bool alwaysOnTop() const { return m_alwaysOnTop; }
    bool clickThrough() const { return m_clickThrough; }
    bool isInMoveMode() const { return m_moveMode; }
    bool isLiveResizing() const { return m_liveResizing; }
    // Whether the frame window currently lets clicks in its interior through.
    bool framePassesInteriorClicks() const { return m_framePassesInteriorClicks; }
    // The box takes no click at all (after move mode ended in another application).
    bool frameIgnoresMouse() const { return m_frameIgnoresMouse; }

    AnnotationStore &annotations() { return m_annotations; }
    // The frame's content rectangle and the share window's rectangle, in screen coordinates.
    QRectF contentRect() const;
    QRectF shareWindowRect() const;
    QScreen *screen() const;

    BorderlessWindow *frameWindow() const { return m_frameWindow.get(); }
    BorderlessWindow *shareWindow() const { return m_shareWindow.get(); }
    PreviewView *previewView() const { return m_previewView; }
    PreviewView *sharePreviewView() const { return m_sharePreviewView; }
    FrameToolbarWindowController *toolbar() const { return m_toolbar.get(); }

private:
    void configureWindows(const QRectF &contentRect);
    void configureToolbar();
    void applyMode();
    void applyRatioToWindow();
    void applyWindowLevels();
    void setFrameRect(const QRectF &screenRect);
    void setContentSize(const QSizeF &size, const QRectF &reference);
    void followFrameChange();
    void syncShareWindowFrame();
    void syncDetachedAspectRatio();
    void positionDetachedShareWindow();
    void positionToolbar();
    void notifyFrameChanged();
    void refreshAnnotations();
    void frameMoved();
    void frameResized();
    void frameLiveResizeEnded();
    void shareWindowMovedOrResized();
    void applyShareWindowInput();
    void applyOutlineShape();
    // Whether the frame's own view shows the live picture: always in overlay mode; detached,
    // only while drawing without a compositing manager.
    bool frameShowsPicture() const;
    void applyFramePicture();
    // The pixels the marks cover in the frame window (y down).
    std::vector<QRect> markPixels() const;
    void saveDetachedFrame();
    std::optional<ScreenLayout::Screen> layoutScreenOfFrame() const;
    std::optional<QRectF> visibleFrameOfFrameScreen() const;
    void installDrawingKeyFilter();
    void removeDrawingKeyFilter();
    bool handleDrawingKey(QObject *receiver, QKeyEvent *event);
    void handleLeftMouseUp();
    void handleSystemWideLeftMouseUp();

    Preferences &m_preferences;
    ScreenLayoutProvider m_screens;
    FramePreferences m_framePreferences;
    std::unique_ptr<ToolShortcutPreferences> m_toolShortcuts;

    ShareMode m_mode = ShareMode::overlay;
    FrameRatio m_ratio = FrameRatio::free;
    bool m_isPrivacyBlurActive = false;
    BlurStrength m_blurStrength = BlurStrength::light;
    bool m_isDrawing = false;
    AnnotationTool m_annotationTool = AnnotationTool::arrow;
    AnnotationColor m_annotationColor = AnnotationColor::red;
    AnnotationStore m_annotations;
    bool m_isFrameVisible = false;
    bool m_alwaysOnTop = true;
    bool m_clickThrough = true;
    bool m_moveMode = false;
    bool m_liveResizing = false;
    bool m_framePassesInteriorClicks = false;
    bool m_frameIgnoresMouse = false;
    bool m_outlineShapeApplied = false;
    // The newest picture, for the frame's own view when it starts showing pictures again.
    CapturedFrame m_latestFrame;
    std::optional<QRectF> m_toolbarDragStartFrame;

    std::unique_ptr<BorderlessWindow> m_frameWindow;
    std::unique_ptr<BorderlessWindow> m_shareWindow;
    PreviewView *m_previewView = nullptr;      // owned by the frame window
    PreviewView *m_sharePreviewView = nullptr; // owned by the share window
    std::unique_ptr<FrameToolbarWindowController> m_toolbar;
    std::unique_ptr<ApplicationEventTap> m_drawingKeyTap;
    std::unique_ptr<ApplicationEventTap> m_mouseUpTap;
    // Releases of the left button in other applications; none without XInput 2.2.
    std::unique_ptr<x11::X11PointerReleaseMonitor> m_pointerReleaseMonitor;
};

} // namespace lookpane
