#include "picture/PictureBlur.h"

#include "picture/BlurParameters.h"
#include "picture/PictureHalving.h"
#include "picture/PictureStretch.h"

#include <algorithm>
#include <array>
#include <cmath>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace lookpane {

namespace {

// A linear sample at normalised coordinate `coordinate` of an axis `length` texels long,
// clamped to the edge: the two texels and the second one's weight out of 64. (Three samples
// of 8-bit channels at that precision add up within 16 bits.)
struct Sample
{
    int first = 0;
    int second = 0;
    std::uint32_t weight = 0;
};

Sample sampleAt(float coordinate, int length)
{
    const float position = std::clamp(coordinate, 0.0f, 1.0f) * float(length) - 0.5f;
    const float floor = std::floor(position);
    const int first = static_cast<int>(floor);
    const auto weight = static_cast<std::uint32_t>(std::lround((position - floor) * 64.0f));
    return {std::clamp(first, 0, length - 1), std::clamp(first + 1, 0, length - 1), weight};
}

std::uint32_t channel(std::uint32_t pixel, int index)
{
    return (pixel >> (8 * index)) & 0xFFu;
}

// The three samples of one output position along an axis.
using Taps = std::array<Sample, 3>;

Taps tapsAt(float centre, float tapStep, int length)
{
    return {sampleAt(centre - tapStep, length), sampleAt(centre, length),
            sampleAt(centre + tapStep, length)};
}

} // namespace

void PictureBlur::blurRows(const Level &level, int reducedWidth, float tapStep, Level &rows)
{
    rows.width = reducedWidth;
    rows.height = level.height;
    rows.pixels.resize(std::size_t(reducedWidth) * std::size_t(level.height));
    std::vector<Taps> columns(static_cast<std::size_t>(reducedWidth));
    for (int x = 0; x < reducedWidth; ++x) {
        columns[std::size_t(x)] =
            tapsAt((float(x) + 0.5f) / float(reducedWidth), tapStep, level.width);
    }
    for (int y = 0; y < level.height; ++y) {
        const std::uint32_t *in = level.pixels.data() + std::size_t(y) * std::size_t(level.width);
        std::uint32_t *out = rows.pixels.data() + std::size_t(y) * std::size_t(reducedWidth);
        for (int x = 0; x < reducedWidth; ++x) {
            const Taps &taps = columns[std::size_t(x)];
            std::uint32_t result = 0xFF000000u;
            for (int c = 0; c < 3; ++c) {
                std::uint32_t sum = 0;
                for (const Sample &tap : taps) {
                    sum += channel(in[tap.first], c) * (64 - tap.weight) +
                           channel(in[tap.second], c) * tap.weight;
                }
                result |= ((sum + 96) / 192) << (8 * c);
            }
            out[x] = result;
        }
    }
}

namespace {

// One result row down the columns: three linear samples between rows of `rows` (each `width`
// pixels), at the row positions of `taps`.
void blurColumns(const std::uint32_t *rows, const Taps &taps, std::uint8_t *out, int width)
{
    // The weights are the same along the whole row, so the row is summed 16 bytes at a time.
    const auto row = [&](int y) {
        return reinterpret_cast<const std::uint8_t *>(rows + std::size_t(y) * std::size_t(width));
    };
    const std::uint8_t *a[3] = {row(taps[0].first), row(taps[1].first), row(taps[2].first)};
    const std::uint8_t *b[3] = {row(taps[0].second), row(taps[1].second), row(taps[2].second)};
    const int bytes = width * 4;
    int i = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    __m128i wa[3];
    __m128i wb[3];
    for (int t = 0; t < 3; ++t) {
        wa[t] = _mm_set1_epi16(static_cast<short>(64 - taps[std::size_t(t)].weight));
        wb[t] = _mm_set1_epi16(static_cast<short>(taps[std::size_t(t)].weight));
    }
    const __m128i roundHalf = _mm_set1_epi16(96);
    // sum / 192 as (sum · 683) >> 17, exact to within a level over 0 ... 48960.
    const __m128i third = _mm_set1_epi16(683);
    const auto average = [&](__m128i sum) {
        return _mm_srli_epi16(_mm_mulhi_epu16(_mm_add_epi16(sum, roundHalf), third), 1);
    };
    for (; i + 16 <= bytes; i += 16) {
        __m128i low = zero;
        __m128i high = zero;
        for (int t = 0; t < 3; ++t) {
            const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i *>(a[t] + i));
            const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i *>(b[t] + i));
            low = _mm_add_epi16(low,
                                _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(va, zero), wa[t]),
                                              _mm_mullo_epi16(_mm_unpacklo_epi8(vb, zero), wb[t])));
            high = _mm_add_epi16(
                high, _mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(va, zero), wa[t]),
                                    _mm_mullo_epi16(_mm_unpackhi_epi8(vb, zero), wb[t])));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i),
                         _mm_packus_epi16(average(low), average(high)));
    }
