#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "model/RectText.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

using namespace lookpane;

namespace {

ScreenLayout::Screen screen(ScreenRect frame, ScreenRect visibleFrame)
{
    return {frame, visibleFrame};
}

// A 1920 × 1080 primary screen with a 30-point panel at the top.
ScreenLayout singleScreen()
{
    ScreenLayout layout;
    layout.screens.push_back(screen(ScreenRect(0, 0, 1920, 1080), ScreenRect(0, 0, 1920, 1050)));
    layout.mainIndex = 0;
    return layout;
}

// The same primary screen and a 2560 × 1440 screen to its right.
ScreenLayout twoScreens()
{
    ScreenLayout layout = singleScreen();
    layout.screens.push_back(
        screen(ScreenRect(1920, 0, 2560, 1440), ScreenRect(1920, 0, 2560, 1440)));
    return layout;
}

class FramePreferencesTest : public ::testing::Test
{
protected:
    void SetUp() override { preferences.registerDefaults(); }

    QString filePath() const { return QDir(directory.path()).filePath("Lookpane.conf"); }

    FramePreferences with(ScreenLayout layout)
    {
        return FramePreferences(preferences, [layout] { return layout; });
    }

    void storeFrames(const QString &text)
    {
        preferences.setValue("FrameWindowFrame", text);
        preferences.setValue("DetachedShareWindowFrame", text);
    }

    QTemporaryDir directory;
    Preferences preferences{filePath()};
    const ScreenRect centredOnSingleScreen{560, 300, 800, 450};
};

} // namespace

TEST_F(FramePreferencesTest, NothingStoredGivesTheCentredDefaultAndNoDetachedFrame)
{
    const FramePreferences frames = with(singleScreen());
    EXPECT_EQ(frames.restoredFrame(), centredOnSingleScreen);
    EXPECT_EQ(frames.restoredDetachedFrame(), std::nullopt);
}

TEST_F(FramePreferencesTest, SavedFramesAreWrittenAsTextAndRestored)
{
    FramePreferences frames = with(twoScreens());
    frames.saveFrame(ScreenRect(100, 80, 640, 300));
    frames.saveDetachedFrame(ScreenRect(2000, 12.5, 1280, 720));
    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("FrameWindowFrame").toString(), QStringLiteral("{{100, 80}, {640, 300}}"));
    EXPECT_EQ(file.value("DetachedShareWindowFrame").toString(),
              QStringLiteral("{{2000, 12.5}, {1280, 720}}"));
    EXPECT_EQ(frames.restoredFrame(), ScreenRect(100, 80, 640, 300));
    EXPECT_EQ(frames.restoredDetachedFrame(), ScreenRect(2000, 12.5, 1280, 720));
}

TEST_F(FramePreferencesTest, StoredFrameNarrowerThanTwoPointsIsRejected)
{
    storeFrames("{{100, 100}, {1.5, 300}}");
    const FramePreferences frames = with(singleScreen());
    EXPECT_EQ(frames.restoredFrame(), centredOnSingleScreen);
    EXPECT_EQ(frames.restoredDetachedFrame(), std::nullopt);

    // Rejected for its width alone: on a very tall screen it would be reachable.
    ScreenLayout tall;
    tall.screens.push_back(screen(ScreenRect(0, 0, 1000, 20000), ScreenRect(0, 0, 1000, 20000)));
    tall.mainIndex = 0;
    storeFrames("{{100, 100}, {1.5, 10000}}");
    const FramePreferences onTall = with(tall);
    ASSERT_TRUE(onTall.isReachable(ScreenRect(100, 100, 1.5, 10000)));
    EXPECT_EQ(onTall.restoredFrame(), ScreenRect(100, 9775, 800, 450));
    EXPECT_EQ(onTall.restoredDetachedFrame(), std::nullopt);
}

TEST_F(FramePreferencesTest, StoredFrameOfExactlyTwoByTwoPassesTheSizeTestThenFailsReachability)
{
    storeFrames("{{100, 100}, {2, 2}}");
    const FramePreferences frames = with(singleScreen());
    EXPECT_FALSE(frames.isReachable(ScreenRect(100, 100, 2, 2)));
    EXPECT_EQ(frames.restoredFrame(), centredOnSingleScreen);
    EXPECT_EQ(frames.restoredDetachedFrame(), std::nullopt);

    // Two points wide passes the size test: where it is reachable it is restored.
    ScreenLayout tall;
    tall.screens.push_back(screen(ScreenRect(0, 0, 1000, 20000), ScreenRect(0, 0, 1000, 20000)));
    tall.mainIndex = 0;
    storeFrames("{{100, 100}, {2, 5000}}");
    EXPECT_EQ(with(tall).restoredFrame(), ScreenRect(100, 100, 2, 5000));
    EXPECT_EQ(with(tall).restoredDetachedFrame(), ScreenRect(100, 100, 2, 5000));
}

TEST_F(FramePreferencesTest, FrameOnADisconnectedDisplayFallsBackToCentredDefaultAndNoDetachedFrame)
{
    // Saved while the second screen was connected.
    storeFrames(rectToText(ScreenRect(2500, 400, 800, 450)));
    EXPECT_EQ(with(twoScreens()).restoredFrame(), ScreenRect(2500, 400, 800, 450));

    const FramePreferences frames = with(singleScreen());
    EXPECT_EQ(frames.restoredFrame(), centredOnSingleScreen);
    EXPECT_EQ(frames.restoredDetachedFrame(), std::nullopt);
}

