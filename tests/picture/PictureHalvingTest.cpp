// The CPU halving that makes the first level of the blur's mip chain.
#include "picture/PictureHalving.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

using namespace lookpane;

namespace {

struct Picture
{
    int width;
    int height;
    int stride;
    std::vector<std::uint8_t> bytes;

    const std::uint8_t *pixel(int x, int y) const
    {
        return bytes.data() + static_cast<std::size_t>(y) * stride +
               static_cast<std::size_t>(x) * 4;
    }
};

Picture randomPicture(int width, int height, int padding, unsigned seed)
{
    Picture picture{width, height, width * 4 + padding, {}};
    picture.bytes.resize(static_cast<std::size_t>(picture.stride) * height);
    std::mt19937 random(seed);
    for (std::uint8_t &byte : picture.bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return picture;
}

// The definition, one channel at a time.
std::vector<std::uint8_t> reference(const Picture &source)
{
    const int width = std::max(1, source.width / 2);
    const int height = std::max(1, source.height / 2);
    std::vector<std::uint8_t> result(static_cast<std::size_t>(width) * height * 4);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int x1 = std::min(2 * x + 1, source.width - 1);
            const int y1 = std::min(2 * y + 1, source.height - 1);
            for (int channel = 0; channel < 4; ++channel) {
                const int sum = source.pixel(2 * x, 2 * y)[channel] +
                                source.pixel(x1, 2 * y)[channel] +
                                source.pixel(2 * x, y1)[channel] + source.pixel(x1, y1)[channel];
                result[(static_cast<std::size_t>(y) * width + x) * 4 + channel] =
                    static_cast<std::uint8_t>((sum + 2) / 4);
            }
        }
    }
    return result;
}

std::vector<std::uint8_t> halved(const Picture &source)
{
    const int width = std::max(1, source.width / 2);
    const int height = std::max(1, source.height / 2);
    std::vector<std::uint8_t> result(static_cast<std::size_t>(width) * height * 4, 0xAB);
    halvePicture(source.bytes.data(), source.width, source.height, source.stride, result.data(),
                 width * 4);
    return result;
}

} // namespace

TEST(PictureHalving, EachPixelIsTheRoundedMeanOfItsBlock)
{
    Picture picture{2, 2, 8, {0, 10, 255, 1, 1, 10, 255, 2, 2, 10, 255, 3, 2, 11, 254, 3}};
    const std::vector<std::uint8_t> result = halved(picture);
    // (0+1+2+2)/4 = 1.25 -> 1; 10.25 -> 10; 254.75 -> 255; (1+2+3+3)/4 = 2.25 -> 2.
    EXPECT_EQ(result, (std::vector<std::uint8_t>{1, 10, 255, 2}));
}

TEST(PictureHalving, MatchesTheDefinitionForEvenOddAndPaddedSizes)
{
    unsigned seed = 1;
    for (const auto &[width, height, padding] :
         {std::tuple{1920, 1080, 0}, std::tuple{641, 361, 12}, std::tuple{7, 5, 4},
          std::tuple{4, 2, 0}, std::tuple{3, 3, 8}}) {
        const Picture picture = randomPicture(width, height, padding, seed++);
        EXPECT_EQ(halved(picture), reference(picture)) << width << " x " << height;
    }
}

TEST(PictureHalving, AOnePixelWideOrTallPictureRepeatsItsOnlyColumnOrRow)
{
    const Picture column = randomPicture(1, 6, 0, 7);
    const std::vector<std::uint8_t> fromColumn = halved(column);
    ASSERT_EQ(fromColumn.size(), 3u * 4u);
    EXPECT_EQ(fromColumn, reference(column));
    const Picture row = randomPicture(9, 1, 0, 8);
    EXPECT_EQ(halved(row), reference(row));
    const Picture single = randomPicture(1, 1, 0, 9);
    EXPECT_EQ(halved(single), single.bytes);
}

TEST(PictureHalving, RepeatedHalvingIsEachStepInTurnAndZeroStepsCopyThePicture)
{
    const Picture source = randomPicture(37, 23, 12, 7);
    std::vector<std::uint32_t> result;
    std::vector<std::uint32_t> scratch;
    const auto bytesOf = [](const std::vector<std::uint32_t> &pixels) {
        const auto *begin = reinterpret_cast<const std::uint8_t *>(pixels.data());
        return std::vector<std::uint8_t>(begin, begin + pixels.size() * 4);
    };

    // No step: the rows as they are, without the source's padding.
    EXPECT_EQ(
        halvePictureRepeatedly(source.bytes.data(), 37, 23, source.stride, 0, result, scratch),
        QSize(37, 23));
    std::vector<std::uint8_t> rows;
    for (int y = 0; y < 23; ++y) {
        rows.insert(rows.end(), source.pixel(0, y), source.pixel(0, y) + 37 * 4);
    }
    EXPECT_EQ(bytesOf(result), rows);

    // Two and three steps: the single halving applied that often.
    Picture once{18, 11, 18 * 4, reference(source)};
    Picture twice{9, 5, 9 * 4, reference(once)};
    EXPECT_EQ(
        halvePictureRepeatedly(source.bytes.data(), 37, 23, source.stride, 2, result, scratch),
        QSize(9, 5));
    EXPECT_EQ(bytesOf(result), twice.bytes);
    EXPECT_EQ(
        halvePictureRepeatedly(source.bytes.data(), 37, 23, source.stride, 3, result, scratch),
        QSize(4, 2));
    EXPECT_EQ(bytesOf(result), reference(twice));
}
