#include "model/ScreenLayout.h"
#include "model/ScreenCoordinates.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {

// Screens given in Qt's coordinates, the first one primary.
ScreenLayout layoutOf(const std::vector<std::pair<QRectF, double>> &screens)
{
    ScreenLayout layout;
    layout.primaryGeometry = screens.front().first;
    for (const auto &[geometry, scale] : screens) {
        const ScreenRect frame = screenRectFromQt(geometry, layout.primaryGeometry);
        layout.screens.emplace_back(frame, frame, scale);
    }
    layout.mainIndex = 0;
    return layout;
}

} // namespace

TEST(ScreenLayout, AtScaleOneEveryScreenSeesTheSameLayout)
{
    const ScreenLayout layout =
        layoutOf({{QRectF(0, 0, 1920, 1080), 1.0}, {QRectF(1920, 0, 1280, 1024), 1.0}});
    for (std::size_t index : {0u, 1u}) {
        const ScreenLayout seen = seenFrom(layout, index);
        ASSERT_EQ(seen.screens.size(), 2u);
        EXPECT_EQ(seen.screens[1].frame, layout.screens[1].frame);
        EXPECT_EQ(seen.screens[0].visibleFrame, layout.screens[0].visibleFrame);
    }
    // No such screen: as it is.
    EXPECT_EQ(seenFrom(layout, 7).screens[1].frame, layout.screens[1].frame);
}

TEST(ScreenLayout, AUniformScaleClosesTheGapsBetweenTheScreensPoints)
{
    // Two 1920 × 1080 monitors side by side at scale 2: Qt gives them 960 × 540 points each
    // and keeps their corners at 0 and 1920, leaving 960 points between them.
    const ScreenLayout layout =
        layoutOf({{QRectF(0, 0, 960, 540), 2.0}, {QRectF(1920, 0, 960, 540), 2.0}});
    EXPECT_EQ(layout.screens[1].frame, ScreenRect(1920, 0, 960, 540));
    // Seen from the left one, the right one starts where it ends.
    EXPECT_EQ(seenFrom(layout, 0).screens[1].frame, ScreenRect(960, 0, 960, 540));
    EXPECT_EQ(seenFrom(layout, 0).screens[0].frame, ScreenRect(0, 0, 960, 540));
    // Seen from the right one, the left one ends where it starts.
    EXPECT_EQ(seenFrom(layout, 1).screens[0].frame, ScreenRect(960, 0, 960, 540));
    EXPECT_EQ(seenFrom(layout, 1).screens[1].frame, ScreenRect(1920, 0, 960, 540));
}

TEST(ScreenLayout, MixedScalesAreSeenInTheViewingScreensPoints)
{
    // A at scale 1 (primary), B right of it at scale 2: 1920 × 1080 pixels each.
    const ScreenLayout layout =
        layoutOf({{QRectF(0, 0, 1920, 1080), 1.0}, {QRectF(1920, 0, 960, 540), 2.0}});
    // From A, B is its full 1920 × 1080 pixels, as points of scale 1.
    EXPECT_EQ(seenFrom(layout, 0).screens[1].frame, ScreenRect(1920, 0, 1920, 1080));
    // From B, A is half as large, ending at B's corner; y up from the primary's bottom (Qt's
    // 1080), so its top at Qt's 0 is 1080 up.
    const ScreenLayout fromB = seenFrom(layout, 1);
    EXPECT_EQ(fromB.screens[0].frame, ScreenRect(960, 540, 960, 540));
    EXPECT_EQ(fromB.screens[1].frame, ScreenRect(1920, 540, 960, 540));
    EXPECT_EQ(fromB.screens[0].scale, 2.0);
}
