#include "app/LookpaneWindowController.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "app/AppLog.h"
#include "app/DrawingSession.h"
#include "app/WindowPair.h"
#include "frame/ApplicationEventTap.h"
#include "frame/BorderlessWindow.h"
#include "frame/FrameGeometry.h"
#include "frame/PreviewView.h"
#include "frame/ScopeBorderView.h"
#include "frame/ScreenWatcher.h"
#include "model/Preferences.h"
#include "model/RectText.h"
#include "model/ScreenCoordinates.h"
#include "platform/x11/CompositingManagerWatcher.h"
#include "platform/x11/X11DesktopHints.h"
#include "platform/x11/X11FrameWatcher.h"
#include "platform/x11/X11PointerReleaseMonitor.h"
#include "platform/x11/X11WindowTraits.h"
#include "render/GlCaptureView.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/ToolShortcutPreferences.h"
#include "toolbar/FrameToolbarWindowController.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QWindow>

namespace lookpane {

namespace {

const QString alwaysOnTopKey = QStringLiteral("AlwaysOnTopEnabled");
const QString clickThroughKey = QStringLiteral("ClickThroughEnabled");
const QString shareModeKey = QStringLiteral("ShareMode");

} // namespace

LookpaneWindowController::LookpaneWindowController(Preferences &preferences,
                                                   const ScreenRect &contentRect,
                                                   ScreenLayoutProvider screens, QObject *parent)
    : QObject(parent), m_preferences(preferences), m_screens(std::move(screens)),
      m_framePreferences(preferences, m_screens),
      m_toolShortcuts(std::make_unique<ToolShortcutPreferences>(preferences))
{
    // Whether the detached outline can be see-through, followed for as long as Lookpane runs.
    m_compositingManager = std::make_unique<x11::CompositingManagerWatcher>();
    m_toolbar = std::make_unique<FrameToolbarWindowController>();
    X11WindowTraits::setWindowRole(m_toolbar->window(), "toolbar");

    m_mode = m_framePreferences.mode();
    m_ratio = m_framePreferences.ratio();
    m_blurStrength = m_framePreferences.blurStrength();
    m_alwaysOnTop = m_preferences.boolValue(alwaysOnTopKey);
    m_clickThrough = m_preferences.boolValue(clickThroughKey);

    m_windows = std::make_unique<WindowPair>(
        placedOnScreens(contentRect, QStringLiteral("the frame")), m_alwaysOnTop);
    limitWindowSizes();
    m_drawing = std::make_unique<DrawingSession>(m_windows->frameWindow(), *m_toolShortcuts);
    connectWindows();
    connectDrawingSession();

    connect(m_windows->previewView(), &PreviewView::annotationDraftChanged, this,
            [this](const Annotation &draft) {
                m_annotations.setDraft(draft);
                refreshAnnotations();
            });
    connect(m_windows->previewView(), &PreviewView::annotationCommitted, this, [this] {
        m_annotations.commitDraft();
        updateToolbar();
    });
    connect(&m_annotations, &AnnotationStore::changed, this,
            &LookpaneWindowController::refreshAnnotations);

    connectToolbar();
    updateToolbar();
    m_windows->sharePreviewView()->setBlurStrength(m_blurStrength);
    m_mouseUpTap = std::make_unique<ApplicationEventTap>([this](QObject *receiver, QEvent *event) {
        // Releases reach the window object and then the widget: take the window's alone.
        if (event->type() == QEvent::MouseButtonRelease && receiver->isWindowType() &&
            static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
            handleLeftMouseUp();
        }
        return false;
    });
    QString monitorFailure;
    m_pointerReleaseMonitor = x11::X11PointerReleaseMonitor::create(&monitorFailure);
    if (m_pointerReleaseMonitor) {
        connect(m_pointerReleaseMonitor.get(), &x11::X11PointerReleaseMonitor::leftButtonReleased,
                this, &LookpaneWindowController::handleSystemWideLeftMouseUp);
    } else {
        qCWarning(lcApp,
                  "Lookpane: releases of the mouse in other applications cannot be seen (%s); "
                  "move mode then ends only at a release over Lookpane's own windows",
                  qPrintable(monitorFailure));
    }
    // A window manager that starts, leaves or is replaced frames the windows anew, and copies
    // their shapes onto its frames only when they change: set them again for it.
    m_frameWatcher = std::make_unique<x11::X11FrameWatcher>();
    m_frameWatcher->watch(frameWindow());
    m_frameWatcher->watch(shareWindow());
    connect(m_frameWatcher.get(), &x11::X11FrameWatcher::reframed, this, [this] {
        updateMouseInteraction();
        applyOutlineShape();
    });
    // Detached, the outline's transparent middle shows black once a compositing manager that
    // was running leaves, until the box is cut to its outline; one that arrives shows the
    // middle as it is again.
    connect(m_compositingManager.get(), &x11::CompositingManagerWatcher::runningChanged, this,
            [this] {
                applyFramePicture();
                updateMouseInteraction();
                applyOutlineShape();
                frameWindow()->update();
            });
    // Monitors that come, go or change while Lookpane runs: the windows are kept on them.
    m_screenWatcher = std::make_unique<ScreenWatcher>();
    connect(m_screenWatcher.get(), &ScreenWatcher::screensChanged, this,
            &LookpaneWindowController::screensChanged);
    applyRatioToWindow();
    applyMode();
}

LookpaneWindowController::~LookpaneWindowController() = default;

void LookpaneWindowController::connectWindows()
{
    BorderlessWindow *frame = m_windows->frameWindow();
    connect(frame, &BorderlessWindow::moved, this, &LookpaneWindowController::followFrameChange);
    connect(frame, &BorderlessWindow::resized, this, &LookpaneWindowController::frameResized);
    connect(frame, &BorderlessWindow::liveResizeBegan, this, [this] {
        m_liveResizing = true;
        updateMouseInteraction();
    });
    connect(frame, &BorderlessWindow::liveResizeEnded, this,
            &LookpaneWindowController::frameLiveResizeEnded);
    connect(frame, &BorderlessWindow::closeRequested, this, &LookpaneWindowController::hide);

    BorderlessWindow *share = m_windows->shareWindow();
    for (auto signal : {&BorderlessWindow::moved, &BorderlessWindow::resized,
                        &BorderlessWindow::liveResizeEnded}) {
        connect(share, signal, this, &LookpaneWindowController::shareWindowMovedOrResized);
    }
    connect(share, &BorderlessWindow::closeRequested, this, &LookpaneWindowController::hide);
}

void LookpaneWindowController::connectToolbar()
{
    using Toolbar = FrameToolbarWindowController;
    Toolbar *toolbar = m_toolbar.get();
    connect(toolbar, &Toolbar::toggleDrawing, this, [this] { setDrawingMode(!isDrawing()); });
    connect(toolbar, &Toolbar::selectTool, this, &LookpaneWindowController::chooseTool);
    connect(toolbar, &Toolbar::selectColor, this, [this](AnnotationColor value) {
        m_drawing->setColor(value);
        m_windows->previewView()->annotationCanvas()->setColor(value);
        focusForDrawing();
        updateToolbar();
    });
    connect(toolbar, &Toolbar::undoAnnotation, this, &LookpaneWindowController::undoAnnotation);
    connect(toolbar, &Toolbar::clearAnnotations, this, &LookpaneWindowController::clearAnnotations);
    connect(toolbar, &Toolbar::togglePrivacyBlur, this,
            [this] { setPrivacyBlur(!m_isPrivacyBlurActive); });
    connect(toolbar, &Toolbar::toggleClickThrough, this,
            &LookpaneWindowController::toggleClickThrough);
    connect(toolbar, &Toolbar::toggleMode, this, [this] { setMode(toggled(m_mode)); });
    connect(toolbar, &Toolbar::toggleAlwaysOnTop, this, [this] { setAlwaysOnTop(!m_alwaysOnTop); });
    connect(toolbar, &Toolbar::hide, this, &LookpaneWindowController::hide);
    connect(toolbar, &Toolbar::dragBegan, this, &LookpaneWindowController::beginToolbarDrag);
    connect(toolbar, &Toolbar::dragged, this, &LookpaneWindowController::continueToolbarDrag);
}

void LookpaneWindowController::connectDrawingSession()
{
    connect(m_drawing.get(), &DrawingSession::exitRequested, this,
            [this] { setDrawingMode(false); });
    connect(m_drawing.get(), &DrawingSession::undoRequested, this,
            &LookpaneWindowController::undoAnnotation);
    connect(m_drawing.get(), &DrawingSession::clearRequested, this,
            &LookpaneWindowController::clearAnnotations);
    connect(m_drawing.get(), &DrawingSession::toolChosen, this,
            &LookpaneWindowController::chooseTool);
}

// --- the parts ------------------------------------------------------------------------------

bool LookpaneWindowController::isDrawing() const
{
    return m_drawing->isActive();
}

AnnotationTool LookpaneWindowController::annotationTool() const
{
    return m_drawing->tool();
}

AnnotationColor LookpaneWindowController::annotationColor() const
{
    return m_drawing->color();
}

BorderlessWindow *LookpaneWindowController::frameWindow() const
{
    return m_windows->frameWindow();
}

BorderlessWindow *LookpaneWindowController::shareWindow() const
{
    return m_windows->shareWindow();
}

PreviewView *LookpaneWindowController::previewView() const
{
    return m_windows->previewView();
}

PreviewView *LookpaneWindowController::sharePreviewView() const
{
    return m_windows->sharePreviewView();
}

// --- showing and hiding -------------------------------------------------------------------

void LookpaneWindowController::show()
{
    syncShareWindowFrame();
    m_windows->show();
    applyOutlineShape();

    const bool wasVisible = m_isFrameVisible;
    m_isFrameVisible = true;
    if (!wasVisible) {
        Q_EMIT visibilityChanged(true);
    }

    positionToolbar();
    QWidget *toolbarWindow = m_toolbar->window();
    keepToolbarAboveFrame();
    toolbarWindow->show();
    toolbarWindow->raise();
    x11::showOnAllDesktops(toolbarWindow);
    notifyFrameChanged();
    updateMouseInteraction();
}

void LookpaneWindowController::keepToolbarAboveFrame()
{
    // The window manager raises the box whenever it activates it: when it shows (its
    // activation can arrive after the toolbar's raise), at a click, for drawing. As a transient
    // of the box, the toolbar is raised with it and stays above it, whatever raised the box.
    // Qt writes the relation when it maps the toolbar, naming the box's X window of that moment
    // (the box may have a new one since its last show: a changed level).
    QWidget *toolbarWindow = m_toolbar->window();
    toolbarWindow->winId(); // its QWindow, which holds the relation
    QWindow *toolbar = toolbarWindow->windowHandle();
    QWindow *frame = frameWindow()->windowHandle();
    if (toolbar && frame && toolbar->transientParent() != frame) {
        toolbar->setTransientParent(frame);
    }
}

void LookpaneWindowController::hide()
{
    setDrawingMode(false);
    setPrivacyBlur(false);
    if (!m_liveResizing) {
        m_framePreferences.saveFrame(contentRect());
    }
    if (m_mode == ShareMode::detached) {
        saveDetachedFrame();
    }
    m_windows->hide();
    m_toolbar->window()->hide();

    const bool wasVisible = m_isFrameVisible;
    m_isFrameVisible = false;
    if (wasVisible) {
        Q_EMIT visibilityChanged(false);
    }
}

void LookpaneWindowController::beginMoveMode()
{
    m_moveMode = true;
    m_frameIgnoresMouse = false;
    setClickThrough(false);
    updateMouseInteraction();
    frameWindow()->raise();
    frameWindow()->activateWindow();
}

// --- mode -----------------------------------------------------------------------------------

void LookpaneWindowController::setMode(ShareMode mode)
{
    if (mode == m_mode) {
        return;
    }
    if (m_mode == ShareMode::detached) {
        saveDetachedFrame();
    }
    m_mode = mode;
    m_preferences.setValue(shareModeKey, rawValue(mode));
    applyMode();
    if (m_isFrameVisible) {
        shareWindow()->raise();
        frameWindow()->raise();
        positionToolbar();
        m_toolbar->window()->raise();
    }
    updateMouseInteraction();
    updateToolbar();
    Q_EMIT modeChanged(m_mode);
}

void LookpaneWindowController::applyMode()
{
    applyFramePicture();
    BorderlessWindow *share = shareWindow();
    const bool detached = m_mode == ShareMode::detached;
    share->setMovableByBackground(detached);
    share->setResizable(detached);
    m_windows->applyInput(currentInputPolicy());
    if (detached) {
        positionDetachedShareWindow();
        syncDetachedAspectRatio();
    } else {
        share->setAspect(std::nullopt);
        syncShareWindowFrame();
    }
    applyOutlineShape();
    frameWindow()->update();
}

InputModes LookpaneWindowController::inputModes() const
{
    InputModes modes;
    modes.mode = m_mode;
    modes.clickThrough = m_clickThrough;
    modes.drawing = isDrawing();
    modes.moveMode = m_moveMode;
    modes.liveResizing = m_liveResizing;
    modes.ignoringMouseAfterMoveMode = m_frameIgnoresMouse;
    modes.compositing = m_compositingManager->isRunning();
    return modes;
}

InputPolicy LookpaneWindowController::currentInputPolicy() const
{
    return inputPolicy(inputModes());
}

void LookpaneWindowController::applyFramePicture()
{
    // In overlay mode the box is opaque and mirrors the region. Detached, it is an outline the
    // user sees the region through; without a compositing manager its middle cannot be
    // transparent, so while drawing, when the whole window must take the mouse, it shows the
    // region's own picture instead (the capture never sees Lookpane's windows), and the marks
    // are still drawn over what lies beneath. The newest picture is shown at once.
    const bool mirror = currentInputPolicy().frameShowsPicture;
    if (mirror && !m_latestFrame.isNull()) {
        previewView()->setCapturedFrame(m_latestFrame);
    }
    m_windows->setFrameShowsPicture(mirror);
}

void LookpaneWindowController::applyOutlineShape()
{
    // Drawing needs the whole window to take the mouse, so the outline keeps its full shape
    // meanwhile.
    m_windows->applyOutline(currentInputPolicy().cutsFrameToOutline, m_isPrivacyBlurActive,
                            previewView()->annotationCanvas()->annotations());
}

// --- geometry -------------------------------------------------------------------------------

void LookpaneWindowController::setRatio(FrameRatio ratio)
{
    m_ratio = ratio;
    m_framePreferences.setRatio(ratio);
    applyRatioToWindow();
    if (const std::optional<QSizeF> size =
            FrameGeometry::sizeLockedTo(ratio, contentRect().size())) {
        setContentSize(*size, contentRect());
    }
    Q_EMIT ratioChanged(ratio);
}

void LookpaneWindowController::applyRatioToWindow()
{
    frameWindow()->setAspect(aspect(m_ratio));
}

void LookpaneWindowController::applySizePreset(const FrameSizePreset &preset)
{
    setRatio(preset.ratio);
    std::optional<ScreenRect> visible = visibleFrameOfFrameScreen();
    if (!visible) {
        const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
        if (layout.mainIndex && *layout.mainIndex < layout.screens.size()) {
            visible = layout.screens[*layout.mainIndex].visibleFrame;
        }
    }
    setContentSize(FrameGeometry::presetSize(preset, visible), contentRect());
}

void LookpaneWindowController::snapTo(const ScreenRect &targetFrame)
{
    const ScreenRect box =
        FrameGeometry::snapped(targetFrame, m_ratio, QSizeF(frameWindow()->minimumSize()));
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    m_windows->setContentRect(FrameGeometry::constrained(box, layoutScreenOfFrame(), layout));
    followFrameChange();
}

void LookpaneWindowController::setContentSize(const QSizeF &size, const ScreenRect &reference)
{
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    const ScreenRect centred = FrameGeometry::centred(size, reference);
    m_windows->setContentRect(FrameGeometry::constrained(centred, layoutScreenOfFrame(), layout));
    followFrameChange();
}

// The box follows the pointer pixel for pixel: its corner moves by the pixels the pointer moved
// since the press and is mapped to points once, by the screen that then holds the box. Adding up
// offsets in points would make the box jump where the pointer passes onto a monitor of another
// scale, since points are not continuous there.
void LookpaneWindowController::beginToolbarDrag()
{
    m_toolbarDrag =
        ToolbarDrag{m_windows->frameDevicePosition(), WindowPair::scaleOf(m_toolbar->window())};
}

void LookpaneWindowController::continueToolbarDrag(const ScreenOffset &offset)
{
    if (!m_toolbarDrag) {
        return;
    }
    // Device pixels count downwards, the offset upwards.
    const QPointF moved(offset.dx() * m_toolbarDrag->toolbarScale,
                        -offset.dy() * m_toolbarDrag->toolbarScale);
    const ScreenRect target =
        m_windows->frameRectAtDevicePixel(QPointF(m_toolbarDrag->boxDevicePosition) + moved);
    WindowPair::moveTopLevel(frameWindow(),
                             FrameGeometry::keptOnScreens(target, layoutAround(target)));
}

// What follows every change of the frame, in this order: the share window, the capture
// region, the saved frame (not during a live resize), the detached window's shape, the toolbar.
void LookpaneWindowController::followFrameChange()
{
    // Wherever the move came from (a drag by the box's edge, the window manager, a program's
    // request), the box stays on the screens; a live resize is kept there when it ends.
    if (!m_liveResizing) {
        keepFrameOnScreens();
    }
    syncShareWindowFrame();
    notifyFrameChanged();
    if (!m_liveResizing) {
        m_framePreferences.saveFrame(contentRect());
    }
    syncDetachedAspectRatio();
    positionToolbar();
    reshapeForNewScale();
}

void LookpaneWindowController::reshapeForNewScale()
{
    // Shapes are set in device pixels: on a monitor of another scale the box's edge bands and
    // outline are set again, or they would cover another part of the window there.
    const double scale = WindowPair::scaleOf(frameWindow());
    if (scale == m_shapedScale) {
        return;
    }
    m_shapedScale = scale;
    updateMouseInteraction();
    applyOutlineShape();
}

void LookpaneWindowController::syncShareWindowFrame()
{
    if (m_mode == ShareMode::overlay) {
        m_windows->putShareWindowUnderFrame();
    }
}

void LookpaneWindowController::syncDetachedAspectRatio()
{
    if (m_mode != ShareMode::detached || m_liveResizing) {
        return;
    }
    const QSizeF box = contentRect().size();
    BorderlessWindow *share = shareWindow();
    const QRect current = share->geometry();
    const std::optional<QSizeF> size = FrameGeometry::detachedShareSize(box, current.width());
    if (!size) {
        return;
    }
    share->setAspect(QSize(qRound(box.width()), qRound(box.height())));
    const QSize rounded = size->toSize();
    if (rounded != current.size()) {
        share->resize(rounded);
    }
}

void LookpaneWindowController::positionDetachedShareWindow()
{
    if (const std::optional<ScreenRect> saved = m_framePreferences.restoredDetachedFrame()) {
        m_windows->setShareWindowRect(placedOnScreens(*saved, QStringLiteral("the share window")));
        return;
    }
    m_windows->setShareWindowRect(FrameGeometry::detachedShareFrame(
        contentRect(), visibleFrameOfFrameScreen(), shareWindow()->minimumWidth()));
}

void LookpaneWindowController::positionToolbar()
{
    QWidget *toolbarWindow = m_toolbar->window();
    if (!toolbarWindow) {
        return;
    }
    const QSizeF size(toolbarWindow->size());
    const ScreenPoint origin =
        FrameToolbarWindowController::origin(size, contentRect(), visibleFrameOfFrameScreen());
    WindowPair::moveTopLevel(toolbarWindow, ScreenRect(origin, size));
}

void LookpaneWindowController::notifyFrameChanged()
{
    QScreen *frameScreen = screen();
    if (GlCaptureView *view = sharePreviewView()->captureView()) {
        view->setCaptureScale(frameScreen ? frameScreen->devicePixelRatio() : 2.0);
    }
    Q_EMIT frameChanged(contentRect(), frameScreen);
}

ScreenRect LookpaneWindowController::contentRect() const
{
    return m_windows->contentRect();
}

ScreenRect LookpaneWindowController::shareWindowRect() const
{
    return m_windows->shareWindowRect();
}

QScreen *LookpaneWindowController::screen() const
{
    return m_windows->screen();
}

std::optional<ScreenLayout::Screen> LookpaneWindowController::layoutScreenOfFrame() const
{
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    const ScreenPoint centre = contentRect().center();
    for (const ScreenLayout::Screen &candidate : layout.screens) {
        if (candidate.frame.contains(centre)) {
            return candidate;
        }
    }
    return std::nullopt;
}

std::optional<ScreenRect> LookpaneWindowController::visibleFrameOfFrameScreen() const
{
    if (const std::optional<ScreenLayout::Screen> onScreen = layoutScreenOfFrame()) {
        return onScreen->visibleFrame;
    }
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    if (layout.mainIndex && *layout.mainIndex < layout.screens.size()) {
        return layout.screens[*layout.mainIndex].visibleFrame;
    }
    return std::nullopt;
}

// --- window notifications -------------------------------------------------------------------

void LookpaneWindowController::frameResized()
{
    followFrameChange();
    // The bands that take clicks, and the outline's shape, follow the window's size.
    updateMouseInteraction();
    applyOutlineShape();
}

void LookpaneWindowController::frameLiveResizeEnded()
{
    m_liveResizing = false;
    syncShareWindowFrame();
    m_framePreferences.saveFrame(contentRect());
    syncDetachedAspectRatio();
    positionToolbar();
    updateMouseInteraction();
}

void LookpaneWindowController::shareWindowMovedOrResized()
{
    if (m_mode == ShareMode::detached && shareWindow()->isVisible()) {
        keepShareWindowOnScreens();
        saveDetachedFrame();
    }
}

// --- screens --------------------------------------------------------------------------------

ScreenLayout LookpaneWindowController::layout() const
{
    return m_screens ? m_screens() : ScreenLayout{};
}

ScreenLayout LookpaneWindowController::layoutAround(const ScreenRect &rect) const
{
    // Qt maps a window by the screen that holds its centre, and keeps its current screen when
    // none does (a centre in the gap that a uniform scale leaves between two monitors' points).
    const ScreenLayout screens = layout();
    for (std::size_t index = 0; index < screens.screens.size(); ++index) {
        if (screens.screens[index].frame.contains(rect.center())) {
            return seenFrom(screens, index);
        }
    }
    if (m_windows) {
        if (const QScreen *current = frameWindow()->screen()) {
            const ScreenRect frame =
                screenRectFromQt(QRectF(current->geometry()), screens.primaryGeometry);
            for (std::size_t index = 0; index < screens.screens.size(); ++index) {
                if (screens.screens[index].frame == frame) {
                    return seenFrom(screens, index);
                }
            }
        }
    }
    // A window not made yet starts on the primary screen.
    return screens.mainIndex ? seenFrom(screens, *screens.mainIndex) : screens;
}

ScreenRect LookpaneWindowController::placedOnScreens(const ScreenRect &rect,
                                                     const QString &what) const
{
    const ScreenRect kept = FrameGeometry::keptOnScreens(rect, layoutAround(rect));
    if (kept.size() != rect.size()) {
        qCWarning(lcApp,
                  "Lookpane: the saved place of %s, %s, does not fit on the screens; "
                  "it is shrunk to %s",
                  qPrintable(what), qPrintable(rectToText(rect)), qPrintable(rectToText(kept)));
    } else if (kept != rect) {
        qCDebug(lcApp, "the saved place of %s, %s, is moved onto the screens: %s", qPrintable(what),
                qPrintable(rectToText(rect)), qPrintable(rectToText(kept)));
    }
    return kept;
}

void LookpaneWindowController::limitWindowSizes()
{
    // Neither window needs more than the screens hold, whatever a setting or another program
    // asks for; this bounds the pixels that the windows and the capture allocate.
    const QSizeF bounds = FrameGeometry::screensBoundingSize(layout());
    const QSize maximum = bounds.isEmpty()
                              ? QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX)
                              : bounds.toSize().expandedTo(frameWindow()->minimumSize());
    frameWindow()->setMaximumSize(maximum);
    shareWindow()->setMaximumSize(maximum);
}