#endif
    for (; i < bytes; ++i) {
        std::uint32_t sum = 0;
        for (std::size_t t = 0; t < 3; ++t) {
            sum += a[t][i] * (64 - taps[t].weight) + b[t][i] * taps[t].weight;
        }
        out[i] = static_cast<std::uint8_t>(((sum + 96) * 683) >> 17);
    }
}

} // namespace

std::optional<QImage> PictureBlur::blur(const CapturedFrame &frame, double blockPoints,
                                        double captureScale, int maximumSide, DrawResult &result)
{
    result = DrawResult{};
    if (frame.isNull()) {
        return std::nullopt;
    }
    result.drewPicture = true;
    const int levels = mipLevelCount(frame.width(), frame.height());
    if (maximumSide > 0 && std::max(frame.width(), frame.height()) > maximumSide) {
        const BlurSampling failSafe = blurSampling(blockPoints, captureScale, frame.width(), 1);
        result.state = BlurState::failSafe;
        result.effects = QVector4D(2.0f, failSafe.level, failSafe.spacing, 0.0f);
        return std::nullopt;
    }
    const BlurSampling sampling = blurSampling(blockPoints, captureScale, frame.width(), levels);
    result.state = BlurState::blur;
    result.effects = QVector4D(1.0f, sampling.level, sampling.spacing, 0.0f);

    const int lower = std::clamp(static_cast<int>(std::floor(sampling.level)), 0, levels - 1);
    const int upper = std::min(lower + 1, levels - 1);
    const float between = sampling.level - std::floor(sampling.level);
    const bool twoLevels = between > 0.0f && lower != upper;
    const int factor = blurReduction(sampling.level);
    const QSize reduced((frame.width() + factor - 1) / factor,
                        (frame.height() + factor - 1) / factor);
    result.reducedSize = reduced;

    const auto halveInto = [this](Level &level, const std::uint8_t *source, int width, int height,
                                  int stride, int times) {
        const QSize size =
            halvePictureRepeatedly(source, width, height, stride, times, level.pixels, m_scratch);
        level.width = size.width();
        level.height = size.height();
    };
    halveInto(m_levels[0], frame.pixels(), frame.width(), frame.height(), frame.bytesPerRow(),
              lower);
    if (twoLevels) {
        const Level &below = m_levels[0];
        halveInto(m_levels[1], reinterpret_cast<const std::uint8_t *>(below.pixels.data()),
                  below.width, below.height, below.width * 4, 1);
    }
    for (int index = 0; index < (twoLevels ? 2 : 1); ++index) {
        blurRows(m_levels[index], reduced.width(), sampling.spacing, m_rows[index]);
    }

    // Down the columns: three linear samples of the rows, the upper level blended in.
    QImage image(reduced, QImage::Format_RGB32);
    const int betweenWeight = static_cast<int>(std::lround(between * 128.0f));
    m_upperRow.resize(std::size_t(reduced.width()));
    for (int y = 0; y < reduced.height(); ++y) {
        const float centre = (float(y) + 0.5f) / float(reduced.height());
        auto *out = reinterpret_cast<std::uint32_t *>(image.scanLine(y));
        blurColumns(m_rows[0].pixels.data(), tapsAt(centre, sampling.spacing, m_rows[0].height),
                    reinterpret_cast<std::uint8_t *>(out), reduced.width());
        if (twoLevels) {
            blurColumns(m_rows[1].pixels.data(), tapsAt(centre, sampling.spacing, m_rows[1].height),
                        reinterpret_cast<std::uint8_t *>(m_upperRow.data()), reduced.width());
            blendPictureRows(out, m_upperRow.data(), betweenWeight, out, reduced.width());
        }
        for (int x = 0; x < reduced.width(); ++x) {
            out[x] |= 0xFF000000u;
        }
    }
    return image;
}

} // namespace lookpane
