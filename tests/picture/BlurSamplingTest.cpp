// Where the privacy blur reads the mip chain: level and tap spacing from block size and scale.
#include "picture/BlurParameters.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {
constexpr int fullHdLevels = 11; // 1920 × 1080 down to 1 × 1
}

TEST(RenderBlurSampling, StrengthsMapToBlockSizes)
{
    EXPECT_EQ(blurBlockPoints(BlurStrength::light), 16.0);
    EXPECT_EQ(blurBlockPoints(BlurStrength::strong), 60.0);
}

TEST(RenderBlurSampling, MipLevelCountCoversTheChainDownToOnePixel)
{
    EXPECT_EQ(mipLevelCount(1920, 1080), fullHdLevels);
    EXPECT_EQ(mipLevelCount(100, 56), 7);
    EXPECT_EQ(mipLevelCount(1, 1), 1);
    EXPECT_EQ(mipLevelCount(0, 0), 1);
}

TEST(RenderBlurSampling, LightAtScaleTwoReadsLevelFiveWithOneTexelSpacing)
{
    const BlurSampling s = blurSampling(16.0, 2.0, 1920, fullHdLevels);
    EXPECT_FLOAT_EQ(s.level, 5.0f);
    EXPECT_FLOAT_EQ(s.spacing, 32.0f / 1920.0f);
}

TEST(RenderBlurSampling, StrongAtScaleTwoReadsLevelSixPointNineOhSeven)
{
    const BlurSampling s = blurSampling(60.0, 2.0, 1920, fullHdLevels);
    EXPECT_NEAR(s.level, 6.907f, 0.001f);
    EXPECT_NEAR(s.spacing, 120.0f / 1920.0f, 1e-6f);
}

TEST(RenderBlurSampling, ScaleOneReadsOneLevelLess)
{
    EXPECT_FLOAT_EQ(blurSampling(16.0, 1.0, 1920, fullHdLevels).level, 4.0f);
    EXPECT_NEAR(blurSampling(60.0, 1.0, 1920, fullHdLevels).level, 5.907f, 0.001f);
}

TEST(RenderBlurSampling, BlockOfTwoPixelsOrLessGivesLevelOne)
{
    EXPECT_FLOAT_EQ(blurSampling(1.0, 2.0, 1920, fullHdLevels).level, 1.0f);
    EXPECT_FLOAT_EQ(blurSampling(2.0, 1.0, 1920, fullHdLevels).level, 1.0f);
    EXPECT_FLOAT_EQ(blurSampling(0.5, 1.0, 1920, fullHdLevels).level, 1.0f);
    EXPECT_FLOAT_EQ(blurSampling(1.0, 2.0, 1920, fullHdLevels).spacing, 2.0f / 1920.0f);
    // Just above two pixels the logarithm takes over.
    EXPECT_GT(blurSampling(2.1, 1.0, 1920, fullHdLevels).level, 1.0f);
}

TEST(RenderBlurSampling, SmallPictureClampsStrongBlurToItsLastLevel)
{
    // 100 × 56 has 7 levels (N − 1 = 6): strong at scale 2 asks for 6.907 and gets 6.
    const BlurSampling s = blurSampling(60.0, 2.0, 100, mipLevelCount(100, 56));
    EXPECT_FLOAT_EQ(s.level, 6.0f);
    EXPECT_FLOAT_EQ(s.spacing, 64.0f / 100.0f);
}

TEST(RenderBlurSampling, TextureWithoutChainReadsLevelZero)
{
    const BlurSampling s = blurSampling(16.0, 2.0, 640, 1);
    EXPECT_FLOAT_EQ(s.level, 0.0f);
    EXPECT_FLOAT_EQ(s.spacing, 1.0f / 640.0f);
}

TEST(RenderBlurSampling, SpacingIsMeasuredOnTheWidthOnly)
{
    // A tall picture: the step is still one texel of the width.
    const BlurSampling s = blurSampling(16.0, 2.0, 200, mipLevelCount(200, 2000));
    EXPECT_FLOAT_EQ(s.spacing, 32.0f / 200.0f);
}

TEST(RenderBlurSampling, ZeroWidthDoesNotDivideByZero)
{
    const BlurSampling s = blurSampling(16.0, 2.0, 0, 1);
    EXPECT_FLOAT_EQ(s.spacing, 1.0f);
}