void LookpaneWindowController::keepFrameOnScreens()
{
    const ScreenRect rect = contentRect();
    const ScreenRect kept = FrameGeometry::keptOnScreens(rect, layoutAround(rect));
    if (kept != rect) {
        m_windows->setContentRect(kept);
    }
}

void LookpaneWindowController::keepShareWindowOnScreens()
{
    const ScreenRect rect = shareWindowRect();
    const ScreenRect kept = FrameGeometry::keptOnScreens(rect, layoutAround(rect));
    if (kept != rect) {
        m_windows->setShareWindowRect(kept);
    }
}

void LookpaneWindowController::screensChanged()
{
    // A monitor came, went or changed: both windows are brought onto the screens as they are
    // now, the capture follows the box onto its (perhaps new) screen, the box's place is saved
    // (in coordinates that change with the primary screen) and the toolbar follows.
    limitWindowSizes();
    if (m_mode == ShareMode::detached) {
        keepShareWindowOnScreens();
        if (shareWindow()->isVisible()) {
            saveDetachedFrame();
        }
    }
    followFrameChange();
    updateMouseInteraction();
    applyOutlineShape();
}

void LookpaneWindowController::saveFrames()
{
    m_framePreferences.saveFrame(contentRect());
    if (m_mode == ShareMode::detached) {
        saveDetachedFrame();
    }
}

