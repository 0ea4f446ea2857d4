#include "model/ScreenRect.h"
#include "model/ScreenCoordinates.h"

#include <gtest/gtest.h>

#include <QPointF>
#include <QRect>
#include <QRectF>

#include <sstream>
#include <type_traits>

using namespace lookpane;

// Neither system converts to the other without naming the conversion: these fail to compile
// as soon as someone adds an implicit constructor or conversion operator.
static_assert(!std::is_convertible_v<QRectF, ScreenRect>);
static_assert(!std::is_convertible_v<ScreenRect, QRectF>);
static_assert(!std::is_convertible_v<QRect, ScreenRect>);
static_assert(!std::is_convertible_v<QPointF, ScreenPoint>);
static_assert(!std::is_convertible_v<ScreenPoint, QPointF>);
static_assert(!std::is_convertible_v<QPointF, ScreenOffset>);
static_assert(!std::is_convertible_v<ScreenOffset, QPointF>);
static_assert(!std::is_convertible_v<ScreenPoint, ScreenOffset>);
static_assert(!std::is_convertible_v<ScreenOffset, ScreenPoint>);
// Nor can a y-down rectangle be built into one by any explicit constructor.
static_assert(!std::is_constructible_v<ScreenRect, QRectF>);
static_assert(!std::is_constructible_v<QRectF, ScreenRect>);
static_assert(!std::is_constructible_v<ScreenPoint, QPointF>);
static_assert(!std::is_constructible_v<QPointF, ScreenPoint>);

// The accessors work at compile time.
static_assert(ScreenRect(10, 20, 30, 40).maxY() == 60);
static_assert(ScreenRect(10, 20, 30, 40).center() == ScreenPoint(25, 40));

TEST(ScreenRect, EdgesOfARectangleGrowingUpwards)
{
    const ScreenRect rect(10, 20, 30, 40);
    EXPECT_EQ(rect.minX(), 10);
    EXPECT_EQ(rect.maxX(), 40);
    // The bottom edge is the origin's y; the top edge is above it.
    EXPECT_EQ(rect.minY(), 20);
    EXPECT_EQ(rect.maxY(), 60);
    EXPECT_EQ(rect.midX(), 25);
    EXPECT_EQ(rect.midY(), 40);
    EXPECT_EQ(rect.width(), 30);
    EXPECT_EQ(rect.height(), 40);
    EXPECT_EQ(rect.origin(), ScreenPoint(10, 20));
    EXPECT_EQ(rect.size(), QSizeF(30, 40));
    EXPECT_EQ(rect.center(), ScreenPoint(25, 40));
}

TEST(ScreenRect, BuiltFromOriginAndSize)
{
    EXPECT_EQ(ScreenRect(ScreenPoint(-5, 7.5), QSizeF(100, 50)), ScreenRect(-5, 7.5, 100, 50));
    EXPECT_EQ(ScreenRect(), ScreenRect(0, 0, 0, 0));
}

TEST(ScreenRect, EqualityComparesEveryField)
{
    const ScreenRect rect(1, 2, 3, 4);
    EXPECT_EQ(rect, ScreenRect(1, 2, 3, 4));
    EXPECT_NE(rect, ScreenRect(0, 2, 3, 4));
    EXPECT_NE(rect, ScreenRect(1, 0, 3, 4));
    EXPECT_NE(rect, ScreenRect(1, 2, 0, 4));
    EXPECT_NE(rect, ScreenRect(1, 2, 3, 0));
    EXPECT_NE(ScreenPoint(1, 2), ScreenPoint(2, 1));
    EXPECT_NE(ScreenOffset(1, 2), ScreenOffset(2, 1));
}

TEST(ScreenRect, EmptyWithoutArea)
{
    EXPECT_TRUE(ScreenRect().isEmpty());
    EXPECT_TRUE(ScreenRect(5, 5, 0, 10).isEmpty());
    EXPECT_TRUE(ScreenRect(5, 5, 10, 0).isEmpty());
    EXPECT_TRUE(ScreenRect(5, 5, -1, 10).isEmpty());
    EXPECT_FALSE(ScreenRect(5, 5, 0.5, 0.5).isEmpty());
}

TEST(ScreenRect, ContainsItsEdgesButNothingBeyond)
{
    const ScreenRect rect(10, 20, 30, 40);
    EXPECT_TRUE(rect.contains(ScreenPoint(25, 40)));
    EXPECT_TRUE(rect.contains(ScreenPoint(10, 20)));
    EXPECT_TRUE(rect.contains(ScreenPoint(40, 60)));
    EXPECT_FALSE(rect.contains(ScreenPoint(9.9, 40)));
    EXPECT_FALSE(rect.contains(ScreenPoint(40.1, 40)));
    EXPECT_FALSE(rect.contains(ScreenPoint(25, 19.9)));
    EXPECT_FALSE(rect.contains(ScreenPoint(25, 60.1)));
    EXPECT_FALSE(ScreenRect(10, 20, 0, 40).contains(ScreenPoint(10, 30)));
}

TEST(ScreenRect, IntersectionIsTheCommonArea)
{
    const ScreenRect screen(0, 0, 1920, 1080);
    // Reaching 100 points over the left edge and 50 over the top.
    const ScreenRect over(-700, 1030, 800, 100);
    EXPECT_TRUE(screen.intersects(over));
    EXPECT_TRUE(over.intersects(screen));
    EXPECT_EQ(screen.intersected(over), ScreenRect(0, 1030, 100, 50));
    EXPECT_EQ(over.intersected(screen), ScreenRect(0, 1030, 100, 50));
    EXPECT_EQ(screen.intersected(ScreenRect(100, 200, 300, 400)), ScreenRect(100, 200, 300, 400));
}

