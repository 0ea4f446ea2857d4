#include "toolbar/FrameToolbarWindowController.h"

#include "model/SystemColors.h"
#include "toolbar/ColorSwatchButton.h"
#include "toolbar/DragHandleView.h"
#include "toolbar/SymbolButton.h"
#include "toolbar/ToolbarPanel.h"
#include "toolbar/ToolbarStack.h"
#include "toolbar/ToolbarTexts.h"

#include <QHBoxLayout>
#include <QMenu>

#include <algorithm>

namespace lookpane {

namespace {

constexpr int panelHeight = 40;
constexpr int panelMinimumWidth = 120;
constexpr int panelSideMargins = 20;
constexpr int menuGap = 4;
constexpr qreal fadedSwatchOpacity = 0.55;

struct ToolSymbol
{
    AnnotationTool tool;
    const char *symbol;
};

constexpr ToolSymbol toolSymbols[] = {
    {AnnotationTool::freehand, "scribble"},    {AnnotationTool::line, "line.diagonal"},
    {AnnotationTool::arrow, "arrow.up.right"}, {AnnotationTool::rectangle, "rectangle"},
    {AnnotationTool::ellipse, "oval"},
};

template <typename E> std::optional<E> caseAt(int tag)
{
    constexpr auto cases = allCases<E>();
    if (tag < 0 || static_cast<std::size_t>(tag) >= cases.size()) {
        return std::nullopt;
    }
    return cases[static_cast<std::size_t>(tag)];
}

} // namespace

FrameToolbarWindowController::FrameToolbarWindowController(QObject *parent)
    : QObject(parent), m_panel(std::make_unique<ToolbarPanel>())
{
    makeContentView();
    sizePanelToFit();
    m_panel->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_panel.get(), &QWidget::customContextMenuRequested, this, [this](const QPoint &at) {
        if (QMenu *menu = contextMenu.data()) {
            menu->popup(m_panel->mapToGlobal(at));
        }
    });
}

void FrameToolbarWindowController::setTrayAvailable(bool available)
{
    m_hideButton->setToolTip(available
                                 ? QStringLiteral("Hide Lookpane (it stays in the tray)")
                                 : QStringLiteral("Hide Lookpane (open Lookpane again to bring "
                                                  "it back)"));
}

FrameToolbarWindowController::~FrameToolbarWindowController() = default;

QWidget *FrameToolbarWindowController::window() const
{
    return m_panel.get();
}

void FrameToolbarWindowController::makeContentView()
{
    DragHandleView *root = m_panel->dragHandle();
    m_stackView = new ToolbarStack(root);
    auto *centring = new QHBoxLayout(root);
    centring->setContentsMargins(0, 0, 0, 0);
    centring->addWidget(m_stackView, 0, Qt::AlignCenter);

    connect(root, &DragHandleView::dragBegan, this, &FrameToolbarWindowController::dragBegan);
    connect(root, &DragHandleView::dragged, this, &FrameToolbarWindowController::dragged);

    makeBaseRow();
    makeDrawingRow();
    m_stackView->setViews(m_baseViews);
}

SymbolButton *
FrameToolbarWindowController::makeButton(const char *symbol, const char *shortTitle,
                                         const QString &toolTip, bool momentary,
                                         void (FrameToolbarWindowController::*action)())
{
    auto *button = new SymbolButton(
        QString::fromLatin1(symbol), QString::fromLatin1(shortTitle), toolTip,
        momentary ? SymbolButton::Kind::momentary : SymbolButton::Kind::toggle, m_stackView);
    if (action != nullptr) {
        connect(button, &QAbstractButton::clicked, this, action);
    }
    return button;
}

void FrameToolbarWindowController::makeBaseRow()
{
    using C = FrameToolbarWindowController;
    m_framingButton = makeButton(
        "aspectratio", "Size", QStringLiteral("Aspect ratio, exact size, and snapping to a window"),
        true, &C::showFramingMenu);
    m_drawButton = makeButton("pencil.tip.crop.circle", "Draw",
                              QStringLiteral("Drawing mode — annotate what you are sharing"), false,
                              &C::toggleDrawing);
    m_blurButton =
        makeButton("eye.slash", "Blur", blurInactiveToolTip(), false, &C::togglePrivacyBlur);
    m_clickThroughButton =
        makeButton("cursorarrow.click", "Clicks",
                   QStringLiteral("Click-through: let clicks reach the app underneath"), false,
                   &C::toggleClickThrough);
    m_modeButton =
        makeButton("rectangle.on.rectangle", "Detach",
                   QStringLiteral("Detached preview: share a separate, freely placed window"),
                   false, &C::toggleMode);
    m_alwaysOnTopButton =
        makeButton("pin", "Pin", QStringLiteral("Keep the box above other windows"), false,
                   &C::toggleAlwaysOnTop);
    m_hideButton = makeButton(
        "xmark", "Hide", QStringLiteral("Hide Lookpane (it stays in the tray)"), true, &C::hide);

    m_baseViews = {
        m_framingButton,      m_drawButton, m_blurButton,        new ToolbarSeparator(m_stackView),
        m_clickThroughButton, m_modeButton, m_alwaysOnTopButton, new ToolbarSeparator(m_stackView),
        m_hideButton};
}

