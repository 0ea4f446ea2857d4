// Where the toolbar goes for a frame: geometry in points, y growing upwards.
#include "toolbar/FrameToolbarWindowController.h"

#include <gtest/gtest.h>

using lookpane::FrameToolbarWindowController;
using lookpane::ScreenPoint;
using lookpane::ScreenRect;

namespace {

const QSizeF panel(260, 40);
const ScreenRect screen(0, 0, 1440, 900);

} // namespace

TEST(ToolbarOrigin, CentredTenPointsBelowTheFrame)
{
    const ScreenRect frame(400, 300, 640, 360);
    const ScreenPoint origin = FrameToolbarWindowController::origin(panel, frame, screen);
    EXPECT_DOUBLE_EQ(origin.x(), 400 + 320 - 130);
    EXPECT_DOUBLE_EQ(origin.y(), 300 - 10 - 40);
}

TEST(ToolbarOrigin, WithoutVisibleAreaNothingIsClamped)
{
    const ScreenRect frame(-500, -20, 300, 200);
    const ScreenPoint origin = FrameToolbarWindowController::origin(panel, frame, std::nullopt);
    EXPECT_DOUBLE_EQ(origin.x(), -350 - 130);
    EXPECT_DOUBLE_EQ(origin.y(), -20 - 10 - 40);
}

TEST(ToolbarOrigin, GoesAboveTheFrameWhenThereIsNoRoomBelow)
{
    // The frame's bottom is 30 points above the screen's: less than 40 + 10.
    const ScreenRect frame(400, 30, 640, 360);
    const ScreenPoint origin = FrameToolbarWindowController::origin(panel, frame, screen);
    EXPECT_DOUBLE_EQ(origin.y(), 30 + 360 + 10);
    EXPECT_DOUBLE_EQ(origin.x(), 590);
}

TEST(ToolbarOrigin, BottomExactlyAtPanelHeightPlusGapStaysBelow)
{
    const ScreenRect frame(400, 50, 640, 360);
    const ScreenPoint origin = FrameToolbarWindowController::origin(panel, frame, screen);
    // y = 0 is not below the area's bottom; the 4-point margin then lifts it.
    EXPECT_DOUBLE_EQ(origin.y(), 4);
}

TEST(ToolbarOrigin, SitsInsideTheFrameWhenThereIsNoRoomAboveEither)
{
    const ScreenRect frame(100, 20, 1200, 860);
    const ScreenPoint origin = FrameToolbarWindowController::origin(panel, frame, screen);
    EXPECT_DOUBLE_EQ(origin.y(), 20 + 10);
    EXPECT_DOUBLE_EQ(origin.x(), 700 - 130);
}

TEST(ToolbarOrigin, InsideTheFrameOfAFullScreenBoxIsKeptFourPointsUp)
{
    const ScreenRect frame = screen;
    const ScreenPoint origin = FrameToolbarWindowController::origin(panel, frame, screen);
    EXPECT_DOUBLE_EQ(origin.y(), 10);
}

TEST(ToolbarOrigin, WidePanelNearTheLeftEdgeIsClampedToTheMargin)
{
    // A 300-wide panel under a frame centred 50 points from the visible area's left edge.
    const ScreenRect visible(0, 40, 1440, 860);
    const ScreenRect frame(visible.minX() + 50 - 40, 300, 80, 200);
    const ScreenPoint origin =
        FrameToolbarWindowController::origin(QSizeF(300, 40), frame, visible);
    EXPECT_DOUBLE_EQ(origin.x(), visible.minX() + 4);
}

TEST(ToolbarOrigin, WidePanelNearTheLeftEdgeOfASecondScreen)
{
    const ScreenRect visible(1920, 0, 1280, 1024);
    const ScreenRect frame(1920 + 50 - 100, 400, 200, 200);
    const ScreenPoint origin =
        FrameToolbarWindowController::origin(QSizeF(300, 40), frame, visible);
    EXPECT_DOUBLE_EQ(origin.x(), 1924);
}

TEST(ToolbarOrigin, PanelWiderThanTheAreaEndsAtTheUpperBound)
{
    const ScreenRect visible(0, 0, 200, 600);
    const ScreenRect frame(0, 200, 200, 200);
    const ScreenPoint origin =
        FrameToolbarWindowController::origin(QSizeF(300, 40), frame, visible);
    EXPECT_DOUBLE_EQ(origin.x(), 200 - 300 - 4);
}

TEST(ToolbarOrigin, NearTheRightEdgeIsClampedToTheMargin)
{
    const ScreenRect frame(1300, 400, 200, 200);
    const ScreenPoint origin = FrameToolbarWindowController::origin(panel, frame, screen);
    EXPECT_DOUBLE_EQ(origin.x(), 1440 - 260 - 4);
}
