#include "app/LookpaneWindowController.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "app/AppLog.h"
#include "frame/ApplicationEventTap.h"
#include "frame/BorderlessWindow.h"
#include "frame/FrameGeometry.h"
#include "frame/PreviewView.h"
#include "frame/ScopeBorderView.h"
#include "model/Preferences.h"
#include "model/ScreenCoordinates.h"
#include "platform/x11/X11DesktopHints.h"
#include "platform/x11/X11PointerReleaseMonitor.h"
#include "platform/x11/X11WindowTraits.h"
#include "render/GlCaptureView.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/ModifierMapping.h"
#include "shortcuts/PhysicalKeys.h"
#include "shortcuts/ToolShortcutPreferences.h"
#include "toolbar/FrameToolbarWindowController.h"

#include <QBitmap>
#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QRegion>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

namespace lookpane {

namespace {

const QString alwaysOnTopKey = QStringLiteral("AlwaysOnTopEnabled");
const QString clickThroughKey = QStringLiteral("ClickThroughEnabled");
const QString shareModeKey = QStringLiteral("ShareMode");

constexpr std::uint16_t escapeKeyCode = 53;
constexpr std::uint16_t deleteKeyCode = 51;

QRect toQt(const QRectF &screenRect)
{
    return qtRectFromScreen(screenRect, primaryScreenHeight()).toRect();
}

QRectF fromQt(const QRect &qtRect)
{
    return screenRectFromQt(QRectF(qtRect), primaryScreenHeight());
}

void fill(QWidget *content, QWidget *window)
{
    auto *layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(content);
}

// Sets a top-level's stay-on-top flag without re-creating a shown window.
void setStaysOnTop(QWidget *window, bool onTop)
{
    if (QWindow *handle = window->windowHandle()) {
        handle->setFlag(Qt::WindowStaysOnTopHint, onTop);
    } else {
        window->setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
    }
}

} // namespace

LookpaneWindowController::LookpaneWindowController(Preferences &preferences,
                                                   const QRectF &contentRect,
                                                   ScreenLayoutProvider screens, QObject *parent)
    : QObject(parent), m_preferences(preferences), m_screens(std::move(screens)),
      m_framePreferences(preferences, m_screens),
      m_toolShortcuts(std::make_unique<ToolShortcutPreferences>(preferences))
{
    m_toolbar = std::make_unique<FrameToolbarWindowController>();
    X11WindowTraits::setWindowRole(m_toolbar->window(), "toolbar");

    m_mode = m_framePreferences.mode();
    m_ratio = m_framePreferences.ratio();
    m_blurStrength = m_framePreferences.blurStrength();
    m_alwaysOnTop = m_preferences.boolValue(alwaysOnTopKey);
    m_clickThrough = m_preferences.boolValue(clickThroughKey);

    configureWindows(contentRect);

    m_previewView->onAnnotationDraftChanged = [this](const Annotation &draft) {
        m_annotations.setDraft(draft);
        refreshAnnotations();
    };
    m_previewView->onAnnotationCommitted = [this] {
        m_annotations.commitDraft();
        updateToolbar();
    };
    m_annotations.onChange = [this] { refreshAnnotations(); };

    configureToolbar();
    m_sharePreviewView->setBlurStrength(m_blurStrength);
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
        m_pointerReleaseMonitor->onLeftButtonReleased = [this] { handleSystemWideLeftMouseUp(); };
    } else {
        qCWarning(lcApp,
                  "Lookpane: releases of the mouse in other applications cannot be seen (%s); "
                  "move mode then ends only at a release over Lookpane's own windows",
                  qPrintable(monitorFailure));
    }
    applyRatioToWindow();
    applyMode();
}

LookpaneWindowController::~LookpaneWindowController()
{
    removeDrawingKeyFilter();
    m_mouseUpTap.reset();
    // The windows' callbacks reach back into this controller; silence them first.
    for (BorderlessWindow *window : {m_frameWindow.get(), m_shareWindow.get()}) {
        window->onMoved = nullptr;
        window->onResized = nullptr;
        window->onLiveResizeBegan = nullptr;
        window->onLiveResizeEnded = nullptr;
        window->onCloseRequested = nullptr;
    }
}