void FrameToolbarWindowController::makeDrawingRow()
{
    using C = FrameToolbarWindowController;
    for (const ToolSymbol &entry : toolSymbols) {
        const QString name = toolDisplayName(entry.tool);
        const QByteArray title = name.toLatin1();
        SymbolButton *button = makeButton(entry.symbol, title.constData(), name, false, nullptr);
        button->setTag(static_cast<int>(caseIndex(entry.tool)));
        connect(button, &QAbstractButton::clicked, this,
                [this, button] { selectToolAt(button->tag()); });
        m_toolButtons[entry.tool] = button;
        m_drawingViews.append(button);
    }
    m_drawingViews.append(new ToolbarSeparator(m_stackView));
    for (const AnnotationColor color : allCases<AnnotationColor>()) {
        ColorSwatchButton *swatch = makeColorButton(color);
        m_colorButtons[color] = swatch;
        m_drawingViews.append(swatch);
    }
    m_drawingViews.append(new ToolbarSeparator(m_stackView));
    m_undoButton =
        makeButton("arrow.uturn.backward", "Undo", QStringLiteral("Undo the last mark (Ctrl+Z)"),
                   true, &C::undoAnnotation);
    m_clearButton = makeButton(
        "trash", "Clear", QStringLiteral("Remove every mark (Backspace) — Ctrl+Z brings them back"),
        true, &C::clearAnnotations);
    m_doneButton = makeButton("checkmark", "Done", QStringLiteral("Leave drawing mode (Esc)"), true,
                              &C::toggleDrawing);
    m_drawingViews.append({m_undoButton, m_clearButton, m_doneButton});
}

ColorSwatchButton *FrameToolbarWindowController::makeColorButton(AnnotationColor color)
{
    auto *swatch = new ColorSwatchButton(color, m_stackView);
    connect(swatch, &QAbstractButton::clicked, this,
            [this, swatch] { selectColorAt(swatch->tag()); });
    return swatch;
}

QSize FrameToolbarWindowController::fittingPanelSize() const
{
    const int fittingWidth = m_stackView->sizeHint().width();
    return {std::max(fittingWidth + panelSideMargins, panelMinimumWidth), panelHeight};
}

void FrameToolbarWindowController::sizePanelToFit()
{
    m_panel->setFixedSize(fittingPanelSize());
}

void FrameToolbarWindowController::update(const std::map<AnnotationTool, QString> &toolShortcuts,
                                          bool isDrawing, AnnotationTool annotationTool,
                                          AnnotationColor annotationColor, bool canUndo,
                                          bool canClear, bool isPrivacyBlurActive,
                                          bool clickThrough, ShareMode mode, bool alwaysOnTop)
{
    m_drawButton->setChecked(isDrawing);

    if (isDrawing != m_isShowingDrawingViews) {
        m_isShowingDrawingViews = isDrawing;
        m_stackView->setViews(isDrawing ? m_drawingViews : m_baseViews);
    }

    for (const auto &[tool, button] : m_toolButtons) {
        button->setChecked(tool == annotationTool);
        const auto shortcut = toolShortcuts.find(tool);
        button->setToolTip(
            toolToolTip(tool, shortcut != toolShortcuts.end() ? &shortcut->second : nullptr));
    }

    for (const auto &[color, swatch] : m_colorButtons) {
        const bool selected = color == annotationColor;
        swatch->setChecked(selected);
        swatch->setOpacity(selected ? 1.0 : fadedSwatchOpacity);
    }

    m_undoButton->setEnabled(canUndo);
    m_clearButton->setEnabled(canClear);

    m_blurButton->setChecked(isPrivacyBlurActive);
    m_blurButton->setTint(isPrivacyBlurActive ? std::optional<QColor>(SystemColors::orange)
                                              : std::nullopt);
    m_blurButton->setToolTip(isPrivacyBlurActive ? blurActiveToolTip() : blurInactiveToolTip());

    m_clickThroughButton->setChecked(clickThrough);
    m_modeButton->setChecked(mode == ShareMode::detached);
    m_alwaysOnTopButton->setChecked(alwaysOnTop);

    if (m_panel) {
        sizePanelToFit();
    }
}

void FrameToolbarWindowController::showFramingMenu()
{
    QMenu *menu = framingMenu.data();
    if (menu == nullptr || m_framingButton == nullptr) {
        return;
    }
    // Left-aligned with the button, its bottom edge 4 points above the button's top edge.
    const QSize menuSize = menu->sizeHint();
    const QPoint topLeft = m_framingButton->mapToGlobal(QPoint(0, -menuGap - menuSize.height()));
    menu->popup(topLeft);
}

void FrameToolbarWindowController::selectToolAt(int tag)
{
    if (const std::optional<AnnotationTool> tool = caseAt<AnnotationTool>(tag)) {
        Q_EMIT selectTool(*tool);
    }
}

void FrameToolbarWindowController::selectColorAt(int tag)
{
    if (const std::optional<AnnotationColor> color = caseAt<AnnotationColor>(tag)) {
        Q_EMIT selectColor(*color);
    }
}

} // namespace lookpane
