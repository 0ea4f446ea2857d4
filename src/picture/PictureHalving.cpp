#include "picture/PictureHalving.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace lookpane {

namespace {

void halvePixel(const std::uint8_t *top0, const std::uint8_t *top1, const std::uint8_t *bottom0,
                const std::uint8_t *bottom1, std::uint8_t *out)
{
    for (int channel = 0; channel < 4; ++channel) {
        const int sum = top0[channel] + top1[channel] + bottom0[channel] + bottom1[channel];
        out[channel] = static_cast<std::uint8_t>((sum + 2) >> 2);
    }
}

#if defined(__SSE2__)
// Two result pixels from four source pixels of each of two rows.
int halveRowSse2(const std::uint8_t *top, const std::uint8_t *bottom, std::uint8_t *out,
                 int resultWidth)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i two = _mm_set1_epi16(2);
    int x = 0;
    for (; x + 2 <= resultWidth; x += 2) {
        __m128i upper;
        __m128i lower;
        std::memcpy(&upper, top + x * 8, sizeof upper);
        std::memcpy(&lower, bottom + x * 8, sizeof lower);
        // Columns summed in 16 bits: pixels 0 and 1, then 2 and 3.
        const __m128i first =
            _mm_add_epi16(_mm_unpacklo_epi8(upper, zero), _mm_unpacklo_epi8(lower, zero));
        const __m128i second =
            _mm_add_epi16(_mm_unpackhi_epi8(upper, zero), _mm_unpackhi_epi8(lower, zero));
        // Pixel 0 beside pixel 2, pixel 1 beside pixel 3: their sum is both blocks.
        __m128i sum =
            _mm_add_epi16(_mm_unpacklo_epi64(first, second), _mm_unpackhi_epi64(first, second));
        sum = _mm_srli_epi16(_mm_add_epi16(sum, two), 2);
        const __m128i packed = _mm_packus_epi16(sum, sum);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out + x * 4), packed);
    }
    return x;
}
#endif

} // namespace

void halvePicture(const std::uint8_t *source, int width, int height, int sourceStride,
                  std::uint8_t *result, int resultStride)
{
    const int resultWidth = std::max(1, width / 2);
    const int resultHeight = std::max(1, height / 2);
    for (int y = 0; y < resultHeight; ++y) {
        const std::uint8_t *top = source + static_cast<std::ptrdiff_t>(2 * y) * sourceStride;
        const std::uint8_t *bottom =
            source + static_cast<std::ptrdiff_t>(std::min(2 * y + 1, height - 1)) * sourceStride;
        std::uint8_t *out = result + static_cast<std::ptrdiff_t>(y) * resultStride;
        int x = 0;
#if defined(__SSE2__)
        if (width >= 2) {
            x = halveRowSse2(top, bottom, out, resultWidth);
        }
#endif
        for (; x < resultWidth; ++x) {
            const int left = 2 * x;
            const int right = std::min(2 * x + 1, width - 1);
            halvePixel(top + left * 4, top + right * 4, bottom + left * 4, bottom + right * 4,
                       out + x * 4);
        }
    }
}

QSize halvePictureRepeatedly(const std::uint8_t *source, int width, int height, int sourceStride,
                             int times, std::vector<std::uint32_t> &result,
                             std::vector<std::uint32_t> &scratch)
{
    if (times <= 0) {
        result.resize(std::size_t(width) * std::size_t(height));
        for (int y = 0; y < height; ++y) {
            std::memcpy(result.data() + std::size_t(y) * std::size_t(width),
                        source + std::ptrdiff_t(y) * sourceStride, std::size_t(width) * 4);
        }
        return QSize(width, height);
    }
    for (int step = 0; step < times; ++step) {
        // The steps alternate between the two buffers so that the last lands in `result`.
        std::vector<std::uint32_t> &into = (times - 1 - step) % 2 == 0 ? result : scratch;
        const int halfWidth = std::max(1, width / 2);
        const int halfHeight = std::max(1, height / 2);
        into.resize(std::size_t(halfWidth) * std::size_t(halfHeight));
        halvePicture(source, width, height, sourceStride,
                     reinterpret_cast<std::uint8_t *>(into.data()), halfWidth * 4);
        source = reinterpret_cast<const std::uint8_t *>(into.data());
        width = halfWidth;
        height = halfHeight;
        sourceStride = halfWidth * 4;
    }
    return QSize(width, height);
}

} // namespace lookpane