void LookpaneWindowController::configureWindows(const QRectF &contentRect)
{
    m_frameWindow = std::make_unique<BorderlessWindow>();
    m_shareWindow = std::make_unique<BorderlessWindow>();
    m_previewView = new PreviewView(true, m_frameWindow.get());
    m_sharePreviewView = new PreviewView(false, m_shareWindow.get());
    fill(m_previewView, m_frameWindow.get());
    fill(m_sharePreviewView, m_shareWindow.get());

    const QSize minimum = FrameGeometry::minimumContentSize.toSize();
    for (BorderlessWindow *window : {m_frameWindow.get(), m_shareWindow.get()}) {
        window->setWindowTitle(QStringLiteral("Lookpane"));
        window->setMinimumSize(minimum);
        window->setAutoFillBackground(true);
    }
    // Only the box turns into a see-through outline (detached). The share window is opaque,
    // black behind its picture: what a meeting application reads of it has no transparency
    // to mishandle, and its backing store needs no clearing before each picture.
    m_frameWindow->setAttribute(Qt::WA_TranslucentBackground);
    m_frameWindow->setGeometry(toQt(contentRect));
    m_shareWindow->setGeometry(toQt(contentRect));
    setStaysOnTop(m_frameWindow.get(), m_alwaysOnTop);
    m_frameWindow->setMovableByBackground(true);

    X11WindowTraits::setWindowRole(m_frameWindow.get(), "frame");
    X11WindowTraits::setWindowRole(m_shareWindow.get(), "share");

    m_frameWindow->onMoved = [this] { frameMoved(); };
    m_frameWindow->onResized = [this] { frameResized(); };
    m_frameWindow->onLiveResizeBegan = [this] {
        m_liveResizing = true;
        updateMouseInteraction();
    };
    m_frameWindow->onLiveResizeEnded = [this] { frameLiveResizeEnded(); };
    m_frameWindow->onCloseRequested = [this] { hide(); };

    m_shareWindow->onMoved = [this] { shareWindowMovedOrResized(); };
    m_shareWindow->onResized = [this] { shareWindowMovedOrResized(); };
    m_shareWindow->onLiveResizeEnded = [this] { shareWindowMovedOrResized(); };
    m_shareWindow->onCloseRequested = [this] { hide(); };
}

void LookpaneWindowController::configureToolbar()
{
    FrameToolbarWindowController &toolbar = *m_toolbar;
    toolbar.onToggleDrawing = [this] { setDrawingMode(!m_isDrawing); };
    toolbar.onSelectTool = [this](AnnotationTool tool) {
        m_annotationTool = tool;
        m_previewView->annotationCanvas()->setTool(tool);
        focusForDrawing();
        updateToolbar();
    };
    toolbar.onSelectColor = [this](AnnotationColor value) {
        m_annotationColor = value;
        m_previewView->annotationCanvas()->setColor(value);
        focusForDrawing();
        updateToolbar();
    };
    toolbar.onUndoAnnotation = [this] { undoAnnotation(); };
    toolbar.onClearAnnotations = [this] { clearAnnotations(); };
    toolbar.onTogglePrivacyBlur = [this] { setPrivacyBlur(!m_isPrivacyBlurActive); };
    toolbar.onToggleClickThrough = [this] { toggleClickThrough(); };
    toolbar.onToggleMode = [this] { setMode(toggled(m_mode)); };
    toolbar.onToggleAlwaysOnTop = [this] { setAlwaysOnTop(!m_alwaysOnTop); };
    toolbar.onHide = [this] { hide(); };
    toolbar.onDragBegan = [this] { m_toolbarDragStartFrame = contentRect(); };
    toolbar.onDragged = [this](QPointF offset) {
        if (!m_toolbarDragStartFrame) {
            return;
        }
        m_frameWindow->move(toQt(m_toolbarDragStartFrame->translated(offset)).topLeft());
    };
    updateToolbar();
}

// --- showing and hiding -------------------------------------------------------------------

