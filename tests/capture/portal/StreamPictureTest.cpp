#include "capture/portal/StreamPicture.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace lookpane::portal {
namespace {

// A picture whose pixel (x, y) holds red x, green y and blue 7 in the given layout, with a
// fourth byte of 0x20 that is no alpha.
std::vector<std::uint8_t> makePixels(int width, int height, PixelLayout layout, int padding = 0)
{
    const int stride = width * 4 + padding;
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(stride * height), 0xee);
    const bool redFirst = layout == PixelLayout::rgbx || layout == PixelLayout::rgba;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t *pixel = pixels.data() + y * stride + x * 4;
            pixel[0] = static_cast<std::uint8_t>(redFirst ? x : 7);
            pixel[1] = static_cast<std::uint8_t>(y);
            pixel[2] = static_cast<std::uint8_t>(redFirst ? 7 : x);
            pixel[3] = 0x20;
        }
    }
    return pixels;
}

StreamPicture pictureOf(const std::vector<std::uint8_t> &pixels, int width, int height,
                        PixelLayout layout, int padding = 0)
{
    return StreamPicture{pixels.data(), width, height, width * 4 + padding, layout};
}

// Blue, green, red, alpha of a frame's pixel.
std::array<int, 4> bgra(const CapturedFrame &frame, int x, int y)
{
    const std::uint8_t *pixel = frame.pixels() + y * frame.bytesPerRow() + x * 4;
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

TEST(StreamPicture, CropOfABgrxPictureCopiesTheRegionOpaque)
{
    const auto pixels = makePixels(64, 48, PixelLayout::bgrx, 12);
    const CapturedFrame frame = cropPicture(pictureOf(pixels, 64, 48, PixelLayout::bgrx, 12),
                                            QRect(10, 5, 20, 30), QSize(20, 30), 1234);
    ASSERT_EQ(frame.width(), 20);
    ASSERT_EQ(frame.height(), 30);
    EXPECT_EQ(frame.timestampNs(), 1234);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 20; ++x) {
            ASSERT_EQ(bgra(frame, x, y), (std::array<int, 4>{7, 5 + y, 10 + x, 255}))
                << "at " << x << "," << y;
        }
    }
}

TEST(StreamPicture, CropOfAnRgbxPictureSwapsRedAndBlue)
{
    const auto pixels = makePixels(64, 48, PixelLayout::rgbx);
    const CapturedFrame frame =
        cropPicture(pictureOf(pixels, 64, 48, PixelLayout::rgbx), QRect(3, 4, 5, 6), QSize(5, 6));
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 5; ++x) {
            ASSERT_EQ(bgra(frame, x, y), (std::array<int, 4>{7, 4 + y, 3 + x, 255}));
        }
    }
}

TEST(StreamPicture, PartsOutsideThePictureAreBlack)
{
    const auto pixels = makePixels(16, 16, PixelLayout::bgra);
    const CapturedFrame frame =
        cropPicture(pictureOf(pixels, 16, 16, PixelLayout::bgra), QRect(-2, 12, 4, 8), QSize(4, 8));
    EXPECT_EQ(bgra(frame, 0, 0), (std::array<int, 4>{0, 0, 0, 255}));
    EXPECT_EQ(bgra(frame, 2, 0), (std::array<int, 4>{7, 12, 0, 255}));
    EXPECT_EQ(bgra(frame, 3, 3), (std::array<int, 4>{7, 15, 1, 255}));
    EXPECT_EQ(bgra(frame, 3, 4), (std::array<int, 4>{0, 0, 0, 255}));
}

TEST(StreamPicture, AFrameOfAnotherSizeSamplesTheNearestPixels)
{
    const auto pixels = makePixels(32, 32, PixelLayout::rgba);
    // Twice the pixels: a monitor scaled by two sends a region at twice its logical size.
    const CapturedFrame frame =
        cropPicture(pictureOf(pixels, 32, 32, PixelLayout::rgba), QRect(8, 8, 8, 8), QSize(4, 4));
    EXPECT_EQ(bgra(frame, 0, 0), (std::array<int, 4>{7, 8, 8, 255}));
    EXPECT_EQ(bgra(frame, 3, 2), (std::array<int, 4>{7, 12, 14, 255}));
}

TEST(StreamPicture, TheStreamsPositionMapsRootPixelsOntoIt)
{
    StreamPlacement placement;
    placement.position = QPoint(1920, -200);
    placement.size = QSize(1280, 1024);
    EXPECT_EQ(streamPixelsFor(QRect(2000, 0, 300, 100), placement, QSize(1280, 1024)),
              QRect(80, 200, 300, 100));
    // The same monitor at scale 2 sends twice the pixels.
    EXPECT_EQ(streamPixelsFor(QRect(2000, 0, 300, 100), placement, QSize(2560, 2048)),
              QRect(160, 400, 600, 200));
}

TEST(StreamPicture, AStreamWithoutPlacementLiesAtTheOrigin)
{
    EXPECT_EQ(streamPixelsFor(QRect(10, 20, 30, 40), StreamPlacement{}, QSize(800, 600)),
              QRect(10, 20, 30, 40));
}

TEST(StreamPicture, SamePictureComparesSizeAndEveryPixel)
{
    const auto pixels = makePixels(16, 16, PixelLayout::bgrx);
    const StreamPicture picture = pictureOf(pixels, 16, 16, PixelLayout::bgrx);
    const CapturedFrame a = cropPicture(picture, QRect(0, 0, 8, 8), QSize(8, 8));
    EXPECT_TRUE(samePicture(a, cropPicture(picture, QRect(0, 0, 8, 8), QSize(8, 8))));
    EXPECT_FALSE(samePicture(a, cropPicture(picture, QRect(1, 0, 8, 8), QSize(8, 8))));
    EXPECT_FALSE(samePicture(a, cropPicture(picture, QRect(0, 0, 8, 7), QSize(8, 7))));
    EXPECT_FALSE(samePicture(a, CapturedFrame()));
}

} // namespace
} // namespace lookpane::portal