TEST_F(FramePreferencesTest, OverlapOfOneHundredByOneHundredIsReachable)
{
    const FramePreferences frames = with(singleScreen());
    // The visible frame ends at x = 1920; this frame reaches 100 points into it.
    const ScreenRect rect(-700, 500, 800, 100);
    EXPECT_TRUE(frames.isReachable(rect));
    storeFrames(rectToText(rect));
    EXPECT_EQ(frames.restoredFrame(), rect);
    EXPECT_EQ(frames.restoredDetachedFrame(), rect);
}

TEST_F(FramePreferencesTest, OverlapOfNinetyNineByOneHundredIsNotReachable)
{
    const FramePreferences frames = with(singleScreen());
    const ScreenRect rect(-701, 500, 800, 100);
    EXPECT_FALSE(frames.isReachable(rect));
    storeFrames(rectToText(rect));
    EXPECT_EQ(frames.restoredFrame(), centredOnSingleScreen);
    EXPECT_EQ(frames.restoredDetachedFrame(), std::nullopt);
}

TEST_F(FramePreferencesTest, ReachabilityCountsTheVisibleFrameOnly)
{
    const FramePreferences frames = with(singleScreen());
    // Inside the screen but entirely under the top panel (y 1050...1080).
    EXPECT_FALSE(frames.isReachable(ScreenRect(0, 1050, 1920, 30)));
    // 100 × 100 of it below the panel.
    EXPECT_TRUE(frames.isReachable(ScreenRect(0, 950, 100, 130)));
}

TEST_F(FramePreferencesTest, AThinSliverOfTenThousandSquarePointsIsReachable)
{
    ScreenLayout wide;
    wide.screens.push_back(screen(ScreenRect(0, 0, 20000, 1000), ScreenRect(0, 0, 20000, 1000)));
    wide.mainIndex = 0;
    EXPECT_TRUE(with(wide).isReachable(ScreenRect(0, 500, 10000, 1)));
    EXPECT_FALSE(with(wide).isReachable(ScreenRect(0, 500, 9999, 1)));
}

TEST_F(FramePreferencesTest, ReachableOnAnyScreenOfTheLayout)
{
    const FramePreferences frames = with(twoScreens());
    EXPECT_TRUE(frames.isReachable(ScreenRect(4000, 1000, 300, 300)));
    EXPECT_FALSE(frames.isReachable(ScreenRect(5000, 1000, 300, 300)));
    EXPECT_FALSE(with(ScreenLayout{}).isReachable(ScreenRect(0, 0, 800, 450)));
}

TEST_F(FramePreferencesTest, CentredDefaultUsesTheMainScreenElseTheFirstElseTheOrigin)
{
    ScreenLayout layout = twoScreens();
    layout.mainIndex = 1;
    // Centre of (1920, 0, 2560, 1440) is (3200, 720).
    EXPECT_EQ(with(layout).centredDefaultFrame(), ScreenRect(2800, 495, 800, 450));
    layout.mainIndex = std::nullopt;
    EXPECT_EQ(with(layout).centredDefaultFrame(), centredOnSingleScreen);
    EXPECT_EQ(with(ScreenLayout{}).centredDefaultFrame(), ScreenRect(0, 0, 800, 450));
}

TEST_F(FramePreferencesTest, WithoutScreensTheFrameIsTheRectangleAtTheOrigin)
{
    storeFrames("{{100, 100}, {800, 450}}");
    const FramePreferences frames = with(ScreenLayout{});
    EXPECT_EQ(frames.restoredFrame(), ScreenRect(0, 0, 800, 450));
    EXPECT_EQ(frames.restoredDetachedFrame(), std::nullopt);
    const FramePreferences noProvider(preferences, nullptr);
    EXPECT_EQ(noProvider.restoredFrame(), ScreenRect(0, 0, 800, 450));
}

TEST_F(FramePreferencesTest, BlurStrengthCapitalStrongReadsAsLight)
{
    const FramePreferences frames = with(singleScreen());
    preferences.setValue("BlurStrength", QStringLiteral("Strong"));
    EXPECT_EQ(frames.blurStrength(), BlurStrength::light);
    preferences.setValue("BlurStrength", QStringLiteral("strong"));
    EXPECT_EQ(frames.blurStrength(), BlurStrength::strong);
    preferences.setValue("BlurStrength", QStringLiteral("strong "));
    EXPECT_EQ(frames.blurStrength(), BlurStrength::light);
}

TEST_F(FramePreferencesTest, ModeIsDetachedOnlyForTheExactString)
{
    const FramePreferences frames = with(singleScreen());
    EXPECT_EQ(frames.mode(), ShareMode::overlay);
    preferences.setValue("ShareMode", QStringLiteral("detached"));
    EXPECT_EQ(frames.mode(), ShareMode::detached);
    preferences.setValue("ShareMode", QStringLiteral("Detached"));
    EXPECT_EQ(frames.mode(), ShareMode::overlay);
}

TEST_F(FramePreferencesTest, RatioIsStoredAsItsRawValueAndUnknownStringsReadAsFree)
{
    FramePreferences frames = with(singleScreen());
    EXPECT_EQ(frames.ratio(), FrameRatio::free);
    frames.setRatio(FrameRatio::mac);
    EXPECT_EQ(QSettings(filePath(), QSettings::NativeFormat).value("FrameRatio").toString(),
              QStringLiteral("mac"));
    EXPECT_EQ(frames.ratio(), FrameRatio::mac);
    preferences.setValue("FrameRatio", QStringLiteral("16:10"));
    EXPECT_EQ(frames.ratio(), FrameRatio::free);
}

TEST_F(FramePreferencesTest, UnparsableStoredFrameReadsAsZeroAndFallsBack)
{
    storeFrames("not a rectangle");
    const FramePreferences frames = with(singleScreen());
    EXPECT_EQ(frames.restoredFrame(), centredOnSingleScreen);
    EXPECT_EQ(frames.restoredDetachedFrame(), std::nullopt);
}
