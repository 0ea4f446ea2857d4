#pragma once

#include "model/RawEnum.h"

namespace lookpane {

// How the shared picture is presented: on the region itself, or in a separate window.
enum class ShareMode
{
    overlay,
    detached
};

template <> struct RawEnumTable<ShareMode>
{
    static constexpr std::array<std::pair<ShareMode, std::string_view>, 2> entries{{
        {ShareMode::overlay, "overlay"},
        {ShareMode::detached, "detached"},
    }};
};

constexpr ShareMode toggled(ShareMode mode)
{
    return mode == ShareMode::overlay ? ShareMode::detached : ShareMode::overlay;
}

} // namespace lookpane