void LookpaneWindowController::saveDetachedFrame()
{
    m_framePreferences.saveDetachedFrame(shareWindowRect());
}

// --- switches -------------------------------------------------------------------------------

void LookpaneWindowController::setPrivacyBlur(bool active)
{
    if (active == m_isPrivacyBlurActive) {
        return;
    }
    m_isPrivacyBlurActive = active;
    if (GlCaptureView *view = sharePreviewView()->captureView()) {
        view->setBlurEnabled(active);
    }
    previewView()->scopeBorderView()->setPrivacyBlurActive(active);
    applyOutlineShape();
    updateToolbar();
}

void LookpaneWindowController::setBlurStrength(BlurStrength strength)
{
    m_blurStrength = strength;
    sharePreviewView()->setBlurStrength(strength);
}

void LookpaneWindowController::setAlwaysOnTop(bool onTop)
{
    m_alwaysOnTop = onTop;
    m_preferences.setValue(alwaysOnTopKey, onTop);
    applyWindowLevels();
    updateToolbar();
}

void LookpaneWindowController::applyWindowLevels()
{
    m_windows->setStaysOnTop(m_alwaysOnTop);
    // The toolbar always floats, one level above the frame.
    if (m_isFrameVisible) {
        frameWindow()->raise();
        m_toolbar->window()->raise();
    }
}

