#pragma once

#include <QSize>
#include <QVector4D>

namespace lookpane {

// How a picture was drawn: clear, blurred, or as the fail-safe colour that hides it (on the
// GPU, the x lane of the effects vector the fragment stage reads).
enum class BlurState
{
    none = 0,
    blur = 1,
    failSafe = 2
};

// What drawing one picture did, on the GPU or on the CPU alike.
struct DrawResult
{
    bool drewPicture = false;
    BlurState state = BlurState::none;
    // x: state, y: level, z: spacing, w: 0, exactly as uploaded.
    QVector4D effects;
    // Size of the intermediate blur target; empty when the taps ran at full size.
    QSize reducedSize;
};

} // namespace lookpane
