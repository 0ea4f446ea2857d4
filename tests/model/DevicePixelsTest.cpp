#include "model/DevicePixels.h"

#include <gtest/gtest.h>

#include <QSize>

using namespace lookpane;

TEST(DevicePixels, DistancesRoundToTheNearestPixelWithHalvesUpAsQtDoes)
{
    EXPECT_EQ(devicePixelDistance(450, 1.25), 563); // 562.5
    EXPECT_EQ(devicePixelDistance(800, 1.25), 1000);
    EXPECT_EQ(devicePixelDistance(801, 1.5), 1202);  // 1201.5
    EXPECT_EQ(devicePixelDistance(333.3, 1.5), 500); // 499.95
    EXPECT_EQ(devicePixelDistance(101.9, 1.5), 153); // 152.85
    EXPECT_EQ(devicePixelDistance(-5, 1.5), -7);     // -7.5: halves go up, also below zero
    EXPECT_EQ(devicePixelDistance(7, 2), 14);
    // Qt sizes a window so: QSize times a factor rounds each side with qRound.
    for (const int points : {1, 2, 3, 449, 450, 451, 529, 801, 1079}) {
        for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 2.5}) {
            EXPECT_EQ(devicePixelDistance(points, scale), (QSize(points, 1) * scale).width())
                << points << " points at " << scale;
        }
    }
}

TEST(DevicePixels, RectanglesRoundOffsetAndSizeEachOnTheirOwn)
{
    // 667 points from the screen's left edge at 1.5: 1000.5 pixels, so 1001; 801 points wide:
    // 1202 pixels, although the right edge (2202) less the rounded left edge is 1201.
    EXPECT_EQ(devicePixelRect(QRectF(667, 40, 801, 529), QPoint(0, 0), 1.5),
              QRect(1001, 60, 1202, 794));
    // The screen's own corner stays where it is in pixels; only distances from it scale.
    EXPECT_EQ(devicePixelRect(QRectF(100, 40, 800, 450), QPoint(0, 360), 1.25),
              QRect(125, 410, 1000, 563));
    EXPECT_EQ(devicePixelRect(QRectF(-60, 10, 320, 180), QPoint(1920, 0), 2),
              QRect(1800, 20, 640, 360));
}

TEST(DevicePixels, HugeRectanglesStayWithinIntegers)
{
    const QRect huge = devicePixelRect(QRectF(1e12, -1e12, 1e15, 1e300), QPoint(10, 10), 2);
    EXPECT_GT(huge.x(), 0);
    EXPECT_LT(huge.y(), 0);
    EXPECT_GT(huge.width(), 1 << 29);
    EXPECT_GT(huge.height(), 1 << 29);
}
