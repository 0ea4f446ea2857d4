#include "model/ScreenCoordinates.h"
#include "model/ScreenLayout.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {
// A 1920 × 1080 primary screen at Qt's origin.
const QRectF atOrigin(0, 0, 1920, 1080);
// The same screen at +0+360 of a 2560 × 1440 desktop (a taller screen to its right).
const QRectF lowered(0, 360, 1920, 1080);
// The same screen at +0+1080, below another one.
const QRectF below(0, 1080, 1920, 1080);
// The same screen right of another one 1280 wide, both top-aligned.
const QRectF rightOfAnother(1280, 0, 1920, 1080);
} // namespace

TEST(ScreenCoordinates, QtRectFlipsToYUpFromTheBottomOfThePrimaryScreen)
{
    // y_up = (P.top + P.height) - (y_down + height)
    EXPECT_EQ(screenRectFromQt(QRectF(100, 700, 640, 300), atOrigin),
              ScreenRect(100, 80, 640, 300));
    EXPECT_EQ(screenRectFromQt(QRectF(560, 315, 800, 450), atOrigin),
              ScreenRect(560, 315, 800, 450));
    EXPECT_EQ(screenRectFromQt(atOrigin, atOrigin), ScreenRect(0, 0, 1920, 1080));
    // A screen above the primary one has negative Qt y and lies above it with y up.
    EXPECT_EQ(screenRectFromQt(QRectF(0, -1440, 2560, 1440), atOrigin),
              ScreenRect(0, 1080, 2560, 1440));
}

TEST(ScreenCoordinates, TheOriginIsThePrimaryScreensBottomLeftWhereverItLies)
{
    // Every primary screen is (0, 0) with its own size, wherever the desktop puts it.
    for (const QRectF &primary : {atOrigin, lowered, below, rightOfAnother}) {
        EXPECT_EQ(screenRectFromQt(primary, primary), ScreenRect(0, 0, 1920, 1080));
        EXPECT_EQ(screenPointFromQt(primary.bottomLeft(), primary), ScreenPoint(0, 0));
    }
    // {{301, 420}, {600, 400}} on the primary at +0+360: its top edge (820) lies 260 below the
    // screen's top, at Qt's y 620.
    EXPECT_EQ(qtRectFromScreen(ScreenRect(301, 420, 600, 400), lowered),
              QRectF(301, 620, 600, 400));
    // Below another screen: the upper screen's bottom edge is the primary's top edge, 1080
    // points above the origin.
    EXPECT_EQ(screenRectFromQt(QRectF(0, 0, 1920, 1080), below), ScreenRect(0, 1080, 1920, 1080));
    EXPECT_EQ(screenRectFromQt(QRectF(200, 1500, 800, 450), below), ScreenRect(200, 210, 800, 450));
    // Right of another screen: x counts from the primary's left edge, so the other is negative.
    EXPECT_EQ(screenRectFromQt(QRectF(0, 0, 1280, 1024), rightOfAnother),
              ScreenRect(-1280, 56, 1280, 1024));
}

TEST(ScreenCoordinates, ScreenRectFlipsBackToQt)
{
    EXPECT_EQ(qtRectFromScreen(ScreenRect(100, 80, 640, 300), atOrigin),
              QRectF(100, 700, 640, 300));
    for (const QRectF &primary : {atOrigin, lowered, below, rightOfAnother, QRectF()}) {
        for (const QRectF &rect : {QRectF(12.5, -300, 800, 450), QRectF(-1920, 2000, 1, 1)}) {
            EXPECT_EQ(qtRectFromScreen(screenRectFromQt(rect, primary), primary), rect);
        }
        for (const ScreenRect &rect :
             {ScreenRect(12.5, -300, 800, 450), ScreenRect(-1920, 2000, 1, 1)}) {
            EXPECT_EQ(screenRectFromQt(qtRectFromScreen(rect, primary), primary), rect);
        }
    }
}

TEST(ScreenCoordinates, PointsFlipAboutTheSameOrigin)
{
    EXPECT_EQ(screenPointFromQt(QPointF(10, 0), atOrigin), ScreenPoint(10, 1080));
    EXPECT_EQ(screenPointFromQt(QPointF(10, 1080), atOrigin), ScreenPoint(10, 0));
    EXPECT_EQ(qtPointFromScreen(ScreenPoint(5, 80), atOrigin), QPointF(5, 1000));
    EXPECT_EQ(screenPointFromQt(QPointF(1290, 1000), rightOfAnother), ScreenPoint(10, 80));
    EXPECT_EQ(qtPointFromScreen(ScreenPoint(5, 80), lowered), QPointF(5, 1360));
    EXPECT_EQ(qtPointFromScreen(screenPointFromQt(QPointF(3.5, 7.25), below), below),
              QPointF(3.5, 7.25));
}

TEST(ScreenCoordinates, WithoutAGuiApplicationThereAreNoScreens)
{
    EXPECT_EQ(primaryScreenGeometry(), QRectF());
    const ScreenLayout layout = currentScreenLayout();
    EXPECT_TRUE(layout.screens.empty());
    EXPECT_EQ(layout.mainIndex, std::nullopt);
    EXPECT_EQ(layout.primaryGeometry, QRectF());
}