void LookpaneWindowController::setClickThrough(bool clickThrough)
{
    if (clickThrough == m_clickThrough) {
        return;
    }
    m_clickThrough = clickThrough;
    m_frameIgnoresMouse = false;
    m_preferences.setValue(clickThroughKey, clickThrough);
    Q_EMIT clickThroughChanged(clickThrough);
}

void LookpaneWindowController::toggleClickThrough()
{
    m_moveMode = false;
    setClickThrough(!m_clickThrough);
    updateMouseInteraction();
    updateToolbar();
}

void LookpaneWindowController::setDrawingMode(bool drawing)
{
    if (!m_drawing->setActive(drawing)) {
        return;
    }
    m_frameIgnoresMouse = false;
    previewView()->annotationCanvas()->setEditing(drawing);
    if (m_mode == ShareMode::detached) {
        applyFramePicture();
    }
    applyOutlineShape();
    frameWindow()->setMovableByBackground(!drawing);
    updateMouseInteraction();
    if (drawing) {
        focusForDrawing();
    }
    updateToolbar();
    Q_EMIT drawingModeChanged(drawing);
}

void LookpaneWindowController::focusForDrawing()
{
    if (!isDrawing()) {
        return;
    }
    frameWindow()->raise();
    frameWindow()->activateWindow();
    m_toolbar->window()->raise();
}

