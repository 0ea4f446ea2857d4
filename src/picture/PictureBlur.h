#pragma once

#include "picture/CapturedFrame.h"
#include "picture/DrawResult.h"

#include <QImage>

#include <cstdint>
#include <optional>
#include <vector>

namespace lookpane {

// The privacy blur computed on the CPU, step for step as the renderer's reduced path computes
// it on the GPU: the picture halved down to the level the blur reads (and the next, for a
// fractional level), three linear samples along the level's rows into the reduced width, then
// three linear samples down those rows into the reduced height, blending the two levels. The
// result is the small blurred picture, which the caller stretches linearly over its view.
// For computers whose OpenGL is a software rasteriser, where these passes cost several times
// more through OpenGL. Keeps its buffers between pictures.
class PictureBlur
{
public:
    // The blurred `frame` for a block of `blockPoints` at `captureScale`, top row first and
    // opaque; none when the picture is wider or taller than `maximumSide` (when not 0), which
    // the caller shows as the fail-safe. `result` says what was done, as the renderer's does.
    std::optional<QImage> blur(const CapturedFrame &frame, double blockPoints, double captureScale,
                               int maximumSide, DrawResult &result);

private:
    struct Level
    {
        std::vector<std::uint32_t> pixels;
        int width = 0;
        int height = 0;
    };

    // Three linear samples along each row of `level` into `rows` (reduced width, level rows).
    static void blurRows(const Level &level, int reducedWidth, float tapStep, Level &rows);

    std::vector<std::uint32_t> m_scratch;
    Level m_levels[2];
    Level m_rows[2];
    // The upper level's row down the columns, before it is blended in.
    std::vector<std::uint32_t> m_upperRow;
};

} // namespace lookpane