TEST(ScreenRect, RectanglesThatOnlyTouchDoNotIntersect)
{
    const ScreenRect left(0, 0, 100, 100);
    const ScreenRect right(100, 0, 100, 100);
    const ScreenRect above(0, 100, 100, 100);
    EXPECT_FALSE(left.intersects(right));
    EXPECT_FALSE(left.intersects(above));
    EXPECT_EQ(left.intersected(right), ScreenRect());
    EXPECT_EQ(left.intersected(ScreenRect(500, 500, 10, 10)), ScreenRect());
    EXPECT_FALSE(left.intersects(ScreenRect(50, 50, 0, 0)));
}

TEST(ScreenRect, TranslatedMovesUpForPositiveDy)
{
    const ScreenRect moved = ScreenRect(10, 20, 30, 40).translated(ScreenOffset(100, 50));
    EXPECT_EQ(moved, ScreenRect(110, 70, 30, 40));
    EXPECT_EQ(moved.maxY(), 110);
    EXPECT_EQ(ScreenRect(10, 20, 30, 40).translated(ScreenOffset(-10, -25)),
              ScreenRect(0, -5, 30, 40));
}

TEST(ScreenRect, PrintsItsFieldsForTestFailures)
{
    std::ostringstream text;
    text << ScreenRect(10, 20.5, 30, 40) << ' ' << ScreenPoint(1, -2) << ' ' << ScreenOffset(3, 4);
    EXPECT_EQ(text.str(), "ScreenRect(minX 10, minY 20.5, width 30, height 40) "
                          "ScreenPoint(x 1, y -2) ScreenOffset(dx 3, dy 4)");
    EXPECT_EQ(::testing::PrintToString(ScreenRect(1, 2, 3, 4)),
              "ScreenRect(minX 1, minY 2, width 3, height 4)");
}

TEST(ScreenRectConversion, TopEdgeBecomesQtsTopAndBack)
{
    // A 1920 × 1080 primary screen: the rectangle's top edge (maxY 60) lies 1020 points below
    // the screen's top in Qt's coordinates.
    const ScreenRect rect(10, 20, 30, 40);
    const QRectF primary(0, 0, 1920, 1080);
    const QRectF qt = qtRectFromScreen(rect, primary);
    EXPECT_EQ(qt, QRectF(10, 1020, 30, 40));
    EXPECT_EQ(qt.top(), 1080 - rect.maxY());
    EXPECT_EQ(qt.top() + qt.height(), 1080 - rect.minY());
    EXPECT_EQ(screenRectFromQt(qt, primary), rect);
}

TEST(ScreenRectConversion, RoundTripsAreExact)
{
    for (const ScreenRect &rect :
         {ScreenRect(560, 315, 800, 450), ScreenRect(-1920, 1080, 1920, 1200),
          ScreenRect(0.25, -0.5, 1.5, 2.75), ScreenRect(3000, 2000, 0, 0)}) {
        for (const qreal height : {0.0, 900.0, 1080.0, 1440.0}) {
            const QRectF primary(-640, 360, 1920, height);
            EXPECT_EQ(screenRectFromQt(qtRectFromScreen(rect, primary), primary), rect) << height;
        }
    }
    const QRectF primary(0, 0, 1920, 1080);
    for (const ScreenPoint &point : {ScreenPoint(0, 0), ScreenPoint(-12.5, 2000.25)}) {
        EXPECT_EQ(screenPointFromQt(qtPointFromScreen(point, primary), primary), point);
    }
}

TEST(ScreenRectConversion, CentreMapsToTheQtCentre)
{
    const ScreenRect rect(100, 80, 640, 300);
    const QRectF primary(0, 0, 1920, 1080);
    EXPECT_EQ(qtPointFromScreen(rect.center(), primary), qtRectFromScreen(rect, primary).center());
    EXPECT_EQ(screenPointFromQt(QPointF(420, 850), primary), rect.center());
}

TEST(ScreenRectConversion, DragOffsetsTurnUpwards)
{
    // The mouse moved 30 right and 20 up the screen (Qt's y fell by 20).
    EXPECT_EQ(screenOffsetFromQt(QPointF(30, -20)), ScreenOffset(30, 20));
    EXPECT_EQ(screenOffsetFromQt(QPointF(-10, 25)), ScreenOffset(-10, -25));
}

TEST(ScreenRectConversion, RectWithinAScreenCountsDownFromItsTopLeft)
{
    // A 1920 × 1080 screen to the right of the primary one, its bottom 200 points higher.
    const ScreenRect screen(1440, 200, 1920, 1080);
    // 100 points from its left edge, the top edge 50 points below the screen's.
    EXPECT_EQ(qtRectWithin(ScreenRect(1540, 830, 640, 400), screen), QRectF(100, 50, 640, 400));
    EXPECT_EQ(qtRectWithin(screen, screen), QRectF(0, 0, 1920, 1080));
    // The bottom-left corner of the screen is at the bottom of its own grid.
    EXPECT_EQ(qtRectWithin(ScreenRect(1440, 200, 10, 10), screen), QRectF(0, 1070, 10, 10));
}
