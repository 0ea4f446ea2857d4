#include "model/DevicePixels.h"

#include <gtest/gtest.h>

#include <QSize>

#include <optional>
#include <vector>

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

namespace {
// Two 1920 × 1080 monitors side by side, the right one at two pixels per point: Qt keeps its
// corner at x 1920 and gives it 960 × 540 points.
const std::vector<DeviceScreen> mixed = {{QRect(0, 0, 1920, 1080), 1.0},
                                         {QRect(1920, 0, 960, 540), 2.0}};
} // namespace

TEST(DevicePixels, APointBelongsToTheScreenWhosePointsHoldIt)
{
    EXPECT_EQ(deviceScreenAt(QPointF(100, 100), mixed), mixed[0]);
    EXPECT_EQ(deviceScreenAt(QPointF(1919.5, 1000), mixed), mixed[0]);
    // The shared edge belongs to the right-hand screen only.
    EXPECT_EQ(deviceScreenAt(QPointF(1920, 250), mixed), mixed[1]);
    // Off every screen: the nearest one (below the right one's 540 points).
    EXPECT_EQ(deviceScreenAt(QPointF(2500, 700), mixed), mixed[1]);
    EXPECT_EQ(deviceScreenAt(QPointF(0, 0), {}), std::nullopt);
}

TEST(DevicePixels, PointerPositionsAreContinuousInDevicePixelsAcrossScales)
{
    // Moving right along device row 500: in points y jumps from 500 to 250 at the edge, in
    // device pixels it stays 500.
    EXPECT_EQ(devicePositionFromQt(QPointF(1919, 500), mixed), QPointF(1919, 500));
    EXPECT_EQ(devicePositionFromQt(QPointF(1920.5, 250), mixed), QPointF(1921, 500));
    EXPECT_EQ(devicePositionFromQt(QPointF(2000, 50), mixed), QPointF(2080, 100));
    EXPECT_EQ(devicePositionFromQt(QPointF(7, 8), {}), QPointF(7, 8));
}

TEST(DevicePixels, AWindowsCornerInDevicePixels)
{
    EXPECT_EQ(devicePixelPosition(QPoint(100, 100), mixed[0]), QPoint(100, 100));
    EXPECT_EQ(devicePixelPosition(QPoint(1960, 50), mixed[1]), QPoint(2000, 100));
    // Lowered and scaled by 1.25: round(40 × 1.25) = 50 below the corner at 360.
    EXPECT_EQ(devicePixelPosition(QPoint(100, 400), DeviceScreen{QRect(0, 360, 1536, 864), 1.25}),
              QPoint(125, 410));
}

TEST(DevicePixels, AWindowIsPlacedByTheScreenThatWillHoldItsCentre)
{
    const QSize box(800, 450);
    // 1900 pixels right of (100, 100): on the right-hand screen, so mapped by it.
    EXPECT_EQ(qtPositionForDevicePixel(QPointF(2000, 100), box, mixed, mixed[0]), QPoint(1960, 50));
    // Still mostly on the left-hand screen: mapped by it, the centre stays there.
    EXPECT_EQ(qtPositionForDevicePixel(QPointF(1000, 100), box, mixed, mixed[0]),
              QPoint(1000, 100));
    // The corner on the left screen, the centre over the edge: Qt would put such a window on
    // the right-hand screen, which maps the corner to 1920 - 60 / 2.
    EXPECT_EQ(qtPositionForDevicePixel(QPointF(1800, 100), box, mixed, mixed[0]), QPoint(1860, 50));
    // Round trips: the corner Qt computes for the result is the pixel asked for.
    for (const QPointF device : {QPointF(2000, 100), QPointF(1000, 100), QPointF(1800, 100)}) {
        const QPoint corner = qtPositionForDevicePixel(device, box, mixed, mixed[0]);
        const DeviceScreen holder = *deviceScreenAt(QRect(corner, box).center(), mixed);
        EXPECT_EQ(QPointF(devicePixelPosition(corner, holder)), device);
    }
    // Nowhere a screen would hold the centre: the window's own screen maps it.
    EXPECT_EQ(qtPositionForDevicePixel(QPointF(-5000, 100), box, mixed, mixed[0]),
              QPoint(-5000, 100));
}
