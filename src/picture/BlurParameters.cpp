#include "picture/BlurParameters.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace lookpane {

double blurBlockPoints(BlurStrength strength)
{
    return strength == BlurStrength::strong ? 60.0 : 16.0;
}

int mipLevelCount(int width, int height)
{
    const auto largest = static_cast<unsigned>(std::max({width, height, 1}));
    return static_cast<int>(std::bit_width(largest));
}

BlurSampling blurSampling(double blockPoints, double captureScale, int textureWidth, int levelCount)
{
    // Single precision on purpose: the GPU side reads these as 32-bit floats.
    const float blockPixels = static_cast<float>(blockPoints) * static_cast<float>(captureScale);
    float level = blockPixels <= 2.0f ? 1.0f : std::max(0.0f, std::log2(blockPixels));
    float numerator = 1.0f;
    const int highestLevel = levelCount - 1;
    if (highestLevel >= 1) {
        level = std::min(level, static_cast<float>(highestLevel));
        numerator = std::exp2(level);
    } else if (level > 0.0f) {
        level = 0.0f;
        numerator = 1.0f;
    } else {
        numerator = std::exp2(level);
    }
    return {level, numerator / static_cast<float>(std::max(textureWidth, 1))};
}

int blurReduction(float level)
{
    const int whole = static_cast<int>(std::floor(level));
    return std::clamp(1 << std::clamp(whole - 2, 0, 3), 1, 8);
}

} // namespace lookpane
