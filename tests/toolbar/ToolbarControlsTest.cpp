// The toolbar's rows, controls, callbacks and update(...), on the test's private X server.
#include "QtWait.h"
#include "ToolbarTestSupport.h"

#include "model/SystemColors.h"
#include "toolbar/ColorSwatchButton.h"
#include "toolbar/SymbolButton.h"
#include "toolbar/ToolbarStack.h"

#include <gtest/gtest.h>

#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

class ToolbarControls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        toolbar.window()->move(600, 500);
        toolbar.window()->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(toolbar.window()));
    }

    void showDrawingRow()
    {
        ToolbarState state;
        state.isDrawing = true;
        state.canUndo = true;
        state.canClear = true;
        push(toolbar, state);
        QCoreApplication::processEvents();
    }

    FrameToolbarWindowController toolbar;
};

std::vector<QString> toolTips(const QList<QWidget *> &views)
{
    std::vector<QString> tips;
    for (const QWidget *view : views) {
        tips.push_back(view->toolTip());
    }
    return tips;
}

} // namespace

TEST_F(ToolbarControls, BaseRowHoldsItsControlsInOrderWithSeparators)
{
    const QList<QWidget *> &row = toolbar.baseViews();
    ASSERT_EQ(row.size(), 9);
    EXPECT_EQ(row[0], toolbar.framingButton());
    EXPECT_EQ(row[1], toolbar.drawButton());
    EXPECT_EQ(row[2], toolbar.blurButton());
    EXPECT_NE(qobject_cast<ToolbarSeparator *>(row[3]), nullptr);
    EXPECT_EQ(row[4], toolbar.clickThroughButton());
    EXPECT_EQ(row[5], toolbar.modeButton());
    EXPECT_EQ(row[6], toolbar.alwaysOnTopButton());
    EXPECT_NE(qobject_cast<ToolbarSeparator *>(row[7]), nullptr);
    EXPECT_EQ(row[8], toolbar.hideButton());
    EXPECT_EQ(row[3]->sizeHint().height(), 18);

    const std::vector<QString> expected = {
        "Aspect ratio, exact size, and snapping to a window",
        "Drawing mode — annotate what you are sharing",
        "Blur the shared view for viewers (your own screen stays readable)",
        "",
        "Click-through: let clicks reach the app underneath",
        "Detached preview: share a separate, freely placed window",
        "Keep the box above other windows",
        "",
        "Hide Lookpane (it stays in the tray)"};
    EXPECT_EQ(toolTips(row), expected);
    EXPECT_EQ(toolbar.stackView()->views(), row);
    EXPECT_FALSE(toolbar.isShowingDrawingViews());
    // Only the base row is on screen.
    for (QWidget *view : row) {
        EXPECT_TRUE(view->isVisible());
    }
    for (QWidget *view : toolbar.drawingViews()) {
        EXPECT_FALSE(view->isVisible()) << view->toolTip().toStdString();
    }
}

TEST_F(ToolbarControls, WithoutATrayTheHideButtonDoesNotPromiseOne)
{
    toolbar.setTrayAvailable(false);
    EXPECT_EQ(toolbar.hideButton()->toolTip(),
              "Hide Lookpane (open Lookpane again to bring it back)");
    toolbar.setTrayAvailable(true);
    EXPECT_EQ(toolbar.hideButton()->toolTip(), "Hide Lookpane (it stays in the tray)");
}

TEST_F(ToolbarControls, ARightClickOpensTheContextMenuOnceThereIsOne)
{
    QMenu menu;
    menu.addAction(QStringLiteral("Quit Lookpane"));
    Q_EMIT toolbar.window()->customContextMenuRequested(QPoint(4, 4)); // no menu yet: nothing
    EXPECT_FALSE(menu.isVisible());
    toolbar.contextMenu = &menu;
    Q_EMIT toolbar.window()->customContextMenuRequested(QPoint(4, 4));
    EXPECT_TRUE(waitUntil([&] { return menu.isVisible(); }));
    menu.hide();
}

