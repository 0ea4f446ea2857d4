#pragma once

#include <cstdint>

namespace lookpane {

// Stretches a picture of 32-bit pixels (four 8-bit channels) to another size on the CPU,
// filtering linearly the way OpenGL magnifies a texture with GL_LINEAR: the centres of the
// result's pixels are mapped onto the source, each channel is interpolated between the four
// nearest source pixels, and the edges are clamped. Weights are kept to 1/256 (across) and
// 1/128 (down) and each pass rounds to 8 bits, so a result channel is within two levels of
// the exact interpolation (a GPU's texture unit rounds alike). Strides are in bytes.
void stretchPicture(const std::uint8_t *source, int width, int height, int sourceStride,
                    std::uint8_t *result, int resultWidth, int resultHeight, int resultStride);

// Each pixel `weight` (out of 128) of the way from `upper` to `lower`, channel by channel,
// rounded; `result` may be either of them.
void blendPictureRows(const std::uint32_t *upper, const std::uint32_t *lower, int weight,
                      std::uint32_t *result, int width);

} // namespace lookpane
