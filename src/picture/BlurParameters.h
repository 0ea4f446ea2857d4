#pragma once

#include "model/BlurStrength.h"

namespace lookpane {

// Where the privacy blur reads the mip chain: the level of detail (fractional) and the
// distance between its nine taps in normalised texture coordinates.
struct BlurSampling
{
    float level = 0.0f;
    float spacing = 0.0f;

    friend bool operator==(const BlurSampling &, const BlurSampling &) = default;
};

// Size, in points of the frame, of the block the blur averages over.
double blurBlockPoints(BlurStrength strength);

// Number of levels of a full mip chain for a picture of this size (down to 1 × 1).
int mipLevelCount(int width, int height);

// The level of a texel block of `blockPoints` × `captureScale` pixels, clamped to the chain
// the bound texture has (`levelCount` levels; 1 for a texture without a chain); the spacing
// is one texel of that level measured on the texture's width only, so the vertical step is the
// same value whatever the picture's aspect ratio.
BlurSampling blurSampling(double blockPoints, double captureScale, int textureWidth,
                          int levelCount);

// Picture pixels per texel of the reduced blur target for a blur `level`: a quarter of the
// block that level averages, between 1 and 8.
int blurReduction(float level);

} // namespace lookpane