TEST_F(ToolbarControls, DrawingRowHoldsItsControlsInOrderWithSeparators)
{
    const QList<QWidget *> &row = toolbar.drawingViews();
    ASSERT_EQ(row.size(), 15);
    const std::vector<QString> expected = {
        "Freehand",
        "Line",
        "Arrow",
        "Rectangle",
        "Ellipse",
        "",
        "Red",
        "Yellow",
        "Green",
        "Blue",
        "White",
        "",
        "Undo the last mark (Ctrl+Z)",
        "Remove every mark (Backspace) — Ctrl+Z brings them back",
        "Leave drawing mode (Esc)"};
    EXPECT_EQ(toolTips(row), expected);
    for (const AnnotationTool tool : allCases<AnnotationTool>()) {
        EXPECT_EQ(row[static_cast<qsizetype>(caseIndex(tool))], toolbar.toolButtons().at(tool));
        EXPECT_EQ(toolbar.toolButtons().at(tool)->tag(), static_cast<int>(caseIndex(tool)));
    }
    for (const AnnotationColor color : allCases<AnnotationColor>()) {
        ColorSwatchButton *swatch = toolbar.colorButtons().at(color);
        EXPECT_EQ(row[6 + static_cast<qsizetype>(caseIndex(color))], swatch);
        EXPECT_EQ(swatch->tag(), static_cast<int>(caseIndex(color)));
        EXPECT_EQ(swatch->width(), 24);
        EXPECT_TRUE(swatch->isCheckable());
    }
    EXPECT_NE(qobject_cast<ToolbarSeparator *>(row[5]), nullptr);
    EXPECT_NE(qobject_cast<ToolbarSeparator *>(row[11]), nullptr);
    EXPECT_EQ(row[12], toolbar.undoButton());
    EXPECT_EQ(row[13], toolbar.clearButton());
    EXPECT_EQ(row[14], toolbar.doneButton());
}

TEST_F(ToolbarControls, ControlsAreAtLeastThirtyWideAndNeverTakeFocus)
{
    for (const QList<QWidget *> *row : {&toolbar.baseViews(), &toolbar.drawingViews()}) {
        for (QWidget *view : *row) {
            if (auto *button = qobject_cast<SymbolButton *>(view)) {
                EXPECT_GE(button->sizeHint().width(), 30) << button->toolTip().toStdString();
                EXPECT_TRUE(button->hasSymbol()) << button->symbolName().toStdString();
                EXPECT_EQ(button->focusPolicy(), Qt::NoFocus);
            }
            if (auto *swatch = qobject_cast<ColorSwatchButton *>(view)) {
                EXPECT_EQ(swatch->focusPolicy(), Qt::NoFocus);
            }
        }
    }
    // Switches are two-state; one-shot actions are momentary.
    EXPECT_FALSE(toolbar.framingButton()->isCheckable());
    EXPECT_TRUE(toolbar.drawButton()->isCheckable());
    EXPECT_TRUE(toolbar.blurButton()->isCheckable());
    EXPECT_TRUE(toolbar.clickThroughButton()->isCheckable());
    EXPECT_TRUE(toolbar.modeButton()->isCheckable());
    EXPECT_TRUE(toolbar.alwaysOnTopButton()->isCheckable());
    EXPECT_FALSE(toolbar.hideButton()->isCheckable());
    EXPECT_FALSE(toolbar.undoButton()->isCheckable());
    EXPECT_FALSE(toolbar.clearButton()->isCheckable());
    EXPECT_FALSE(toolbar.doneButton()->isCheckable());
    EXPECT_TRUE(toolbar.toolButtons().at(AnnotationTool::arrow)->isCheckable());
}

