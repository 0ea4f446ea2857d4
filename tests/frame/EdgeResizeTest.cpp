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

TEST(EdgeResize, TheOutermostPointsOfAnEdgeResizeAndTheRestOfItsBandMoves)
{
    const QSizeF size(640, 360);
    const auto at = [&](double x, double y) {
        return EdgeResize::resizeEdgesAt({x, y}, size, 12, EdgeResize::resizeGrip);
    };
    EXPECT_EQ(at(0, 180), Qt::Edges(Qt::LeftEdge));
    EXPECT_EQ(at(3.5, 180), Qt::Edges(Qt::LeftEdge));
    EXPECT_EQ(at(4, 180), Qt::Edges()); // in the band, past the grip: moves
    EXPECT_EQ(at(11, 180), Qt::Edges());
    EXPECT_EQ(at(637, 180), Qt::Edges(Qt::RightEdge));
    EXPECT_EQ(at(630, 180), Qt::Edges());
    EXPECT_EQ(at(320, 1), Qt::Edges(Qt::TopEdge));
    EXPECT_EQ(at(320, 8), Qt::Edges());
    EXPECT_EQ(at(320, 358), Qt::Edges(Qt::BottomEdge));
    EXPECT_EQ(at(320, 180), Qt::Edges()); // the interior
}

TEST(EdgeResize, NearACornerTheWholeBandTakesTheCorner)
{
    const QSizeF size(640, 360);
    const auto at = [&](double x, double y) {
        return EdgeResize::resizeEdgesAt({x, y}, size, 12, EdgeResize::resizeGrip);
    };
    EXPECT_EQ(at(8, 8), Qt::LeftEdge | Qt::TopEdge);
    EXPECT_EQ(at(23, 6), Qt::LeftEdge | Qt::TopEdge); // along the top band, 2 bands from it
    EXPECT_EQ(at(6, 23), Qt::LeftEdge | Qt::TopEdge); // along the left band
    EXPECT_EQ(at(24, 6), Qt::Edges());                // past it: the top band moves
    EXPECT_EQ(at(632, 352), Qt::RightEdge | Qt::BottomEdge);
    EXPECT_EQ(at(620, 6), Qt::RightEdge | Qt::TopEdge);
    EXPECT_EQ(at(6, 340), Qt::LeftEdge | Qt::BottomEdge);
    EXPECT_EQ(at(20, 20), Qt::Edges()); // inside the bands: the interior
}

TEST(EdgeResize, InASmallWindowTheCornersMeetHalfway)
{
    const QSizeF size(40, 30);
    EXPECT_EQ(EdgeResize::resizeEdgesAt({6, 14}, size, 12, 4), Qt::LeftEdge | Qt::TopEdge);
    EXPECT_EQ(EdgeResize::resizeEdgesAt({6, 15}, size, 12, 4), Qt::LeftEdge | Qt::BottomEdge);
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
