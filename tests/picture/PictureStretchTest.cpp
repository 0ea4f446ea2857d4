// The CPU stretch that lays the reduced blur over a raster window, as GL_LINEAR magnifies.
#include "picture/PictureStretch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

using namespace lookpane;

namespace {

std::vector<std::uint32_t> randomPixels(int count, unsigned seed)
{
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(count));
    std::mt19937 random(seed);
    for (std::uint32_t &pixel : pixels) {
        pixel = static_cast<std::uint32_t>(random());
    }
    return pixels;
}

// GL_LINEAR with clamp-to-edge, in floating point: the definition.
double linearSample(const std::vector<std::uint32_t> &pixels, int width, int height, double u,
                    double v, int channel)
{
    const double x = u * width - 0.5;
    const double y = v * height - 0.5;
    const int x0 = static_cast<int>(std::floor(x));
    const int y0 = static_cast<int>(std::floor(y));
    const double fx = x - x0;
    const double fy = y - y0;
    const auto at = [&](int px, int py) {
        px = std::clamp(px, 0, width - 1);
        py = std::clamp(py, 0, height - 1);
        return double(
            (pixels[std::size_t(py) * std::size_t(width) + std::size_t(px)] >> (8 * channel)) &
            0xFF);
    };
    return (at(x0, y0) * (1 - fx) + at(x0 + 1, y0) * fx) * (1 - fy) +
           (at(x0, y0 + 1) * (1 - fx) + at(x0 + 1, y0 + 1) * fx) * fy;
}

// The largest difference of any channel from the definition.
int largestError(int width, int height, int resultWidth, int resultHeight, unsigned seed)
{
    const std::vector<std::uint32_t> source = randomPixels(width * height, seed);
    std::vector<std::uint32_t> result(std::size_t(resultWidth) * std::size_t(resultHeight));
    stretchPicture(reinterpret_cast<const std::uint8_t *>(source.data()), width, height, width * 4,
                   reinterpret_cast<std::uint8_t *>(result.data()), resultWidth, resultHeight,
                   resultWidth * 4);
    int largest = 0;
    for (int y = 0; y < resultHeight; ++y) {
        for (int x = 0; x < resultWidth; ++x) {
            const std::uint32_t pixel =
                result[std::size_t(y) * std::size_t(resultWidth) + std::size_t(x)];
            for (int channel = 0; channel < 4; ++channel) {
                const double expected = linearSample(source, width, height, (x + 0.5) / resultWidth,
                                                     (y + 0.5) / resultHeight, channel);
                const int got = int((pixel >> (8 * channel)) & 0xFF);
                largest = std::max(largest, int(std::ceil(std::abs(got - expected) - 1e-9)));
            }
        }
    }
    return largest;
}

} // namespace

TEST(PictureStretch, MagnifiesAsLinearFilteringDoesWithinTwoLevels)
{
    EXPECT_LE(largestError(7, 5, 31, 17, 1), 2);
    EXPECT_LE(largestError(120, 68, 480, 270, 2), 2);
    EXPECT_LE(largestError(3, 2, 1920, 9, 3), 2);
}

TEST(PictureStretch, TheSameSizeIsAnExactCopyAndEdgesAreClamped)
{
    const std::vector<std::uint32_t> source = randomPixels(13 * 7, 4);
    std::vector<std::uint32_t> result(13 * 7);
    stretchPicture(reinterpret_cast<const std::uint8_t *>(source.data()), 13, 7, 13 * 4,
                   reinterpret_cast<std::uint8_t *>(result.data()), 13, 7, 13 * 4);
    EXPECT_EQ(result, source);

    // One source pixel fills any result; two across give their colours at the edges.
    const std::vector<std::uint32_t> single{0xFF336699u};
    std::vector<std::uint32_t> filled(40 * 3);
    stretchPicture(reinterpret_cast<const std::uint8_t *>(single.data()), 1, 1, 4,
                   reinterpret_cast<std::uint8_t *>(filled.data()), 40, 3, 40 * 4);
    EXPECT_TRUE(std::all_of(filled.begin(), filled.end(),
                            [](std::uint32_t pixel) { return pixel == 0xFF336699u; }));
    const std::vector<std::uint32_t> pair{0xFF000000u, 0xFFFFFFFFu};
    std::vector<std::uint32_t> row(8);
    stretchPicture(reinterpret_cast<const std::uint8_t *>(pair.data()), 2, 1, 8,
                   reinterpret_cast<std::uint8_t *>(row.data()), 8, 1, 32);
    EXPECT_EQ(row.front(), 0xFF000000u);
    EXPECT_EQ(row.back(), 0xFFFFFFFFu);
    EXPECT_TRUE(std::is_sorted(row.begin(), row.end()));
}

TEST(PictureStretch, BlendingRowsGoesFromTheFirstToTheSecondRounded)
{
    const std::vector<std::uint32_t> first = randomPixels(37, 5);
    const std::vector<std::uint32_t> second = randomPixels(37, 6);
    std::vector<std::uint32_t> result(37);
    blendPictureRows(first.data(), second.data(), 0, result.data(), 37);
    EXPECT_EQ(result, first);
    blendPictureRows(first.data(), second.data(), 128, result.data(), 37);
    EXPECT_EQ(result, second);
    blendPictureRows(first.data(), second.data(), 32, result.data(), 37);
    for (std::size_t i = 0; i < result.size(); ++i) {
        for (int channel = 0; channel < 4; ++channel) {
            const double a = double((first[i] >> (8 * channel)) & 0xFF);
            const double b = double((second[i] >> (8 * channel)) & 0xFF);
            const double got = double((result[i] >> (8 * channel)) & 0xFF);
            EXPECT_LE(std::abs(got - (a * 0.75 + b * 0.25)), 0.5) << i << " " << channel;
        }
    }
}
