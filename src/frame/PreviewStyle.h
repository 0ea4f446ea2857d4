#pragma once

namespace lookpane {

// What a preview shows: the mirrored picture on black, or only the outline of the region
// (see-through, for the detached frame).
enum class PreviewStyle
{
    mirror = 0,
    selection = 1
};

} // namespace lookpane
