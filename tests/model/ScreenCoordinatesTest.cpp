#include "model/ScreenCoordinates.h"
#include "model/ScreenLayout.h"

#include <gtest/gtest.h>

using namespace lookpane;

TEST(ScreenCoordinates, QtRectFlipsToYUpFromTheBottomOfThePrimaryScreen)
{
    // y_up = primaryHeight - (y_down + height)
    EXPECT_EQ(screenRectFromQt(QRectF(100, 700, 640, 300), 1080), ScreenRect(100, 80, 640, 300));
    EXPECT_EQ(screenRectFromQt(QRectF(560, 315, 800, 450), 1080), ScreenRect(560, 315, 800, 450));
    EXPECT_EQ(screenRectFromQt(QRectF(0, 0, 1920, 1080), 1080), ScreenRect(0, 0, 1920, 1080));
    // A screen above the primary one has negative Qt y and lies above it with y up.
    EXPECT_EQ(screenRectFromQt(QRectF(0, -1440, 2560, 1440), 1080),
              ScreenRect(0, 1080, 2560, 1440));
}

TEST(ScreenCoordinates, ScreenRectFlipsBackToQt)
{
    EXPECT_EQ(qtRectFromScreen(ScreenRect(100, 80, 640, 300), 1080), QRectF(100, 700, 640, 300));
    for (const QRectF &rect : {QRectF(12.5, -300, 800, 450), QRectF(-1920, 2000, 1, 1)}) {
        EXPECT_EQ(qtRectFromScreen(screenRectFromQt(rect, 900), 900), rect);
    }
    for (const ScreenRect &rect :
         {ScreenRect(12.5, -300, 800, 450), ScreenRect(-1920, 2000, 1, 1)}) {
        EXPECT_EQ(screenRectFromQt(qtRectFromScreen(rect, 900), 900), rect);
    }
}

TEST(ScreenCoordinates, PointsFlipWithoutAHeight)
{
    EXPECT_EQ(screenPointFromQt(QPointF(10, 0), 1080), ScreenPoint(10, 1080));
    EXPECT_EQ(screenPointFromQt(QPointF(10, 1080), 1080), ScreenPoint(10, 0));
    EXPECT_EQ(qtPointFromScreen(ScreenPoint(5, 80), 1080), QPointF(5, 1000));
    EXPECT_EQ(qtPointFromScreen(screenPointFromQt(QPointF(3.5, 7.25), 720), 720),
              QPointF(3.5, 7.25));
}

TEST(ScreenCoordinates, WithoutAGuiApplicationThereAreNoScreens)
{
    EXPECT_EQ(primaryScreenHeight(), 0.0);
    const ScreenLayout layout = currentScreenLayout();
    EXPECT_TRUE(layout.screens.empty());
    EXPECT_EQ(layout.mainIndex, std::nullopt);
}