void LookpaneWindowController::updateMouseInteraction()
{
    // With click-through on, the frame's interior lets clicks reach the application beneath
    // while 12-point bands along every edge still take them, so the box can be moved and
    // resized. Drawing, move mode and a live resize need the whole window.
    const InputPolicy policy = currentInputPolicy();
    if (m_windows->applyInput(policy)) {
        m_framePassesInteriorClicks = policy.frameInput != FrameInput::wholeWindow;
    }
}

// --- marks ----------------------------------------------------------------------------------

void LookpaneWindowController::chooseTool(AnnotationTool tool)
{
    m_drawing->setTool(tool);
    previewView()->annotationCanvas()->setTool(tool);
    focusForDrawing();
    updateToolbar();
}

void LookpaneWindowController::clearAnnotations()
{
    m_annotations.clear();
    focusForDrawing();
    updateToolbar();
}

void LookpaneWindowController::undoAnnotation()
{
    m_annotations.undo();
    focusForDrawing();
    updateToolbar();
}

void LookpaneWindowController::refreshAnnotations()
{
    std::vector<Annotation> shown = m_annotations.annotations();
    if (m_annotations.draft()) {
        shown.push_back(*m_annotations.draft());
    }
    previewView()->annotationCanvas()->setAnnotations(shown);
    sharePreviewView()->annotationCanvas()->setAnnotations(std::move(shown));
    applyOutlineShape();
}

