// Dragging the toolbar's background reports the total offset since the press, y upwards.
#include "ToolbarTestSupport.h"

#include "toolbar/DragHandleView.h"
#include "toolbar/SymbolButton.h"
#include "toolbar/ToolbarStack.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>
#include <QTest>

#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

void send(QWidget *target, QEvent::Type type, QPointF globalPos, Qt::MouseButton button,
          Qt::MouseButtons buttons)
{
    QMouseEvent event(type, target->mapFromGlobal(globalPos), globalPos, button, buttons,
                      Qt::NoModifier);
    QApplication::sendEvent(target, &event);
}

} // namespace

TEST(ToolbarDrag, BackgroundDragReportsTotalOffsetWithYUp)
{
    DragHandleView handle;
    handle.resize(200, 40);
    int began = 0;
    std::vector<ScreenOffset> offsets;
    QObject::connect(&handle, &DragHandleView::dragBegan, [&] { ++began; });
    QObject::connect(&handle, &DragHandleView::dragged,
                     [&](ScreenOffset offset) { offsets.push_back(offset); });

    send(&handle, QEvent::MouseButtonPress, QPointF(500, 500), Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(began, 1);
    EXPECT_EQ(handle.dragOrigin(), std::optional<QPointF>(QPointF(500, 500)));
    // Right and up on the screen (Qt's y shrinks), then further: totals, not steps.
    send(&handle, QEvent::MouseMove, QPointF(530, 480), Qt::NoButton, Qt::LeftButton);
    send(&handle, QEvent::MouseMove, QPointF(540, 470), Qt::NoButton, Qt::LeftButton);
    send(&handle, QEvent::MouseMove, QPointF(490, 525), Qt::NoButton, Qt::LeftButton);
    send(&handle, QEvent::MouseButtonRelease, QPointF(490, 525), Qt::LeftButton, Qt::NoButton);

    const std::vector<ScreenOffset> expected = {ScreenOffset(30, 20), ScreenOffset(40, 30),
                                                ScreenOffset(-10, -25)};
    EXPECT_EQ(offsets, expected);
    EXPECT_FALSE(handle.dragOrigin().has_value());

    // After the release, moves report nothing.
    send(&handle, QEvent::MouseMove, QPointF(600, 600), Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(offsets.size(), expected.size());
    EXPECT_EQ(began, 1);
}

TEST(ToolbarDrag, OnlyTheLeftButtonDrags)
{
    DragHandleView handle;
    int began = 0;
    QObject::connect(&handle, &DragHandleView::dragBegan, [&] { ++began; });
    send(&handle, QEvent::MouseButtonPress, QPointF(10, 10), Qt::RightButton, Qt::RightButton);
    EXPECT_EQ(began, 0);
    EXPECT_FALSE(handle.dragOrigin().has_value());
}

TEST(ToolbarDrag, HandleShowsTheOpenHand)
{
    DragHandleView handle;
    EXPECT_EQ(handle.cursor().shape(), Qt::OpenHandCursor);
}

TEST(ToolbarDrag, PanelBackgroundAndSeparatorsReportDragsButButtonsDoNot)
{
    FrameToolbarWindowController toolbar;
    QWidget *panel = toolbar.window();
    panel->move(300, 300);
    panel->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));

    int began = 0;
    std::vector<ScreenOffset> offsets;
    int drawToggles = 0;
    QObject::connect(&toolbar, &FrameToolbarWindowController::dragBegan, [&] { ++began; });
    QObject::connect(&toolbar, &FrameToolbarWindowController::dragged,
                     [&](ScreenOffset offset) { offsets.push_back(offset); });
    QObject::connect(&toolbar, &FrameToolbarWindowController::toggleDrawing,
                     [&] { ++drawToggles; });

    // The left margin of the panel is background.
    const QPoint margin(3, panel->height() / 2);
    QWidget *background = panel->childAt(margin);
    ASSERT_NE(qobject_cast<DragHandleView *>(background), nullptr);
    const QPoint press = background->mapFrom(panel, margin);
    QTest::mousePress(background, Qt::LeftButton, Qt::NoModifier, press);
    QTest::mouseMove(background, press + QPoint(25, -15));
    QTest::mouseRelease(background, Qt::LeftButton, Qt::NoModifier, press + QPoint(25, -15));
    EXPECT_EQ(began, 1);
    ASSERT_FALSE(offsets.empty());
    EXPECT_EQ(offsets.back(), ScreenOffset(25, 15));

    // A separator passes the press on to the background.
    QWidget *separator = toolbar.baseViews()[3];
    ASSERT_NE(qobject_cast<ToolbarSeparator *>(separator), nullptr);
    QTest::mousePress(separator, Qt::LeftButton, Qt::NoModifier, separator->rect().center());
    QTest::mouseRelease(separator, Qt::LeftButton, Qt::NoModifier, separator->rect().center());
    EXPECT_EQ(began, 2);

    // A button takes its press: a click, no drag.
    QTest::mouseClick(toolbar.drawButton(), Qt::LeftButton);
    EXPECT_EQ(began, 2);
    EXPECT_EQ(drawToggles, 1);
}
