#pragma once

#include <cstdint>
#include <string>

namespace lookpane::testing {

// Known pictures that test windows show, computable anywhere so tests can check the pixels
// they read back. Colours are 0xRRGGBB; x and y count from the window's top-left corner.
enum class Pattern
{
    bars,    // eight vertical colour bars, each 1/8 of the width
    checker, // 16-pixel black and white squares
    solid,   // one colour
    text,    // fine black strokes on white: 1-pixel lines every 3 pixels, in 11-pixel glyph cells
};

std::uint32_t patternPixel(Pattern pattern, int x, int y, int width, int height,
                           std::uint32_t solidColor);

// The colour of bar `index` (0...7) of the bars pattern.
std::uint32_t barColor(int index);

bool parsePattern(const std::string &name, Pattern &pattern);

} // namespace lookpane::testing
