#pragma once

#include <memory>
#include <optional>

#include "picture/BlurParameters.h"
#include "picture/CapturedFrame.h"
#include "picture/DrawResult.h"

#include <QOpenGLExtraFunctions>
#include <QSize>
#include <QString>
#include <QVector4D>

#include <cstdint>
#include <vector>

namespace lookpane {

// How a blurred picture is produced. `fullSize` runs the nine taps for every pixel of the
// view; `reduced` runs them into a target a few times smaller than the picture (one texel per
// quarter of a blur block, at most eight pixels) and stretches that linearly over the view.
// The blurred picture varies over a whole block, so the two differ by a few levels at most
// (checked by the renderer's tests), while the reduced path costs a fraction of the fill.
enum class BlurPath
{
    reduced,
    fullSize
};

struct RenderSettings
{
    bool blurEnabled = false;
    double blurBlockPoints = 16.0;
    double captureScale = 2.0;
    BlurPath path = BlurPath::reduced;
    // Draw with the program built for the blur state alone (the fast choice), or with the
    // one that reads the state from the effects vector; both give the same picture.
    bool stateSpecificProgram = true;
};

// The GL side of the capture view: programs, textures, the mip chain and the draw. Lives in
// one GL context, which must be current for every call, including destruction.
class CaptureRenderer : protected QOpenGLExtraFunctions
{
public:
    CaptureRenderer() = default;
    ~CaptureRenderer();
    CaptureRenderer(const CaptureRenderer &) = delete;
    CaptureRenderer &operator=(const CaptureRenderer &) = delete;

    // Compiles the programs and makes the fixed objects; false (with a reason) when the
    // context cannot run them.
    bool initialize();
    const QString &failureReason() const { return m_failureReason; }

    // The picture to draw from now on; uploaded at the next draw that needs it.
    void setFrame(const CapturedFrame &frame);
    const CapturedFrame &frame() const { return m_frame; }

    // A mip chain for a picture wider or taller than this is not built (0: the GL limit).
    void setMaximumMipChainSide(int pixels);
    bool hasMipChain() const { return m_mipLevels > 0; }
    int mipLevels() const { return m_mipLevels; }
    // How many times a mip chain was allocated (it is reused while the picture size holds).
    int mipChainBuilds() const { return m_mipChainBuilds; }

    // Draws into `framebuffer` (viewport `viewportPixels`). Without a frame it clears to
    // black and reports drewPicture false.
    DrawResult draw(GLuint framebuffer, QSize viewportPixels, const RenderSettings &settings);

    // Forgets every GL name without deleting it, for a context that is already gone.
    void abandon() { m_initialized = false; }

    // Copies the current frame into the plain texture and waits for it (benchmarks).
    void uploadForTiming();

private:
    bool uploadPlain();
    // Makes the chain's levels from `lowestLevel` to `highestLevel` for the current frame.
    bool prepareMipChain(int lowestLevel, int highestLevel);
    bool levelMade(int level) const;
    bool ensureMipChain(QSize size);
    GLuint mipTexture(int level) const;
    void uploadLevelFromFrame(int level);
    void releaseMipChain();
    // A texture with a framebuffer drawing into it, stored like the picture.
    struct Target
    {
        GLuint texture = 0;
        GLuint framebuffer = 0;
        QSize size;
    };
    bool ensureTarget(Target &target, QSize size);
    void releaseTarget(Target &target);
    void drawInto(const Target &target);
    // The nine taps into the reduced target, in two separable passes; false when a target
    // cannot be made.
    bool blurReduced(int lowerLevel, int upperLevel, const BlurSampling &sampling, QSize reduced);
    // Storage for a picture-sized texture of `size`, bound, in the picture's layout.
    void allocateTexture(QSize size);
    void setPictureSwizzle();
    void uploadPixels(GLuint texture);
    // The two triangles that cover the viewport.
    void drawRectangle();
    bool targetKeepsAlpha(GLuint framebuffer);

    QString m_failureReason;
    bool m_initialized = false;
    // The picture program built once per blur state (none, blur, fail-safe), once reading the
    // state from the effects vector, and once more for the unblurred picture into a target
    // without alpha.
    GLuint m_capturePrograms[5] = {0, 0, 0, 0, 0};
    GLuint m_presentProgram = 0;
    GLuint m_halveProgram = 0;
    GLuint m_blurRowsProgram = 0;
    GLuint m_blurColumnsProgram = 0;
    GLint m_rowsTapStepLocation = -1;
    GLint m_columnsParamsLocation = -1;
    GLuint m_vertexArray = 0;
    GLuint m_effectsBuffer = 0;
    // Linear filtering, clamped to the edge: every texture here is read through it.
    GLuint m_linearSampler = 0;
    GLenum m_internalFormat = 0;
    GLenum m_pixelFormat = 0;
    GLenum m_pixelType = 0;
    bool m_swapRedBlue = false;

    CapturedFrame m_frame;
    std::uint64_t m_frameGeneration = 0;

    GLuint m_plainTexture = 0;
    QSize m_plainSize;
    std::uint64_t m_plainGeneration = 0;

    // The chain above level 0 (the plain texture), one target per level, so that each level
    // is drawn from the one below it as a plain rectangle.
    std::vector<Target> m_mipChain;
    QSize m_mipSize;
    int m_mipLevels = 0;
    std::uint64_t m_mipGeneration = 0;
    // The levels made for the current frame (only those the blur reads are).
    std::vector<int> m_mipLevelsMade;
    // The frame halved on the CPU, level after level, on its way to the chain.
    std::vector<std::uint32_t> m_halvedPicture;
    std::vector<std::uint32_t> m_halvingScratch;
    int m_maximumMipChainSide = 0;
    int m_mipChainBuilds = 0;
    bool m_mipChainLimitChanged = false;

    Target m_reduced;
    // The last target asked whether it keeps alpha, and the answer.
    std::optional<GLuint> m_alphaTarget;
    bool m_alphaTargetKeepsAlpha = true;
    // The rows pass of the reduced blur, for the lower and the upper level.
    Target m_rows[2];
};

// Frees a renderer's GL objects in the context of `surface` (a QOpenGLWidget or a
// QOpenGLWindow), or, when that context is already gone, forgets them: they went with it.
template <typename Surface>
void releaseRenderer(Surface &surface, std::unique_ptr<CaptureRenderer> &renderer,
                     bool contextAlive)
{
    if (!renderer) {
        return;
    }
    if (contextAlive) {
        surface.makeCurrent();
        renderer.reset();
        surface.doneCurrent();
    } else {
        renderer->abandon();
        renderer.reset();
    }
}

} // namespace lookpane
