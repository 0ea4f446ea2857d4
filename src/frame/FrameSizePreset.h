#pragma once

#include "model/FrameRatio.h"

#include <QString>

#include <array>

namespace lookpane {

// An exact size for the box: content size in points, with the ratio it locks.
struct FrameSizePreset
{
    QString title;
    double width = 0;
    double height = 0;
    FrameRatio ratio = FrameRatio::free;

    friend bool operator==(const FrameSizePreset &, const FrameSizePreset &) = default;

    // "1280 × 720" and "1920 × 1080", both 16:9, in this order.
    static std::array<FrameSizePreset, 2> all();
};

} // namespace lookpane
