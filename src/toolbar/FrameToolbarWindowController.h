#pragma once

#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"
#include "model/ScreenRect.h"
#include "model/ShareMode.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QSizeF>
#include <QString>

#include <map>
#include <memory>
#include <optional>

class QMenu;
class QWidget;

namespace lookpane {

class ColorSwatchButton;
class SymbolButton;
class ToolbarPanel;
class ToolbarStack;

// The floating strip of controls under the frame. It keeps no state of the application: every
// control only reports its signal, and the owner pushes the whole state back with update(...).
// The base row holds framing, drawing, blur, click-through, detach, always-on-top and hide; in
// drawing mode it is replaced by the tools, the colours, undo, clear and done. Dragging the
// strip's background reports offsets that move the frame.
class FrameToolbarWindowController : public QObject
{
    Q_OBJECT

public:
    explicit FrameToolbarWindowController(QObject *parent = nullptr);
    ~FrameToolbarWindowController() override;

    FrameToolbarWindowController(const FrameToolbarWindowController &) = delete;
    FrameToolbarWindowController &operator=(const FrameToolbarWindowController &) = delete;

    // The aspect-ratio and size menu, built and kept current by the application; until it is
    // set the framing button does nothing.
    QPointer<QMenu> framingMenu;
    // The application's menu (the tray icon's), opened by a right-click anywhere on the strip:
    // where the desktop has no tray this is the way to it. Until it is set a right-click does
    // nothing.
    QPointer<QMenu> contextMenu;

    // Whether the desktop shows Lookpane's tray icon; the hide button's tooltip then says
    // where Lookpane went.
    void setTrayAvailable(bool available);

    // The panel (a frameless top-level widget). The owner shows, hides, raises and places it.
    QWidget *window() const;

    // Brings every control into line with the owner's state. `toolShortcuts` holds the
    // shortcut text of each tool that has one.
    void update(const std::map<AnnotationTool, QString> &toolShortcuts, bool isDrawing,
                AnnotationTool annotationTool, AnnotationColor annotationColor, bool canUndo,
                bool canClear, bool isPrivacyBlurActive, bool clickThrough, ShareMode mode,
                bool alwaysOnTop);

    // Where the panel of `size` goes for a frame: centred 10 points below it, else above it,
    // else inside it, kept 4 points inside the visible area when there is one.
    static ScreenPoint origin(QSizeF size, ScreenRect frame,
                              std::optional<ScreenRect> visibleFrame);

    // Opens the framing menu above the framing button.
    void showFramingMenu();
    // The tool and colour buttons: `tag` is the index of the tool or colour in its list of
    // cases; others are ignored.
    void selectToolAt(int tag);
    void selectColorAt(int tag);

    // The controls, for the owner's placement and for inspection.
    SymbolButton *framingButton() const { return m_framingButton; }
    SymbolButton *drawButton() const { return m_drawButton; }
    SymbolButton *blurButton() const { return m_blurButton; }
    const std::map<AnnotationTool, SymbolButton *> &toolButtons() const { return m_toolButtons; }
    const std::map<AnnotationColor, ColorSwatchButton *> &colorButtons() const
    {
        return m_colorButtons;
    }
    SymbolButton *undoButton() const { return m_undoButton; }
    SymbolButton *clearButton() const { return m_clearButton; }
    SymbolButton *doneButton() const { return m_doneButton; }
    const QList<QWidget *> &drawingViews() const { return m_drawingViews; }
    bool isShowingDrawingViews() const { return m_isShowingDrawingViews; }
    const QList<QWidget *> &baseViews() const { return m_baseViews; }
    SymbolButton *clickThroughButton() const { return m_clickThroughButton; }
    SymbolButton *modeButton() const { return m_modeButton; }
    SymbolButton *alwaysOnTopButton() const { return m_alwaysOnTopButton; }
    SymbolButton *hideButton() const { return m_hideButton; }
    ToolbarStack *stackView() const { return m_stackView; }

    // The panel's size for the row it shows: (max(row width + 20, 120), 40).
    QSize fittingPanelSize() const;

Q_SIGNALS:
    // What the user asked for with the controls; the owner decides and pushes the new state.
    void toggleDrawing();
    void selectTool(lookpane::AnnotationTool tool);
    void selectColor(lookpane::AnnotationColor color);
    void undoAnnotation();
    void clearAnnotations();
    void togglePrivacyBlur();
    void toggleClickThrough();
    void toggleMode();
    void toggleAlwaysOnTop();
    void hide();
    // Total offset since the press on the background, in points, x to the right and y upwards.
    void dragged(lookpane::ScreenOffset offset);
    void dragBegan();

private:
    void makeContentView();
    void makeBaseRow();
    void makeDrawingRow();
    SymbolButton *makeButton(const char *symbol, const char *shortTitle, const QString &toolTip,
                             bool momentary, void (FrameToolbarWindowController::*action)());
    ColorSwatchButton *makeColorButton(AnnotationColor color);
    void sizePanelToFit();

    std::unique_ptr<ToolbarPanel> m_panel;
    SymbolButton *m_framingButton = nullptr;
    SymbolButton *m_drawButton = nullptr;
    SymbolButton *m_blurButton = nullptr;
    std::map<AnnotationTool, SymbolButton *> m_toolButtons;
    std::map<AnnotationColor, ColorSwatchButton *> m_colorButtons;
    SymbolButton *m_undoButton = nullptr;
    SymbolButton *m_clearButton = nullptr;
    SymbolButton *m_doneButton = nullptr;
    QList<QWidget *> m_drawingViews;
    bool m_isShowingDrawingViews = false;
    QList<QWidget *> m_baseViews;
    SymbolButton *m_clickThroughButton = nullptr;
    SymbolButton *m_modeButton = nullptr;
    SymbolButton *m_alwaysOnTopButton = nullptr;
    SymbolButton *m_hideButton = nullptr;
    ToolbarStack *m_stackView = nullptr;
};

} // namespace lookpane