void LookpaneWindowController::show()
{
    syncShareWindowFrame();
    m_shareWindow->show();
    m_shareWindow->raise();
    m_frameWindow->show();
    m_frameWindow->raise();
    m_frameWindow->activateWindow();
    x11::showOnAllDesktops(m_frameWindow.get());
    x11::showOnAllDesktops(m_shareWindow.get());
    applyShareWindowInput();
    applyOutlineShape();

    const bool wasVisible = m_isFrameVisible;
    m_isFrameVisible = true;
    if (!wasVisible && onVisibilityChanged) {
        onVisibilityChanged(true);
    }

    positionToolbar();
    QWidget *toolbarWindow = m_toolbar->window();
    toolbarWindow->show();
    toolbarWindow->raise();
    x11::showOnAllDesktops(toolbarWindow);
    notifyFrameChanged();
    updateMouseInteraction();
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
    m_frameWindow->hide();
    m_shareWindow->hide();
    m_toolbar->window()->hide();

    const bool wasVisible = m_isFrameVisible;
    m_isFrameVisible = false;
    if (wasVisible && onVisibilityChanged) {
        onVisibilityChanged(false);
    }
}

void LookpaneWindowController::beginMoveMode()
{
    m_moveMode = true;
    m_frameIgnoresMouse = false;
    setClickThrough(false);
    updateMouseInteraction();
    m_frameWindow->raise();
    m_frameWindow->activateWindow();
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
        m_shareWindow->raise();
        m_frameWindow->raise();
        positionToolbar();
        m_toolbar->window()->raise();
    }
    updateMouseInteraction();
    updateToolbar();
    if (onModeChanged) {
        onModeChanged(m_mode);
    }
}

void LookpaneWindowController::applyMode()
{
    applyFramePicture();
    if (m_mode == ShareMode::detached) {
        m_shareWindow->setMovableByBackground(true);
        m_shareWindow->setResizable(true);
        applyShareWindowInput();
        positionDetachedShareWindow();
        syncDetachedAspectRatio();
    } else {
        m_shareWindow->setMovableByBackground(false);
        m_shareWindow->setResizable(false);
        m_shareWindow->setAspect(std::nullopt);
        applyShareWindowInput();
        syncShareWindowFrame();
    }
    QPalette sharePalette = m_shareWindow->palette();
    sharePalette.setColor(QPalette::Window, Qt::black);
    m_shareWindow->setPalette(sharePalette);
    applyOutlineShape();
    m_frameWindow->update();
}

bool LookpaneWindowController::frameShowsPicture() const
{
    return m_mode == ShareMode::overlay || (m_isDrawing && !x11::isCompositingManagerRunning());
}

void LookpaneWindowController::applyFramePicture()
{
    // In overlay mode the box is opaque and mirrors the region. Detached, it is an outline the
    // user sees the region through; without a compositing manager its middle cannot be
    // transparent, so while drawing, when the whole window must take the mouse, it shows the
    // region's own picture instead (the capture never sees Lookpane's windows), and the marks
    // are still drawn over what lies beneath. The newest picture is shown at once.
    const bool mirror = frameShowsPicture();
    QPalette palette = m_frameWindow->palette();
    palette.setColor(QPalette::Window, mirror ? QColor(Qt::black) : QColor(Qt::transparent));
    m_frameWindow->setPalette(palette);
    if (mirror && !m_latestFrame.isNull()) {
        m_previewView->setCapturedFrame(m_latestFrame);
    }
    m_previewView->setPreviewStyle(mirror ? PreviewView::Style::mirror
                                          : PreviewView::Style::selection);
}

void LookpaneWindowController::applyOutlineShape()
{
    // Detached, the frame is an outline the user sees the region through. A compositing
    // manager shows the transparent middle as it is; without one the window would show black
    // there, so its shape is cut down to the edge bands, the banner and the pixels of the
    // marks. Drawing needs the whole window to take the mouse, so it keeps its full shape
    // meanwhile.
    const bool cut =
        m_mode == ShareMode::detached && !m_isDrawing && !x11::isCompositingManagerRunning();
    if (!cut) {
        if (m_outlineShapeApplied) {
            X11WindowTraits::clearBoundingRegion(m_frameWindow.get());
            m_outlineShapeApplied = false;
        }
        return;
    }
    std::vector<QRect> rects = X11WindowTraits::edgeBands(m_frameWindow->size(), edgeBand);
    if (m_isPrivacyBlurActive) {
        const QRectF outline = ScopeBorderView::outlineRect(QRectF(m_frameWindow->rect()));
        if (const std::optional<QRectF> banner = ScopeBorderView::bannerRect(outline)) {
            rects.push_back(banner->toAlignedRect());
        }
    }
    const std::vector<QRect> marks = markPixels();
    rects.insert(rects.end(), marks.begin(), marks.end());
    m_outlineShapeApplied = X11WindowTraits::setBoundingRegion(m_frameWindow.get(), rects);
}

