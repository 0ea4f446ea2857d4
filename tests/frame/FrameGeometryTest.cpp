#include "frame/FrameGeometry.h"

#include <gtest/gtest.h>

using namespace lookpane;
using namespace lookpane::FrameGeometry;

namespace {

ScreenLayout::Screen screen(ScreenRect frame, ScreenRect visible)
{
    return ScreenLayout::Screen{frame, visible};
}

ScreenLayout layoutOf(std::vector<ScreenLayout::Screen> screens)
{
    ScreenLayout layout;
    layout.screens = std::move(screens);
    if (!layout.screens.empty()) {
        layout.mainIndex = 0;
    }
    return layout;
}

void expectRectNear(const ScreenRect &actual, const ScreenRect &expected, double tolerance = 0.01)
{
    EXPECT_NEAR(actual.minX(), expected.minX(), tolerance);
    EXPECT_NEAR(actual.minY(), expected.minY(), tolerance);
    EXPECT_NEAR(actual.width(), expected.width(), tolerance);
    EXPECT_NEAR(actual.height(), expected.height(), tolerance);
}

const ScreenLayout::Screen laptop =
    screen(ScreenRect(0, 0, 1440, 900), ScreenRect(0, 25, 1440, 875));

} // namespace

TEST(FrameGeometry, RectStraddlingTheRightEdgeMovesLeftUntilItTouchesIt)
{
    const ScreenRect result =
        constrained(ScreenRect(1200, 300, 400, 300), laptop, layoutOf({laptop}));
    EXPECT_EQ(result, ScreenRect(1040, 300, 400, 300));
    EXPECT_DOUBLE_EQ(result.minX() + result.width(), 1440);
}

TEST(FrameGeometry, RectWiderThanTheVisibleFrameIsReturnedAsGiven)
{
    const ScreenRect wide(-300, -50, 1600, 400);
    EXPECT_EQ(constrained(wide, laptop, layoutOf({laptop})), wide);
}

TEST(FrameGeometry, ConstrainedClampsTheLowerBoundBeforeTheUpper)
{
    // Below the visible area (under the dock): pushed up to its bottom edge.
    EXPECT_EQ(constrained(ScreenRect(-20, 0, 400, 300), laptop, layoutOf({laptop})),
              ScreenRect(0, 25, 400, 300));
}

TEST(FrameGeometry, ConstrainedPicksTheFirstScreenTheRectMeetsWhenNoneIsGiven)
{
    const ScreenLayout::Screen right =
        screen(ScreenRect(1440, 0, 1920, 1080), ScreenRect(1440, 0, 1920, 1050));
    const ScreenRect onRight(3200, 900, 400, 300);
    EXPECT_EQ(constrained(onRight, std::nullopt, layoutOf({laptop, right})),
              ScreenRect(2960, 750, 400, 300));
}

TEST(FrameGeometry, ConstrainedFallsBackToTheMainScreenAndWithoutScreensChangesNothing)
{
    const ScreenRect nowhere(5000, 5000, 400, 300);
    EXPECT_EQ(constrained(nowhere, std::nullopt, layoutOf({laptop})),
              ScreenRect(1040, 600, 400, 300));
    EXPECT_EQ(constrained(nowhere, std::nullopt, ScreenLayout{}), nowhere);
}

TEST(FrameGeometry, FullHdPresetOnALaptopScalesByThreeQuartersAroundTheOldCentre)
{
    const FrameSizePreset fullHd = FrameSizePreset::all()[1];
    ASSERT_EQ(fullHd.title, QStringLiteral("1920 × 1080"));
    const QSizeF size = presetSize(fullHd, laptop.visibleFrame);
    EXPECT_DOUBLE_EQ(size.width(), 1440);
    EXPECT_DOUBLE_EQ(size.height(), 810);
    const ScreenRect box(400, 300, 640, 360); // centre (720, 480)
    const ScreenRect placed = constrained(centred(size, box), laptop, layoutOf({laptop}));
    // Centred: (0, 75); already inside the visible frame.
    EXPECT_EQ(placed, ScreenRect(0, 75, 1440, 810));
}

TEST(FrameGeometry, HdPresetOnALargeDisplayIsExact)
{
    const FrameSizePreset hd = FrameSizePreset::all()[0];
    ASSERT_EQ(hd.title, QStringLiteral("1280 × 720"));
    EXPECT_EQ(hd.ratio, FrameRatio::widescreen);
    EXPECT_EQ(presetSize(hd, ScreenRect(0, 0, 2560, 1400)), QSizeF(1280, 720));
}

TEST(FrameGeometry, PresetWithoutAScreenIsUsedAsItStands)
{
    EXPECT_EQ(presetSize(FrameSizePreset::all()[1], std::nullopt), QSizeF(1920, 1080));
}