TEST_F(ToolbarControls, EachBaseButtonCallsItsCallback)
{
    std::vector<std::string> calls;
    QObject::connect(&toolbar, &FrameToolbarWindowController::toggleDrawing,
                     [&] { calls.push_back("drawing"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::togglePrivacyBlur,
                     [&] { calls.push_back("blur"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::toggleClickThrough,
                     [&] { calls.push_back("clickThrough"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::toggleMode,
                     [&] { calls.push_back("mode"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::toggleAlwaysOnTop,
                     [&] { calls.push_back("alwaysOnTop"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::hide,
                     [&] { calls.push_back("hide"); });
    // Drag callbacks must not fire for presses that a button takes.
    QObject::connect(&toolbar, &FrameToolbarWindowController::dragBegan,
                     [&] { calls.push_back("dragBegan"); });

    for (SymbolButton *button :
         {toolbar.drawButton(), toolbar.blurButton(), toolbar.clickThroughButton(),
          toolbar.modeButton(), toolbar.alwaysOnTopButton(), toolbar.hideButton()}) {
        QTest::mouseClick(button, Qt::LeftButton);
    }
    const std::vector<std::string> expected = {"drawing", "blur",        "clickThrough",
                                               "mode",    "alwaysOnTop", "hide"};
    EXPECT_EQ(calls, expected);
}

TEST_F(ToolbarControls, EachDrawingButtonCallsItsCallback)
{
    showDrawingRow();
    std::vector<std::string> calls;
    std::vector<AnnotationTool> tools;
    std::vector<AnnotationColor> colors;
    QObject::connect(&toolbar, &FrameToolbarWindowController::toggleDrawing,
                     [&] { calls.push_back("drawing"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::undoAnnotation,
                     [&] { calls.push_back("undo"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::clearAnnotations,
                     [&] { calls.push_back("clear"); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::selectTool,
                     [&](AnnotationTool tool) { tools.push_back(tool); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::selectColor,
                     [&](AnnotationColor color) { colors.push_back(color); });

    for (const AnnotationTool tool : allCases<AnnotationTool>()) {
        QTest::mouseClick(toolbar.toolButtons().at(tool), Qt::LeftButton);
    }
    for (const AnnotationColor color : allCases<AnnotationColor>()) {
        QTest::mouseClick(toolbar.colorButtons().at(color), Qt::LeftButton);
    }
    QTest::mouseClick(toolbar.undoButton(), Qt::LeftButton);
    QTest::mouseClick(toolbar.clearButton(), Qt::LeftButton);
    QTest::mouseClick(toolbar.doneButton(), Qt::LeftButton);

    const auto allTools = allCases<AnnotationTool>();
    const auto allColors = allCases<AnnotationColor>();
    EXPECT_EQ(tools, std::vector<AnnotationTool>(allTools.begin(), allTools.end()));
    EXPECT_EQ(colors, std::vector<AnnotationColor>(allColors.begin(), allColors.end()));
    const std::vector<std::string> expected = {"undo", "clear", "drawing"};
    EXPECT_EQ(calls, expected);
}

TEST_F(ToolbarControls, ClicksWithoutCallbacksDoNothingHarmful)
{
    QTest::mouseClick(toolbar.framingButton(), Qt::LeftButton);
    QTest::mouseClick(toolbar.blurButton(), Qt::LeftButton);
    QTest::mouseClick(toolbar.hideButton(), Qt::LeftButton);
    // No menu yet: the framing button shows nothing. The blur toggle keeps the state the click
    // gave it until the owner's next update.
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_TRUE(toolbar.blurButton()->isChecked());
    push(toolbar, ToolbarState{});
    EXPECT_FALSE(toolbar.blurButton()->isChecked());
}

TEST_F(ToolbarControls, DisabledUndoAndClearDoNotCall)
{
    showDrawingRow();
    ToolbarState state;
    state.isDrawing = true;
    push(toolbar, state);
    int calls = 0;
    QObject::connect(&toolbar, &FrameToolbarWindowController::undoAnnotation, [&] { ++calls; });
    QObject::connect(&toolbar, &FrameToolbarWindowController::clearAnnotations, [&] { ++calls; });
    EXPECT_FALSE(toolbar.undoButton()->isEnabled());
    EXPECT_FALSE(toolbar.clearButton()->isEnabled());
    QTest::mouseClick(toolbar.undoButton(), Qt::LeftButton);
    QTest::mouseClick(toolbar.clearButton(), Qt::LeftButton);
    EXPECT_EQ(calls, 0);

    state.canUndo = true;
    push(toolbar, state);
    EXPECT_TRUE(toolbar.undoButton()->isEnabled());
    EXPECT_FALSE(toolbar.clearButton()->isEnabled());
}

TEST_F(ToolbarControls, TagsAboveFourAreIgnored)
{
    std::vector<AnnotationTool> tools;
    std::vector<AnnotationColor> colors;
    QObject::connect(&toolbar, &FrameToolbarWindowController::selectTool,
                     [&](AnnotationTool tool) { tools.push_back(tool); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::selectColor,
                     [&](AnnotationColor color) { colors.push_back(color); });

    toolbar.selectToolAt(5);
    toolbar.selectColorAt(5);
    toolbar.selectToolAt(42);
    toolbar.selectColorAt(-1);
    EXPECT_TRUE(tools.empty());
    EXPECT_TRUE(colors.empty());

    // A button whose tag was put out of range does nothing either.
    showDrawingRow();
    SymbolButton *arrow = toolbar.toolButtons().at(AnnotationTool::arrow);
    arrow->setTag(5);
    QTest::mouseClick(arrow, Qt::LeftButton);
    ColorSwatchButton *blue = toolbar.colorButtons().at(AnnotationColor::blue);
    blue->setTag(7);
    QTest::mouseClick(blue, Qt::LeftButton);
    EXPECT_TRUE(tools.empty());
    EXPECT_TRUE(colors.empty());

    toolbar.selectToolAt(4);
    toolbar.selectColorAt(4);
    EXPECT_EQ(tools, std::vector<AnnotationTool>{AnnotationTool::ellipse});
    EXPECT_EQ(colors, std::vector<AnnotationColor>{AnnotationColor::white});
}

TEST_F(ToolbarControls, UpdateSwitchesRowsAndSetsEveryState)
{
    ToolbarState state;
    state.isDrawing = true;
    state.annotationTool = AnnotationTool::rectangle;
    state.annotationColor = AnnotationColor::green;
    state.canUndo = true;
    state.canClear = false;
    state.clickThrough = true;
    state.mode = ShareMode::detached;
    state.alwaysOnTop = true;
    push(toolbar, state);

    EXPECT_TRUE(toolbar.isShowingDrawingViews());
    EXPECT_EQ(toolbar.stackView()->views(), toolbar.drawingViews());
    EXPECT_TRUE(toolbar.drawButton()->isChecked());
    for (const auto &[tool, button] : toolbar.toolButtons()) {
        EXPECT_EQ(button->isChecked(), tool == AnnotationTool::rectangle);
        EXPECT_TRUE(button->isVisible());
    }
    for (const auto &[color, swatch] : toolbar.colorButtons()) {
        EXPECT_EQ(swatch->isChecked(), color == AnnotationColor::green);
        EXPECT_DOUBLE_EQ(swatch->opacity(), color == AnnotationColor::green ? 1.0 : 0.55);
    }
    EXPECT_TRUE(toolbar.undoButton()->isEnabled());
    EXPECT_FALSE(toolbar.clearButton()->isEnabled());
    EXPECT_TRUE(toolbar.clickThroughButton()->isChecked());
    EXPECT_TRUE(toolbar.modeButton()->isChecked());
    EXPECT_TRUE(toolbar.alwaysOnTopButton()->isChecked());
    EXPECT_FALSE(toolbar.blurButton()->isVisible());

    state.isDrawing = false;
    state.mode = ShareMode::overlay;
    state.alwaysOnTop = false;
    state.clickThrough = false;
    push(toolbar, state);
    EXPECT_FALSE(toolbar.isShowingDrawingViews());
    EXPECT_EQ(toolbar.stackView()->views(), toolbar.baseViews());
    EXPECT_FALSE(toolbar.drawButton()->isChecked());
    EXPECT_FALSE(toolbar.modeButton()->isChecked());
    EXPECT_FALSE(toolbar.alwaysOnTopButton()->isChecked());
    EXPECT_FALSE(toolbar.clickThroughButton()->isChecked());
    EXPECT_TRUE(toolbar.blurButton()->isVisible());
    EXPECT_FALSE(toolbar.toolButtons().at(AnnotationTool::freehand)->isVisible());
}

TEST_F(ToolbarControls, UpdateWithUnchangedDrawingStateDoesNotRebuildTheStack)
{
    QSignalSpy rebuilds(toolbar.stackView(), &ToolbarStack::viewsReplaced);
    ToolbarState state;
    state.isPrivacyBlurActive = true;
    state.clickThrough = true;
    push(toolbar, state);
    state.annotationColor = AnnotationColor::blue;
    push(toolbar, state);
    EXPECT_EQ(rebuilds.count(), 0);
    EXPECT_TRUE(toolbar.clickThroughButton()->isChecked());

    state.isDrawing = true;
    push(toolbar, state);
    EXPECT_EQ(rebuilds.count(), 1);
    state.canUndo = true;
    push(toolbar, state);
    push(toolbar, state);
    EXPECT_EQ(rebuilds.count(), 1);
    EXPECT_TRUE(toolbar.undoButton()->isEnabled());
    state.isDrawing = false;
    push(toolbar, state);
    EXPECT_EQ(rebuilds.count(), 2);
}

TEST_F(ToolbarControls, ToolTooltipsCarryTheirShortcutText)
{
    ToolbarState state;
    state.toolShortcuts = {{AnnotationTool::arrow, "A"}, {AnnotationTool::rectangle, "Shift+R"}};
    push(toolbar, state);
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::arrow)->toolTip(), "Arrow  (A)");
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::rectangle)->toolTip(),
              "Rectangle  (Shift+R)");

    state.toolShortcuts.erase(AnnotationTool::arrow);
    push(toolbar, state);
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::arrow)->toolTip(), "Arrow");
}

TEST_F(ToolbarControls, ToolWithoutShortcutShowsItsBareName)
{
    ToolbarState state;
    state.toolShortcuts = {{AnnotationTool::freehand, "F"}};
    push(toolbar, state);
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::freehand)->toolTip(), "Freehand  (F)");
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::line)->toolTip(), "Line");
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::arrow)->toolTip(), "Arrow");
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::rectangle)->toolTip(), "Rectangle");
    EXPECT_EQ(toolbar.toolButtons().at(AnnotationTool::ellipse)->toolTip(), "Ellipse");
}

TEST_F(ToolbarControls, BlurButtonTurnsOrangeWithItsOtherTooltipWhileActive)
{
    const auto orangePixels = [&] {
        return countPixelsNear(toolbar.blurButton()->grab().toImage(), SystemColors::orange, 40);
    };
    EXPECT_EQ(toolbar.blurButton()->toolTip(),
              "Blur the shared view for viewers (your own screen stays readable)");
    EXPECT_FALSE(toolbar.blurButton()->tint().has_value());
    EXPECT_EQ(orangePixels(), 0);

    ToolbarState state;
    state.isPrivacyBlurActive = true;
    push(toolbar, state);
    EXPECT_TRUE(toolbar.blurButton()->isChecked());
    EXPECT_EQ(toolbar.blurButton()->tint(), std::optional<QColor>(QColor(0xFF, 0x95, 0x00)));
    EXPECT_EQ(toolbar.blurButton()->toolTip(),
              "Viewers are seeing a blur — click to show them your screen again");
    EXPECT_GT(orangePixels(), 20);
    // Only the blur button is tinted.
    EXPECT_EQ(countPixelsNear(toolbar.drawButton()->grab().toImage(), SystemColors::orange, 40), 0);

    state.isPrivacyBlurActive = false;
    push(toolbar, state);
    EXPECT_FALSE(toolbar.blurButton()->isChecked());
    EXPECT_FALSE(toolbar.blurButton()->tint().has_value());
    EXPECT_EQ(toolbar.blurButton()->toolTip(),
              "Blur the shared view for viewers (your own screen stays readable)");
    EXPECT_EQ(orangePixels(), 0);
}

TEST_F(ToolbarControls, PanelWidthNeverFallsBelow120AndHeightIsAlways40)
{
    const auto rowWidth = [&] { return toolbar.stackView()->sizeHint().width(); };
    EXPECT_EQ(toolbar.window()->size(), QSize(std::max(rowWidth() + 20, 120), 40));
    EXPECT_GT(toolbar.window()->width(), 120);

    ToolbarState state;
    state.isDrawing = true;
    push(toolbar, state);
    const int drawingWidth = toolbar.window()->width();
    EXPECT_EQ(drawingWidth, rowWidth() + 20);
    EXPECT_EQ(toolbar.window()->height(), 40);

    // A row narrower than 100 points: the panel keeps 120.
    toolbar.stackView()->setViews({toolbar.doneButton()});
    push(toolbar, state);
    EXPECT_LT(rowWidth() + 20, 120);
    EXPECT_EQ(toolbar.window()->size(), QSize(120, 40));

    state.isDrawing = false;
    push(toolbar, state);
    EXPECT_EQ(toolbar.window()->size(), QSize(rowWidth() + 20, 40));
    EXPECT_LT(toolbar.window()->width(), drawingWidth);
}

TEST_F(ToolbarControls, FramingMenuPopsUpJustAboveTheFramingButton)
{
    QMenu menu;
    menu.addAction(QStringLiteral("Free"));
    menu.addAction(QStringLiteral("16:9"));
    menu.addAction(QStringLiteral("1280 × 720"));
    toolbar.framingMenu = &menu;

    QTest::mouseClick(toolbar.framingButton(), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return menu.isVisible(); }, 5000));
    const QPoint buttonTopLeft = toolbar.framingButton()->mapToGlobal(QPoint(0, 0));
    EXPECT_EQ(menu.geometry().left(), buttonTopLeft.x());
    EXPECT_EQ(menu.geometry().bottom() + 1, buttonTopLeft.y() - 4);
    menu.hide();
}
