#pragma once

#include <cstdint>

namespace lookpane::testing {

// The picture the test portal's stream shows: red is the column and green the row (both modulo
// 256), blue the picture's sequence number (modulo 256), so a cropped frame tells exactly which
// pixels it holds and which picture it came from.
inline std::uint32_t portalPatternRgb(int x, int y, int sequence)
{
    return (static_cast<std::uint32_t>(x & 0xff) << 16) |
           (static_cast<std::uint32_t>(y & 0xff) << 8) |
           static_cast<std::uint32_t>(sequence & 0xff);
}

} // namespace lookpane::testing