TEST(FrameGeometry, SquareLockOnA640By360BoxGives640By640AroundTheSameCentre)
{
    const ScreenRect box(100, 100, 640, 360);
    const std::optional<QSizeF> size = sizeLockedTo(FrameRatio::square, box.size());
    ASSERT_TRUE(size.has_value());
    EXPECT_EQ(*size, QSizeF(640, 640));
    const ScreenRect result = centred(*size, box);
    EXPECT_EQ(result.center(), box.center());
    EXPECT_EQ(result, ScreenRect(100, -40, 640, 640));
}

TEST(FrameGeometry, FreeRatioLeavesTheSizeAlone)
{
    EXPECT_FALSE(sizeLockedTo(FrameRatio::free, QSizeF(640, 360)).has_value());
}

TEST(FrameGeometry, SnapWidescreenToASquareWindowWidensAroundItsCentre)
{
    const ScreenRect result =
        snapped(ScreenRect(500, 200, 1000, 1000), FrameRatio::widescreen, minimumContentSize);
    expectRectNear(result, ScreenRect(500 - 388.89, 200, 1777.78, 1000));
}

TEST(FrameGeometry, SnapWidescreenToAWideWindowGrowsItsHeightDownwardsByHalf)
{
    const ScreenRect result =
        snapped(ScreenRect(0, 400, 2000, 500), FrameRatio::widescreen, minimumContentSize);
    expectRectNear(result, ScreenRect(0, 400 - 312.5, 2000, 1125));
}

TEST(FrameGeometry, SnapFreeToATinyWindowGrowsToTheMinimumFromItsOrigin)
{
    EXPECT_EQ(snapped(ScreenRect(300, 200, 100, 50), FrameRatio::free, minimumContentSize),
              ScreenRect(300, 200, 320, 180));
}

TEST(FrameGeometry, DetachedShareWindowGoesToTheBottomRightOfTheVisibleFrame)
{
    const ScreenRect result = detachedShareFrame(ScreenRect(100, 100, 1200, 675),
                                                 laptop.visibleFrame, minimumContentSize.width());
    EXPECT_EQ(result, ScreenRect(824, 65, 576, 324));
}

TEST(FrameGeometry, DetachedShareWindowWithoutAScreenIsPlacedByTheBoxItself)
{
    const ScreenRect box(100, 100, 1000, 500);
    // width = min(400, 1000) = 400; height = 200; origin (100 + 1000 - 400 - 40, 140).
    EXPECT_EQ(detachedShareFrame(box, std::nullopt, 320), ScreenRect(660, 140, 400, 200));
}

TEST(FrameGeometry, DetachedShareSizeKeepsTheShareWidthAndTheBoxShape)
{
    const std::optional<QSizeF> size = detachedShareSize(QSizeF(800, 600), 400);
    ASSERT_TRUE(size.has_value());
    EXPECT_EQ(*size, QSizeF(400, 300));
    EXPECT_FALSE(detachedShareSize(QSizeF(0.5, 600), 400).has_value());
}

namespace {
// A 1920 × 1080 primary and a 1280 × 1024 monitor right of it, tops aligned: below the right
// one lies a 1280 × 56 gap that no screen shows.
const ScreenLayout::Screen primary =
    screen(ScreenRect(0, 0, 1920, 1080), ScreenRect(0, 0, 1920, 1080));
const ScreenLayout::Screen shorter =
    screen(ScreenRect(1920, 56, 1280, 1024), ScreenRect(1920, 56, 1280, 1024));
// The same primary and an equally high monitor right of it.
const ScreenLayout::Screen equal =
    screen(ScreenRect(1920, 0, 1920, 1080), ScreenRect(1920, 0, 1920, 1080));
// A small screen with a 30-point panel at its top.
const ScreenLayout::Screen small = screen(ScreenRect(0, 0, 1280, 800), ScreenRect(0, 0, 1280, 770));
} // namespace

TEST(FrameGeometry, ARectStraddlingTwoMonitorsLiesOnTheScreens)
{
    const ScreenLayout layout = layoutOf({primary, shorter});
    EXPECT_TRUE(liesOnScreens(ScreenRect(1600, 400, 800, 450), layout));
    EXPECT_TRUE(liesOnScreens(ScreenRect(0, 0, 1920, 1080), layout));
    // Reaching into the gap below the shorter monitor.
    EXPECT_FALSE(liesOnScreens(ScreenRect(1600, 20, 800, 450), layout));
    // Past the outer edges, or off every screen.
    EXPECT_FALSE(liesOnScreens(ScreenRect(-10, 400, 800, 450), layout));
    EXPECT_FALSE(liesOnScreens(ScreenRect(5000, 400, 800, 450), layout));
    EXPECT_FALSE(liesOnScreens(ScreenRect(0, 0, 10, 10), layoutOf({})));
}