std::vector<QRect> LookpaneWindowController::markPixels() const
{
    const std::vector<Annotation> &shown = m_previewView->annotationCanvas()->annotations();
    if (shown.empty()) {
        return {};
    }
    // Drawn as the canvas draws them; every pixel they touch joins the shape, so the marks
    // show over the desktop as they do over the picture (with hard edges).
    QImage image(m_frameWindow->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        AnnotationCanvasView::paintAnnotations(painter, shown, QSizeF(image.size()));
    }
    const QRegion region(QBitmap::fromImage(image.createAlphaMask(Qt::MonoOnly)));
    return std::vector<QRect>(region.begin(), region.end());
}

void LookpaneWindowController::applyShareWindowInput()
{
    // Lying under the frame, the share window must never catch the clicks that pass through
    // the frame's interior; detached, it is an ordinary window.
    if (m_mode == ShareMode::overlay) {
        X11WindowTraits::setInputRegion(m_shareWindow.get(), {});
    } else {
        X11WindowTraits::clearInputRegion(m_shareWindow.get());
    }
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
    if (onRatioChanged) {
        onRatioChanged(ratio);
    }
}

void LookpaneWindowController::applyRatioToWindow()
{
    m_frameWindow->setAspect(aspect(m_ratio));
}

void LookpaneWindowController::applySizePreset(const FrameSizePreset &preset)
{
    setRatio(preset.ratio);
    std::optional<QRectF> visible = visibleFrameOfFrameScreen();
    if (!visible) {
        const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
        if (layout.mainIndex && *layout.mainIndex < layout.screens.size()) {
            visible = layout.screens[*layout.mainIndex].visibleFrame;
        }
    }
    setContentSize(FrameGeometry::presetSize(preset, visible), contentRect());
}

void LookpaneWindowController::snapTo(const QRectF &targetFrame)
{
    const QRectF box =
        FrameGeometry::snapped(targetFrame, m_ratio, QSizeF(m_frameWindow->minimumSize()));
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    setFrameRect(FrameGeometry::constrained(box, layoutScreenOfFrame(), layout));
    followFrameChange();
}

void LookpaneWindowController::setContentSize(const QSizeF &size, const QRectF &reference)
{
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    const QRectF centred = FrameGeometry::centred(size, reference);
    setFrameRect(FrameGeometry::constrained(centred, layoutScreenOfFrame(), layout));
    followFrameChange();
}

void LookpaneWindowController::setFrameRect(const QRectF &screenRect)
{
    m_frameWindow->setGeometry(toQt(screenRect));
}

// What follows every change of the frame, in this order: the share window, the capture
// region, the saved frame (not during a live resize), the detached window's shape, the toolbar.
void LookpaneWindowController::followFrameChange()
{
    syncShareWindowFrame();
    notifyFrameChanged();
    if (!m_liveResizing) {
        m_framePreferences.saveFrame(contentRect());
    }
    syncDetachedAspectRatio();
    positionToolbar();
}

void LookpaneWindowController::syncShareWindowFrame()
{
    if (m_mode != ShareMode::overlay) {
        return;
    }
    if (m_shareWindow->geometry() != m_frameWindow->geometry()) {
        m_shareWindow->setGeometry(m_frameWindow->geometry());
    }
}

void LookpaneWindowController::syncDetachedAspectRatio()
{
    if (m_mode != ShareMode::detached || m_liveResizing) {
        return;
    }
    const QSizeF box = contentRect().size();
    const QRect share = m_shareWindow->geometry();
    const std::optional<QSizeF> size = FrameGeometry::detachedShareSize(box, share.width());
    if (!size) {
        return;
    }
    m_shareWindow->setAspect(QSize(qRound(box.width()), qRound(box.height())));
    const QSize rounded = size->toSize();
    if (rounded != share.size()) {
        m_shareWindow->resize(rounded);
    }
}

