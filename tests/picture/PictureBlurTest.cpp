// The privacy blur on the CPU, for views shown through the raster backing store.
#include "picture/PictureBlur.h"
#include "picture/BlurParameters.h"

#include <gtest/gtest.h>

#include <QImage>

#include <cmath>

using namespace lookpane;

namespace {

CapturedFrame solidFrame(QSize size, QRgb colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return CapturedFrame::fromImage(image);
}

// Fine one-pixel stripes: all detail, one mean.
CapturedFrame stripedFrame(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            image.setPixel(x, y, (x + y) % 2 ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
        }
    }
    return CapturedFrame::fromImage(image);
}

} // namespace

TEST(PictureBlur, SamplesTheLevelTheRendererSamplesAtItsReducedSize)
{
    PictureBlur blur;
    DrawResult result;
    for (const double points : {16.0, 60.0}) {
        const std::optional<QImage> blurred =
            blur.blur(solidFrame({1920, 1080}, qRgb(1, 2, 3)), points, 1.0, 0, result);
        ASSERT_TRUE(blurred.has_value());
        const BlurSampling expected = blurSampling(points, 1.0, 1920, mipLevelCount(1920, 1080));
        EXPECT_EQ(result.state, BlurState::blur);
        EXPECT_TRUE(result.drewPicture);
        EXPECT_EQ(result.effects.y(), expected.level);
        EXPECT_EQ(result.effects.z(), expected.spacing);
        // One texel per quarter of a block, at most eight pixels.
        const int factor = points == 16.0 ? 4 : 8;
        EXPECT_EQ(result.reducedSize, QSize(1920 / factor, (1080 + factor - 1) / factor));
        EXPECT_EQ(blurred->size(), result.reducedSize);
    }
}

TEST(PictureBlur, AUniformPictureStaysItsColourAndEveryPixelIsOpaque)
{
    PictureBlur blur;
    DrawResult result;
    for (const double points : {16.0, 60.0}) {
        const std::optional<QImage> blurred =
            blur.blur(solidFrame({640, 360}, qRgb(200, 40, 90)), points, 1.0, 0, result);
        ASSERT_TRUE(blurred.has_value());
        for (int y = 0; y < blurred->height(); ++y) {
            for (int x = 0; x < blurred->width(); ++x) {
                ASSERT_EQ(blurred->pixel(x, y), qRgba(200, 40, 90, 255)) << x << "," << y;
            }
        }
    }
}

TEST(PictureBlur, FineDetailBecomesItsMean)
{
    PictureBlur blur;
    DrawResult result;
    const std::optional<QImage> blurred = blur.blur(stripedFrame({640, 360}), 16.0, 1.0, 0, result);
    ASSERT_TRUE(blurred.has_value());
    for (int y = 0; y < blurred->height(); ++y) {
        for (int x = 0; x < blurred->width(); ++x) {
            EXPECT_NEAR(qGreen(blurred->pixel(x, y)), 128, 2) << x << "," << y;
        }
    }
}

TEST(PictureBlur, APictureBeyondTheLargestChainIsNotBlurredButFailsSafe)
{
    PictureBlur blur;
    DrawResult result;
    EXPECT_FALSE(blur.blur(stripedFrame({640, 360}), 16.0, 1.0, 639, result).has_value());
    EXPECT_TRUE(result.drewPicture);
    EXPECT_EQ(result.state, BlurState::failSafe);
    EXPECT_FLOAT_EQ(result.effects.x(), 2.0f);
    // The same picture within the limit blurs.
    EXPECT_TRUE(blur.blur(stripedFrame({640, 360}), 16.0, 1.0, 640, result).has_value());
    EXPECT_EQ(result.state, BlurState::blur);
    // No picture: nothing drawn.
    EXPECT_FALSE(blur.blur(CapturedFrame(), 16.0, 1.0, 0, result).has_value());
    EXPECT_FALSE(result.drewPicture);
}
