#pragma once

#include <QSize>

#include <cstdint>
#include <vector>

namespace lookpane {

// Halves a picture of 32-bit pixels (four 8-bit channels) on the CPU: each pixel of the
// result, floor(width / 2) × floor(height / 2) large (at least 1 × 1), is the mean of a 2 × 2
// block of the source, rounded to nearest, channel by channel. A source of width or height 1
// repeats its only column or row. `sourceStride` and the result's rows are in bytes; the
// result's rows are `resultStride` bytes apart.
void halvePicture(const std::uint8_t *source, int width, int height, int sourceStride,
                  std::uint8_t *result, int resultStride);

// `source` halved `times` times over (0: copied as it is) into `result`, its rows packed
// without padding; `scratch` holds the steps between. Returns the result's size.
QSize halvePictureRepeatedly(const std::uint8_t *source, int width, int height, int sourceStride,
                             int times, std::vector<std::uint32_t> &result,
                             std::vector<std::uint32_t> &scratch);

} // namespace lookpane
