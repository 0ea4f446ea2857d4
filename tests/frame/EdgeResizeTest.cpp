#include "frame/EdgeResize.h"

#include <gtest/gtest.h>

using namespace lookpane;

TEST(EdgeResize, PressesNearTheEdgesGrabThoseEdges)
{
    const QSizeF size(640, 360);
    EXPECT_EQ(EdgeResize::edgesAt({5, 100}, size, 12), Qt::Edges(Qt::LeftEdge));
    EXPECT_EQ(EdgeResize::edgesAt({635, 355}, size, 12), Qt::RightEdge | Qt::BottomEdge);
    EXPECT_EQ(EdgeResize::edgesAt({320, 5}, size, 12), Qt::Edges(Qt::TopEdge));
    EXPECT_EQ(EdgeResize::edgesAt({320, 180}, size, 12), Qt::Edges());
}

TEST(EdgeResize, FreeResizeMovesOnlyTheDraggedEdges)
{
    const QRectF start(100, 100, 640, 360);
    EXPECT_EQ(EdgeResize::resized(start, Qt::RightEdge, {60, 30}, std::nullopt, {320, 180}),
              QRectF(100, 100, 700, 360));
    EXPECT_EQ(EdgeResize::resized(start, Qt::LeftEdge | Qt::TopEdge, {-40, -20}, std::nullopt,
                                  {320, 180}),
              QRectF(60, 80, 680, 380));
}

TEST(EdgeResize, LockedRatioHoldsWhileDraggingASide)
{
    const QRectF start(100, 100, 640, 360);
    const QRectF result =
        EdgeResize::resized(start, Qt::RightEdge, {160, 0}, QSize(16, 9), {320, 180});
    EXPECT_DOUBLE_EQ(result.width(), 800);
    EXPECT_DOUBLE_EQ(result.height(), 450);
    EXPECT_EQ(result.topLeft(), start.topLeft());
}

TEST(EdgeResize, LockedRatioFollowsTheLargerChangeAtACorner)
{
    const QRectF start(100, 100, 400, 400);
    const QRectF result = EdgeResize::resized(start, Qt::LeftEdge | Qt::TopEdge, {-10, -100},
                                              QSize(1, 1), {320, 180});
    EXPECT_EQ(result, QRectF(0, 0, 500, 500));
}

TEST(EdgeResize, NeverBelowTheMinimumEvenWithALockedRatio)
{
    const QRectF start(100, 100, 640, 360);
    const QRectF result =
        EdgeResize::resized(start, Qt::LeftEdge, {600, 0}, QSize(16, 9), {320, 180});
    EXPECT_DOUBLE_EQ(result.width(), 320);
    EXPECT_DOUBLE_EQ(result.height(), 180);
    // The right edge stays where it was.
    EXPECT_DOUBLE_EQ(result.x() + result.width(), 740);
}
