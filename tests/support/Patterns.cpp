#include "Patterns.h"

namespace lookpane::testing {

std::uint32_t barColor(int index)
{
    static constexpr std::uint32_t colors[8] = {0xFFFFFF, 0xFFFF00, 0x00FFFF, 0x00FF00,
                                                0xFF00FF, 0xFF0000, 0x0000FF, 0x000000};
    return colors[((index % 8) + 8) % 8];
}

std::uint32_t patternPixel(Pattern pattern, int x, int y, int width, int height,
                           std::uint32_t solidColor)
{
    (void)height;
    switch (pattern) {
    case Pattern::bars:
        return barColor(width > 0 ? x * 8 / width : 0);
    case Pattern::checker:
        return ((x / 16) + (y / 16)) % 2 == 0 ? 0x000000 : 0xFFFFFF;
    case Pattern::solid:
        return solidColor;
    case Pattern::text: {
        // Glyph-like cells: strokes inside an 11 × 11 cell with a 3-pixel gap between cells.
        const int cx = x % 14;
        const int cy = y % 14;
        if (cx >= 11 || cy >= 11) {
            return 0xFFFFFF;
        }
        const int seed = (x / 14) * 7 + (y / 14) * 13;
        const bool vertical = (cx % 3 == 0) && ((seed + cx) % 2 == 0);
        const bool horizontal = (cy % 4 == 0) && ((seed + cy) % 3 != 0);
        return vertical || horizontal ? 0x000000 : 0xFFFFFF;
    }
    }
    return 0;
}

bool parsePattern(const std::string &name, Pattern &pattern)
{
    if (name == "bars") {
        pattern = Pattern::bars;
    } else if (name == "checker") {
        pattern = Pattern::checker;
    } else if (name == "solid") {
        pattern = Pattern::solid;
    } else if (name == "text") {
        pattern = Pattern::text;
    } else {
        return false;
    }
    return true;
}

} // namespace lookpane::testing
