#include "frame/FrameSizePreset.h"

namespace lookpane {

std::array<FrameSizePreset, 2> FrameSizePreset::all()
{
    return {{
        {QStringLiteral("1280 × 720"), 1280, 720, FrameRatio::widescreen},
        {QStringLiteral("1920 × 1080"), 1920, 1080, FrameRatio::widescreen},
    }};
}

} // namespace lookpane