TEST(FrameGeometry, KeptOnScreensLeavesARectThatLiesOnThemAlone)
{
    const ScreenRect straddling(1600, 400, 800, 450);
    EXPECT_EQ(keptOnScreens(straddling, layoutOf({primary, shorter})), straddling);
    // Without screens there is nothing to keep it on.
    const ScreenRect anywhere(-5000, 7000, 800, 450);
    EXPECT_EQ(keptOnScreens(anywhere, layoutOf({})), anywhere);
}

TEST(FrameGeometry, KeptOnScreensStopsADragAtTheOuterEdgesWithoutLeavingAMonitorBoundary)
{
    // Dragged up past the top while straddling two monitors of one height: only y changes.
    EXPECT_EQ(keptOnScreens(ScreenRect(1600, 900, 800, 450), layoutOf({primary, equal})),
              ScreenRect(1600, 630, 800, 450));
    // Past the right edge of the one screen: as constrained would put it.
    EXPECT_EQ(keptOnScreens(ScreenRect(1200, 300, 400, 300), layoutOf({laptop})),
              ScreenRect(1040, 300, 400, 300));
    // Off every screen far below and left: into the bottom-left corner.
    EXPECT_EQ(keptOnScreens(ScreenRect(-3000, -3000, 800, 450), layoutOf({primary, equal})),
              ScreenRect(0, 0, 800, 450));
}

TEST(FrameGeometry, KeptOnScreensMovesABoxOutOfAGapOntoTheScreenHoldingMostOfIt)
{
    // Straddling, its bottom 36 points in the gap below the shorter monitor; most of it is on
    // the primary, which takes all of it.
    EXPECT_EQ(keptOnScreens(ScreenRect(1500, 20, 800, 450), layoutOf({primary, shorter})),
              ScreenRect(1120, 20, 800, 450));
}

TEST(FrameGeometry, ABoxLeftOnAMonitorThatWentAwayIsBroughtOntoTheOneThatStays)
{
    // Wholly on the right-hand monitor, which is gone: against the primary's right edge.
    EXPECT_EQ(keptOnScreens(ScreenRect(2200, 300, 800, 450), layoutOf({primary})),
              ScreenRect(1120, 300, 800, 450));
    // A 60-point sliver left on the primary by the window manager: wholly onto it.
    EXPECT_EQ(keptOnScreens(ScreenRect(1860, 300, 800, 400), layoutOf({primary})),
              ScreenRect(1120, 300, 800, 400));
}

TEST(FrameGeometry, AFrameLargerThanTheScreensIsShrunkToTheScreenKeepingItsShape)
{
    // A box saved on a 4K monitor, restored on a 1280 × 800 screen with a panel: a third of its
    // size (1280 × 720), centred where it was and then pushed onto the screen.
    EXPECT_EQ(keptOnScreens(ScreenRect(0, 0, 3840, 2160), layoutOf({small})),
              ScreenRect(0, 50, 1280, 720));
    // A corrupt 40000 × 30000 frame: 770 / 30000 of it, its centre far to the top-right, so
    // it ends in the top-right corner.
    const ScreenRect huge = keptOnScreens(ScreenRect(0, 0, 40000, 30000), layoutOf({small}));
    expectRectNear(huge, ScreenRect(253.33, 0, 1026.67, 770));
    EXPECT_TRUE(liesOnScreens(huge, layoutOf({small})));
}

TEST(FrameGeometry, TheScreensBoundingSizeCapsWindowSizes)
{
    EXPECT_EQ(screensBoundingSize(layoutOf({primary, shorter})), QSizeF(3200, 1080));
    EXPECT_EQ(screensBoundingSize(layoutOf({small})), QSizeF(1280, 800));
    EXPECT_EQ(screensBoundingSize(layoutOf({})), QSizeF());
}

TEST(FrameGeometry, ABoxStraddlingMonitorsAtAUniformScaleLiesOnThemAsItsScreenSeesThem)
{
    // Two 1920 × 1080 monitors at scale 2: 960 × 540 points each, corners at 0 and 1920. A box
    // on the left one reaching 160 points past its edge covers pixels of the right one.
    ScreenLayout layout;
    layout.primaryGeometry = QRectF(0, 0, 960, 540);
    layout.screens.emplace_back(ScreenRect(0, 0, 960, 540), ScreenRect(0, 0, 960, 540), 2.0);
    layout.screens.emplace_back(ScreenRect(1920, 0, 960, 540), ScreenRect(1920, 0, 960, 540), 2.0);
    layout.mainIndex = 0;
    const ScreenRect straddling(800, 100, 320, 180);
    EXPECT_FALSE(liesOnScreens(straddling, layout)) << "in points the screens leave a gap";
    EXPECT_TRUE(liesOnScreens(straddling, seenFrom(layout, 0)));
    EXPECT_EQ(keptOnScreens(straddling, seenFrom(layout, 0)), straddling);
}