void LookpaneWindowController::updateToolbar()
{
    std::map<AnnotationTool, QString> shortcuts;
    for (const AnnotationTool tool : allCases<AnnotationTool>()) {
        if (const std::optional<KeyCombo> combo = m_toolShortcuts->combo(tool)) {
            shortcuts[tool] = displayString(*combo);
        }
    }
    const bool canClear = !m_annotations.annotations().empty() || m_annotations.draft();
    m_toolbar->update(shortcuts, isDrawing(), annotationTool(), annotationColor(),
                      m_annotations.historyDepth() > 0, canClear, m_isPrivacyBlurActive,
                      m_clickThrough, m_mode, m_alwaysOnTop);
    positionToolbar();
}

// --- pictures and messages ----------------------------------------------------------------

void LookpaneWindowController::showCapturedFrame(const CapturedFrame &frame)
{
    m_latestFrame = frame;
    sharePreviewView()->setCapturedFrame(frame);
    if (currentInputPolicy().frameShowsPicture) {
        previewView()->setCapturedFrame(frame);
    }
}

void LookpaneWindowController::setCaptureMessage(const std::optional<QString> &message)
{
    if (message) {
        // The message stands instead of the picture until the next one arrives.
        m_latestFrame = CapturedFrame();
    }
    sharePreviewView()->setCaptureMessage(message);
    previewView()->setCaptureMessage(currentInputPolicy().frameShowsPicture ? message
                                                                            : std::nullopt);
}

