#include "capture/CaptureDisplay.h"
#include "capture/StreamSetup.h"

#include <gtest/gtest.h>

namespace lookpane {
namespace {

TEST(RegionConfigurationTest, OnePointWideFrameAtDoubleScaleIsFourPixelsWide)
{
    const CaptureDisplay display{1, ScreenRect(0, 0, 1440, 900), 2.0};
    const StreamConfiguration configuration =
        makeConfiguration(ScreenRect(10, 20, 1, 300), display);
    EXPECT_EQ(configuration.width, 4);
    EXPECT_EQ(configuration.height, 600);
    EXPECT_EQ(configuration.sourceRect.width(), 1.0);
    EXPECT_EQ(configuration.sourceRect.height(), 300.0);
}

TEST(RegionConfigurationTest, HalfScaleIsTreatedAsOne)
{
    const CaptureDisplay display{1, ScreenRect(0, 0, 1440, 900), 0.5};
    const StreamConfiguration configuration =
        makeConfiguration(ScreenRect(0, 0, 640, 480), display);
    EXPECT_EQ(configuration.width, 640);
    EXPECT_EQ(configuration.height, 480);
}

TEST(RegionConfigurationTest, WorkedExampleOnTheMainDisplay)
{
    const CaptureDisplay display{1, ScreenRect(0, 0, 1440, 900), 2.0};
    const StreamConfiguration configuration =
        makeConfiguration(ScreenRect(100, 200, 1000, 500), display);
    EXPECT_EQ(configuration.width, 2000);
    EXPECT_EQ(configuration.height, 1000);
    EXPECT_EQ(configuration.sourceRect, QRectF(100, 200, 1000, 500)); // y = 900 - 700
    EXPECT_EQ(configuration.maximumFramesPerSecond, 60);
    EXPECT_EQ(configuration.queueDepth, 2);
    EXPECT_FALSE(configuration.showsCursor);
    EXPECT_TRUE(configuration.shouldBeOpaque);
    EXPECT_TRUE(configuration.ignoreShadowsDisplay);
}

TEST(RegionConfigurationTest, SecondDisplaySourceRectIsNotClipped)
{
    const CaptureDisplay display{2, ScreenRect(1440, -200, 1920, 1080), 1.0};
    const StreamConfiguration configuration =
        makeConfiguration(ScreenRect(1500, 300, 800, 600), display);
    // x = 1500 - 1440, y = 880 - 900: the rectangle reaches above the display's top.
    EXPECT_EQ(configuration.sourceRect, QRectF(60, -20, 800, 600));
    EXPECT_EQ(configuration.width, 800);
    EXPECT_EQ(configuration.height, 600);
}

TEST(RegionConfigurationTest, PixelSizesRoundAsTheShareWindowsSizeIsRounded)
{
    // Qt gives a window of w points round(w × scale) pixels (halves up, never to even); the
    // frames must have exactly the window's size, or they are stretched over it.
    const CaptureDisplay display{1, ScreenRect(0, 0, 1440, 900), 1.5};
    const StreamConfiguration configuration =
        makeConfiguration(ScreenRect(0.25, 0.5, 333.3, 101.9), display);
    EXPECT_EQ(configuration.width, 500);  // 499.95
    EXPECT_EQ(configuration.height, 153); // 152.85
    EXPECT_EQ(configuration.sourceRect, QRectF(0.25, 900 - 102.4, 333.3, 101.9));
}

TEST(RegionConfigurationTest, HalfPixelsRoundUpAtFractionalScales)
{
    // The first launch's 800 × 450 box at 1.25 is a 1000 × 563 window (562.5 rows, rounded up).
    const CaptureDisplay display{1, ScreenRect(0, 0, 1536, 864), 1.25};
    const StreamConfiguration first = makeConfiguration(ScreenRect(368, 207, 800, 450), display);
    EXPECT_EQ(first.width, 1000);
    EXPECT_EQ(first.height, 563);
    const CaptureDisplay oneAndAHalf{1, ScreenRect(0, 0, 1280, 720), 1.5};
    const StreamConfiguration second =
        makeConfiguration(ScreenRect(267, 95, 801, 529), oneAndAHalf);
    EXPECT_EQ(second.width, 1202);
    EXPECT_EQ(second.height, 794);
}

TEST(RegionConfigurationTest, EmptyFrameStillGetsTwoPointsOfPixels)
{
    const CaptureDisplay display{1, ScreenRect(0, 0, 1440, 900), 1.0};
    const StreamConfiguration configuration = makeConfiguration(ScreenRect(5, 5, 0, -3), display);
    EXPECT_EQ(configuration.width, 2);
    EXPECT_EQ(configuration.height, 2);
    EXPECT_EQ(configuration.sourceRect.width(), 0.0);
    EXPECT_EQ(configuration.sourceRect.height(), -3.0);
}

TEST(RegionConfigurationDeathTest, NonFinitePixelSizeIsFatal)
{
    const CaptureDisplay display{1, ScreenRect(0, 0, 1440, 900), 2.0};
    EXPECT_DEATH(
        makeConfiguration(ScreenRect(0, 0, std::numeric_limits<double>::infinity(), 10), display),
        "fatal error: capture width");
}

TEST(RegionConfigurationDeathTest, PixelSizeBeyondSixtyFourBitsIsFatal)
{
    const CaptureDisplay display{1, ScreenRect(0, 0, 1440, 900), 2.0};
    EXPECT_DEATH(makeConfiguration(ScreenRect(0, 0, 10, 1e19), display),
                 "fatal error: capture height");
}

TEST(RegionFilterTest, ExcludesThisApplicationWhenListed)
{
    ShareableContent content;
    const ShareableDisplay display{3, QRect(0, 0, 1920, 1080)};
    content.displays = {display};
    content.applications = {
        {11, "Other", "Other"}, {77, "Lookpane", "Lookpane"}, {77, "Duplicate", "Duplicate"}};
    content.windows = {{500, QRectF(0, 0, 10, 10), "frame", content.applications[1], 0}};
    EXPECT_EQ(makeFilter(content, display, 500, 77), (ContentFilter{3, {77}, {}}));
}

TEST(RegionFilterTest, ExcludesTheWindowWhenTheApplicationIsNotListed)
{
    ShareableContent content;
    const ShareableDisplay display{3, QRect(0, 0, 1920, 1080)};
    content.displays = {display};
    content.applications = {{11, "Other", "Other"}};
    content.windows = {{499, QRectF(0, 0, 10, 10), "other", std::nullopt, 0},
                       {500, QRectF(0, 0, 10, 10), "frame", std::nullopt, 0}};
    EXPECT_EQ(makeFilter(content, display, 500, 77), (ContentFilter{3, {}, {500}}));
}

TEST(RegionFilterTest, NothingWhenNeitherApplicationNorWindowIsListed)
{
    ShareableContent content;
    const ShareableDisplay display{3, QRect(0, 0, 1920, 1080)};
    content.displays = {display};
    content.windows = {{499, QRectF(0, 0, 10, 10), "other", std::nullopt, 0}};
    EXPECT_EQ(makeFilter(content, display, 500, 77), std::nullopt);
    EXPECT_EQ(makeFilter(content, display, std::nullopt, 77), std::nullopt);
}

TEST(RegionFrameStatusTest, OnlyCompleteSamplesAreComplete)
{
    EXPECT_TRUE(frameIsComplete({CapturedFrame(), FrameStatus::complete}));
    EXPECT_FALSE(frameIsComplete({CapturedFrame(), FrameStatus::idle}));
    EXPECT_FALSE(frameIsComplete({CapturedFrame(), std::nullopt}));
    EXPECT_FALSE(frameIsComplete({CapturedFrame(), FrameStatus::blank}));
    EXPECT_FALSE(frameIsComplete({CapturedFrame(), FrameStatus::suspended}));
    EXPECT_FALSE(frameIsComplete({CapturedFrame(), FrameStatus::started}));
    EXPECT_FALSE(frameIsComplete({CapturedFrame(), FrameStatus::stopped}));
}

TEST(RegionDisplayTest, ScreenWithoutNumberIsTreatedAsTheMainDisplay)
{
    EXPECT_EQ(displayIDForScreen(std::nullopt, 41), 41u);
    EXPECT_EQ(displayIDForScreen(57, 41), 57u);
}

} // namespace
} // namespace lookpane