void LookpaneWindowController::positionDetachedShareWindow()
{
    if (const std::optional<QRectF> saved = m_framePreferences.restoredDetachedFrame()) {
        m_shareWindow->setGeometry(toQt(*saved));
        return;
    }
    const QRectF placed = FrameGeometry::detachedShareFrame(
        contentRect(), visibleFrameOfFrameScreen(), m_shareWindow->minimumWidth());
    m_shareWindow->setGeometry(toQt(placed));
}

void LookpaneWindowController::positionToolbar()
{
    QWidget *toolbarWindow = m_toolbar->window();
    if (!toolbarWindow) {
        return;
    }
    const QSizeF size(toolbarWindow->size());
    const QPointF origin =
        FrameToolbarWindowController::origin(size, contentRect(), visibleFrameOfFrameScreen());
    toolbarWindow->move(toQt(QRectF(origin, size)).topLeft());
}

void LookpaneWindowController::notifyFrameChanged()
{
    QScreen *frameScreen = screen();
    if (GlCaptureView *view = m_sharePreviewView->captureView()) {
        view->setCaptureScale(frameScreen ? frameScreen->devicePixelRatio() : 2.0);
    }
    if (onFrameChanged) {
        onFrameChanged(contentRect(), frameScreen);
    }
}

QRectF LookpaneWindowController::contentRect() const
{
    return fromQt(m_frameWindow->geometry());
}

QRectF LookpaneWindowController::shareWindowRect() const
{
    return fromQt(m_shareWindow->geometry());
}

QScreen *LookpaneWindowController::screen() const
{
    QScreen *onScreen = m_frameWindow->screen();
    return onScreen ? onScreen : QGuiApplication::primaryScreen();
}

std::optional<ScreenLayout::Screen> LookpaneWindowController::layoutScreenOfFrame() const
{
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    const QPointF centre = contentRect().center();
    for (const ScreenLayout::Screen &candidate : layout.screens) {
        if (candidate.frame.contains(centre)) {
            return candidate;
        }
    }
    return std::nullopt;
}

std::optional<QRectF> LookpaneWindowController::visibleFrameOfFrameScreen() const
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

void LookpaneWindowController::frameMoved()
{
    followFrameChange();
}

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
    if (m_mode == ShareMode::detached && m_shareWindow->isVisible()) {
        saveDetachedFrame();
    }
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
    if (GlCaptureView *view = m_sharePreviewView->captureView()) {
        view->setBlurEnabled(active);
    }
    m_previewView->scopeBorderView()->setPrivacyBlurActive(active);
    applyOutlineShape();
    updateToolbar();
}

void LookpaneWindowController::setBlurStrength(BlurStrength strength)
{
    m_blurStrength = strength;
    m_sharePreviewView->setBlurStrength(strength);
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
    setStaysOnTop(m_frameWindow.get(), m_alwaysOnTop);
    // The toolbar always floats, one level above the frame.
    if (m_isFrameVisible) {
        m_frameWindow->raise();
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
    if (onClickThroughChanged) {
        onClickThroughChanged(clickThrough);
    }
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
    if (drawing == m_isDrawing) {
        return;
    }
    m_isDrawing = drawing;
    m_frameIgnoresMouse = false;
    m_previewView->annotationCanvas()->setEditing(drawing);
    if (m_mode == ShareMode::detached) {
        applyFramePicture();
    }
    applyOutlineShape();
    m_frameWindow->setMovableByBackground(!drawing);
    if (drawing) {
        updateMouseInteraction();
        focusForDrawing();
        installDrawingKeyFilter();
    } else {
        removeDrawingKeyFilter();
        updateMouseInteraction();
    }
    updateToolbar();
    if (onDrawingModeChanged) {
        onDrawingModeChanged(drawing);
    }
}

void LookpaneWindowController::focusForDrawing()
{
    if (!m_isDrawing) {
        return;
    }
    m_frameWindow->raise();
    m_frameWindow->activateWindow();
    m_toolbar->window()->raise();
}

void LookpaneWindowController::updateMouseInteraction()
{
    // With click-through on, the frame's interior lets clicks reach the application beneath
    // while 12-point bands along every edge still take them, so the box can be moved and
    // resized. Drawing, move mode and a live resize need the whole window.
    const bool passes = m_clickThrough && !m_isDrawing && !m_moveMode && !m_liveResizing;
    if (m_frameIgnoresMouse && !m_clickThrough && !m_isDrawing && !m_moveMode && !m_liveResizing) {
        // Left as a release in another application made it: ignoring the mouse altogether,
        // until click-through, drawing or move mode change.
        return;
    }
    const bool applied = passes ? X11WindowTraits::setInputRegion(
                                      m_frameWindow.get(),
                                      X11WindowTraits::edgeBands(m_frameWindow->size(), edgeBand))
                                : X11WindowTraits::clearInputRegion(m_frameWindow.get());
    if (applied) {
        m_framePassesInteriorClicks = passes;
    }
}

// --- marks ----------------------------------------------------------------------------------

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
    m_previewView->annotationCanvas()->setAnnotations(shown);
    m_sharePreviewView->annotationCanvas()->setAnnotations(std::move(shown));
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
    m_toolbar->update(shortcuts, m_isDrawing, m_annotationTool, m_annotationColor,
                      m_annotations.historyDepth() > 0, canClear, m_isPrivacyBlurActive,
                      m_clickThrough, m_mode, m_alwaysOnTop);
    positionToolbar();
}

