#include "picture/PictureStretch.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace lookpane {

namespace {

// Where a result pixel's centre falls between two source pixels, along one axis.
struct Tap
{
    int first = 0;
    int second = 0;
    int weight = 0; // of `second`, out of `scale`
};

std::vector<Tap> tapsFor(int sourceLength, int resultLength, int scale)
{
    std::vector<Tap> taps(static_cast<std::size_t>(resultLength));
    const double step = double(sourceLength) / double(resultLength);
    for (int i = 0; i < resultLength; ++i) {
        const double position = (i + 0.5) * step - 0.5;
        Tap &tap = taps[static_cast<std::size_t>(i)];
        if (position <= 0.0) {
            tap = {0, 0, 0};
            continue;
        }
        const int first = static_cast<int>(std::floor(position));
        if (first >= sourceLength - 1) {
            tap = {sourceLength - 1, sourceLength - 1, 0};
            continue;
        }
        const int weight = static_cast<int>(std::lround((position - first) * scale));
        tap = {first, first + 1, weight};
    }
    return taps;
}

// One source row stretched across to the result's width.
void stretchRow(const std::uint32_t *source, const std::vector<Tap> &columns, std::uint32_t *result)
{
    const std::size_t count = columns.size();
    std::size_t x = 0;
#if defined(__SSE2__)
    // Four result pixels at a time: their eight source pixels gathered, then interpolated in
    // 16-bit lanes with each pixel's own weight.
    const __m128i zero = _mm_setzero_si128();
    const __m128i full = _mm_set1_epi16(256);
    const __m128i half = _mm_set1_epi16(128);
    // a·(256 − w) + b·w + 128 fits 16 unsigned bits: at most 255·256 + 128.
    const auto blend = [&](__m128i ca, __m128i cb, __m128i w) {
        const __m128i sum =
            _mm_add_epi16(_mm_mullo_epi16(ca, _mm_sub_epi16(full, w)), _mm_mullo_epi16(cb, w));
        return _mm_srli_epi16(_mm_add_epi16(sum, half), 8);
    };
    const auto weights = [](int first, int second) {
        const auto a = static_cast<short>(first);
        const auto b = static_cast<short>(second);
        return _mm_set_epi16(b, b, b, b, a, a, a, a);
    };
    for (; x + 4 <= count; x += 4) {
        const Tap *t = columns.data() + x;
        const __m128i a = _mm_set_epi32(
            static_cast<int>(source[t[3].first]), static_cast<int>(source[t[2].first]),
            static_cast<int>(source[t[1].first]), static_cast<int>(source[t[0].first]));
        const __m128i b = _mm_set_epi32(
            static_cast<int>(source[t[3].second]), static_cast<int>(source[t[2].second]),
            static_cast<int>(source[t[1].second]), static_cast<int>(source[t[0].second]));
        const __m128i low = blend(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero),
                                  weights(t[0].weight, t[1].weight));
        const __m128i high = blend(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero),
                                   weights(t[2].weight, t[3].weight));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(result + x), _mm_packus_epi16(low, high));
    }
#endif
    for (; x < count; ++x) {
        const Tap &tap = columns[x];
        const std::uint32_t a = source[tap.first];
        const std::uint32_t b = source[tap.second];
        const std::uint32_t wb = static_cast<std::uint32_t>(tap.weight);
        const std::uint32_t wa = 256 - wb;
        // Two channels at a time, each in 16 bits of a 32-bit word.
        const std::uint32_t blueRed =
            (((a & 0x00FF00FFu) * wa + (b & 0x00FF00FFu) * wb + 0x00800080u) >> 8) & 0x00FF00FFu;
        const std::uint32_t greenAlpha =
            ((((a >> 8) & 0x00FF00FFu) * wa + ((b >> 8) & 0x00FF00FFu) * wb + 0x00800080u) >> 8) &
            0x00FF00FFu;
        result[x] = blueRed | (greenAlpha << 8);
    }
}

} // namespace

void blendPictureRows(const std::uint32_t *upper, const std::uint32_t *lower, int weight,
                      std::uint32_t *result, int width)
{
    int x = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i wb = _mm_set1_epi16(static_cast<short>(weight));
    const __m128i wa = _mm_set1_epi16(static_cast<short>(128 - weight));
    const __m128i half = _mm_set1_epi16(64);
    for (; x + 4 <= width; x += 4) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(upper + x));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(lower + x));
        // a·(128 − w) + b·w stays below 2^15 in every 16-bit lane.
        const __m128i low = _mm_srli_epi16(
            _mm_add_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(a, zero), wa),
                                        _mm_mullo_epi16(_mm_unpacklo_epi8(b, zero), wb)),
                          half),
            7);
        const __m128i high = _mm_srli_epi16(
            _mm_add_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(a, zero), wa),
                                        _mm_mullo_epi16(_mm_unpackhi_epi8(b, zero), wb)),
                          half),
            7);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(result + x), _mm_packus_epi16(low, high));
    }
#endif
    for (; x < width; ++x) {
        const std::uint32_t a = upper[x];
        const std::uint32_t b = lower[x];
        std::uint32_t out = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            const int ca = static_cast<int>((a >> shift) & 0xFF);
            const int cb = static_cast<int>((b >> shift) & 0xFF);
            out |= static_cast<std::uint32_t>((ca * (128 - weight) + cb * weight + 64) >> 7)
                   << shift;
        }
        result[x] = out;
    }
}

void stretchPicture(const std::uint8_t *source, int width, int height, int sourceStride,
                    std::uint8_t *result, int resultWidth, int resultHeight, int resultStride)
{
    if (width <= 0 || height <= 0 || resultWidth <= 0 || resultHeight <= 0) {
        return;
    }
    const std::vector<Tap> columns = tapsFor(width, resultWidth, 256);
    const std::vector<Tap> rows = tapsFor(height, resultHeight, 128);
    const auto sourceRow = [&](int y) {
        return reinterpret_cast<const std::uint32_t *>(source + std::ptrdiff_t(y) * sourceStride);
    };
    // The two source rows last stretched across, reused while the result stays between them.
    std::vector<std::uint32_t> stretched[2] = {
        std::vector<std::uint32_t>(static_cast<std::size_t>(resultWidth)),
        std::vector<std::uint32_t>(static_cast<std::size_t>(resultWidth))};
    int stretchedRow[2] = {-1, -1};
    const auto across = [&](int y) -> const std::uint32_t * {
        for (int slot = 0; slot < 2; ++slot) {
            if (stretchedRow[slot] == y) {
                return stretched[slot].data();
            }
        }
        // Replace the slot holding the row further up: the result goes down.
        const int slot = stretchedRow[0] < stretchedRow[1] ? 0 : 1;
        stretchRow(sourceRow(y), columns, stretched[slot].data());
        stretchedRow[slot] = y;
        return stretched[slot].data();
    };
    for (int y = 0; y < resultHeight; ++y) {
        const Tap &tap = rows[static_cast<std::size_t>(y)];
        auto *out = reinterpret_cast<std::uint32_t *>(result + std::ptrdiff_t(y) * resultStride);
        const std::uint32_t *upper = across(tap.first);
        if (tap.weight == 0 || tap.first == tap.second) {
            std::memcpy(out, upper, std::size_t(resultWidth) * 4);
            continue;
        }
        // The result goes down, so fetching the lower row never evicts the upper one.
        const std::uint32_t *lower = across(tap.second);
        blendPictureRows(upper, lower, tap.weight, out, resultWidth);
    }
}

} // namespace lookpane