// --- the end of a press -------------------------------------------------------------------

void LookpaneWindowController::handleLeftMouseUp()
{
    // The end of any press in the application: a toolbar drag is over, and move mode (the
    // temporary grab of the box while click-through is on) ends with click-through back on.
    m_toolbarDrag.reset();
    if (!m_moveMode) {
        return;
    }
    m_moveMode = false;
    setClickThrough(true);
    updateMouseInteraction();
}

void LookpaneWindowController::handleSystemWideLeftMouseUp()
{
    // A release that belongs to a press in this application reaches it as well (Qt still
    // sees the button down until then): that one is handleLeftMouseUp's.
    if (QGuiApplication::mouseButtons().testFlag(Qt::LeftButton)) {
        return;
    }
    // A press elsewhere ended: a toolbar drag is over, and move mode ends with the box
    // ignoring the mouse altogether; click-through is deliberately not turned back on here.
    m_toolbarDrag.reset();
    if (!m_moveMode) {
        return;
    }
    m_moveMode = false;
    m_frameIgnoresMouse = true;
    const InputPolicy policy = currentInputPolicy();
    m_frameIgnoresMouse = m_windows->applyInput(policy);
    m_framePassesInteriorClicks = m_frameIgnoresMouse;
}

} // namespace lookpane