// --- pictures and messages ----------------------------------------------------------------

void LookpaneWindowController::showCapturedFrame(const CapturedFrame &frame)
{
    m_latestFrame = frame;
    m_sharePreviewView->setCapturedFrame(frame);
    if (frameShowsPicture()) {
        m_previewView->setCapturedFrame(frame);
    }
}

void LookpaneWindowController::setCaptureMessage(const std::optional<QString> &message)
{
    if (message) {
        // The message stands instead of the picture until the next one arrives.
        m_latestFrame = CapturedFrame();
    }
    m_sharePreviewView->setCaptureMessage(message);
    m_previewView->setCaptureMessage(frameShowsPicture() ? message : std::nullopt);
}

// --- drawing keys ---------------------------------------------------------------------------

void LookpaneWindowController::installDrawingKeyFilter()
{
    m_drawingKeyTap =
        std::make_unique<ApplicationEventTap>([this](QObject *receiver, QEvent *event) {
            return event->type() == QEvent::KeyPress &&
                   handleDrawingKey(receiver, static_cast<QKeyEvent *>(event));
        });
}

void LookpaneWindowController::removeDrawingKeyFilter()
{
    m_drawingKeyTap.reset();
}

void LookpaneWindowController::handleLeftMouseUp()
{
    // The end of any press in the application: a toolbar drag is over, and move mode (the
    // temporary grab of the box while click-through is on) ends with click-through back on.
    m_toolbarDragStartFrame.reset();
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
    m_toolbarDragStartFrame.reset();
    if (!m_moveMode) {
        return;
    }
    m_moveMode = false;
    m_frameIgnoresMouse = X11WindowTraits::setInputRegion(m_frameWindow.get(), {});
    m_framePassesInteriorClicks = m_frameIgnoresMouse;
}

bool LookpaneWindowController::handleDrawingKey(QObject *receiver, QKeyEvent *event)
{
    // Key events reach the window object first and then its focus widget; take them once, at
    // the widget, and only those of the frame window: a key typed into another Lookpane
    // window (the settings, say) passes untouched.
    const auto *widget = qobject_cast<QWidget *>(receiver);
    if (!m_isDrawing || !widget || widget->window() != m_frameWindow.get()) {
        return false;
    }
    const std::optional<std::uint16_t> keyCode =
        virtualKeyCodeFromXKeycode(event->nativeScanCode());
    const std::uint64_t flags = modifierFlagsFromX11State(event->nativeModifiers());
    if (keyCode == escapeKeyCode) {
        setDrawingMode(false);
        return true;
    }
    if (event->key() == Qt::Key_Z && (flags & ModifierFlag::command)) {
        undoAnnotation();
        return true;
    }
    if (keyCode == deleteKeyCode && (flags & ModifierFlag::matchMask) == 0) {
        clearAnnotations();
        return true;
    }
    if (keyCode) {
        if (const std::optional<AnnotationTool> tool = m_toolShortcuts->tool({*keyCode, flags})) {
            m_annotationTool = *tool;
            m_previewView->annotationCanvas()->setTool(*tool);
            focusForDrawing();
            updateToolbar();
            return true;
        }
    }
    return false;
}

} // namespace lookpane
