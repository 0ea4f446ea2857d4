#pragma once

#include "annotation/AnnotationStore.h"
#include "app/InputPolicy.h"
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
#include <QRectF>

#include <memory>
#include <optional>

class QScreen;

namespace lookpane {

class ApplicationEventTap;
class ScreenWatcher;
class BorderlessWindow;
class DrawingSession;
class FrameToolbarWindowController;
class Preferences;
class PreviewView;
class ToolShortcutPreferences;
class WindowPair;

namespace x11 {
class CompositingManagerWatcher;
class X11FrameWatcher;
class X11PointerReleaseMonitor;
} // namespace x11

// Owns Lookpane's two windows and everything that happens to them: the frame window (the
// box the user places over the region; never in the picture) and the share window (what the
// meeting application shares). In overlay mode the share window lies exactly under the frame;
// in detached mode the frame becomes an outline and the share window a movable window of the
// box's shape. It owns the window pair, the toolbar, the marks and the drawing session; its
// setters compare, persist, update the windows and then report through its signals.
// Geometry is in screen coordinates (points, origin at the bottom-left of the primary
// screen, y up) and converted to Qt's only by the window pair.
class LookpaneWindowController : public QObject
{
    Q_OBJECT
public:
    // `contentRect` is the frame's first rectangle. `screens` answers the screen layout of the
    // moment (tests inject one).
    LookpaneWindowController(Preferences &preferences, const ScreenRect &contentRect,
                             ScreenLayoutProvider screens = currentScreenLayout,
                             QObject *parent = nullptr);
    ~LookpaneWindowController() override;

    LookpaneWindowController(const LookpaneWindowController &) = delete;
    LookpaneWindowController &operator=(const LookpaneWindowController &) = delete;

    void show();
    void hide();
    void beginMoveMode();
    void setMode(ShareMode mode);
    void setRatio(FrameRatio ratio);
    void applySizePreset(const FrameSizePreset &preset);
    // "Fit to Window": lays the box over a window whose frame (screen coordinates) is given.
    void snapTo(const ScreenRect &targetFrame);
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
    bool isDrawing() const;
    AnnotationTool annotationTool() const;
    AnnotationColor annotationColor() const;
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
    ScreenRect contentRect() const;
    ScreenRect shareWindowRect() const;
    QScreen *screen() const;

    BorderlessWindow *frameWindow() const;
    BorderlessWindow *shareWindow() const;
    PreviewView *previewView() const;
    PreviewView *sharePreviewView() const;
    FrameToolbarWindowController *toolbar() const { return m_toolbar.get(); }

Q_SIGNALS:
    // The frame's content rectangle and its screen, after every geometry change.
    void frameChanged(const lookpane::ScreenRect &rect, QScreen *screen);
    void clickThroughChanged(bool clickThrough);
    void visibilityChanged(bool visible);
    void modeChanged(lookpane::ShareMode mode);
    void ratioChanged(lookpane::FrameRatio ratio);
    void drawingModeChanged(bool drawing);

private:
    void connectWindows();
    void connectToolbar();
    void connectDrawingSession();
    void applyMode();
    void applyRatioToWindow();
    void applyWindowLevels();
    void setContentSize(const QSizeF &size, const ScreenRect &reference);
    void followFrameChange();
    void reshapeForNewScale();
    void syncShareWindowFrame();
    void syncDetachedAspectRatio();
    void positionDetachedShareWindow();
    void positionToolbar();
    void keepToolbarAboveFrame();
    void notifyFrameChanged();
    void refreshAnnotations();
    void frameResized();
    void frameLiveResizeEnded();
    void shareWindowMovedOrResized();
    // The modes that decide the windows' mouse handling, and what they decide.
    InputModes inputModes() const;
    InputPolicy currentInputPolicy() const;
    void applyOutlineShape();
    void applyFramePicture();
    void chooseTool(AnnotationTool tool);
    void saveDetachedFrame();
    std::optional<ScreenLayout::Screen> layoutScreenOfFrame() const;
    std::optional<ScreenRect> visibleFrameOfFrameScreen() const;
    ScreenLayout layout() const;
    // The screens as a window at `rect` sees them (seenFrom): by the screen that holds its
    // centre, else by the box's current screen.
    ScreenLayout layoutAround(const ScreenRect &rect) const;
    // `rect`, a saved place of `what`, kept on the screens, with a message when it had to be.
    ScreenRect placedOnScreens(const ScreenRect &rect, const QString &what) const;
    void limitWindowSizes();
    void keepFrameOnScreens();
    void keepShareWindowOnScreens();
    void screensChanged();
    void beginToolbarDrag();
    void continueToolbarDrag(const ScreenOffset &offset);
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
    AnnotationStore m_annotations;
    bool m_isFrameVisible = false;
    bool m_alwaysOnTop = true;
    bool m_clickThrough = true;
    bool m_moveMode = false;
    bool m_liveResizing = false;
    bool m_framePassesInteriorClicks = false;
    bool m_frameIgnoresMouse = false;
    // The scale of the box's screen when its shapes were last set from a move.
    double m_shapedScale = 0;
    // The newest picture, for the frame's own view when it starts showing pictures again.
    CapturedFrame m_latestFrame;
    // A toolbar drag under way: where the box's corner was in device pixels at its start, and
    // the scale of the toolbar's screen then, in whose points the toolbar measures the drag.
    struct ToolbarDrag
    {
        QPoint boxDevicePosition;
        double toolbarScale = 1.0;
    };
    std::optional<ToolbarDrag> m_toolbarDrag;

    std::unique_ptr<FrameToolbarWindowController> m_toolbar;
    std::unique_ptr<WindowPair> m_windows;
    std::unique_ptr<DrawingSession> m_drawing;
    std::unique_ptr<ApplicationEventTap> m_mouseUpTap;
    // Releases of the left button in other applications; none without XInput 2.2.
    std::unique_ptr<x11::X11PointerReleaseMonitor> m_pointerReleaseMonitor;
    std::unique_ptr<x11::X11FrameWatcher> m_frameWatcher;
    std::unique_ptr<x11::CompositingManagerWatcher> m_compositingManager;
    std::unique_ptr<ScreenWatcher> m_screenWatcher;
};

} // namespace lookpane
