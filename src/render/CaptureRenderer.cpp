#include "render/CaptureRenderer.h"

#include "picture/BlurParameters.h"
#include "picture/PictureHalving.h"
#include "render/CaptureShaders.h"
#include "render/GlProgram.h"

#include <QOpenGLContext>

#include <algorithm>
#include <cmath>
#include <vector>

namespace lookpane {

namespace {

// How the frame's BGRA bytes are stored. Desktop OpenGL keeps them as they are (BGRA as
// 8-8-8-8-reversed words, the layout of the frame and of the window's own buffer): the upload
// is a plain copy, and a software rasteriser can then fill a rectangle of the picture on its
// fast linear path. OpenGL ES 3.0 has no BGRA: the bytes go in as RGBA and red and blue are
// swapped back when sampled.
struct PixelLayout
{
    GLenum internalFormat;
    GLenum format;
    GLenum type;
    bool swapRedBlue;
};

PixelLayout pixelLayout(bool gles)
{
    if (gles) {
        return {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, true};
    }
    return {GL_RGBA, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, false};
}

GLuint makeSampler(QOpenGLExtraFunctions &gl, GLenum minFilter)
{
    GLuint sampler = 0;
    gl.glGenSamplers(1, &sampler);
    gl.glSamplerParameteri(sampler, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(minFilter));
    gl.glSamplerParameteri(sampler, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    gl.glSamplerParameteri(sampler, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    gl.glSamplerParameteri(sampler, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    return sampler;
}

} // namespace

CaptureRenderer::~CaptureRenderer()
{
    if (!m_initialized) {
        return;
    }
    releaseMipChain();
    glDeleteTextures(1, &m_plainTexture);
    releaseTarget(m_reduced);
    for (Target &rows : m_rows) {
        releaseTarget(rows);
    }
    glDeleteSamplers(1, &m_linearSampler);
    glDeleteBuffers(1, &m_effectsBuffer);
    glDeleteVertexArrays(1, &m_vertexArray);
    for (const GLuint program : m_capturePrograms) {
        glDeleteProgram(program);
    }
    glDeleteProgram(m_presentProgram);
    glDeleteProgram(m_halveProgram);
    glDeleteProgram(m_blurRowsProgram);
    glDeleteProgram(m_blurColumnsProgram);
}

bool CaptureRenderer::initialize()
{
    QOpenGLContext *context = QOpenGLContext::currentContext();
    if (context == nullptr) {
        m_failureReason = QStringLiteral("no current OpenGL context");
        return false;
    }
    const QSurfaceFormat format = context->format();
    const bool gles = context->isOpenGLES();
    const auto version = std::make_pair(format.majorVersion(), format.minorVersion());
    if ((gles && version < std::make_pair(3, 0)) || (!gles && version < std::make_pair(3, 3))) {
        m_failureReason =
            QStringLiteral("OpenGL %1.%2 is too old").arg(version.first).arg(version.second);
        return false;
    }
    initializeOpenGLFunctions();
    const PixelLayout layout = pixelLayout(gles);
    m_internalFormat = layout.internalFormat;
    m_pixelFormat = layout.format;
    m_pixelType = layout.type;
    m_swapRedBlue = layout.swapRedBlue;

    const auto fail = [this] {
        for (GLuint &program : m_capturePrograms) {
            glDeleteProgram(program);
            program = 0;
        }
        glDeleteProgram(m_presentProgram);
        m_presentProgram = 0;
        for (GLuint *program : {&m_halveProgram, &m_blurRowsProgram, &m_blurColumnsProgram}) {
            glDeleteProgram(*program);
            *program = 0;
        }
        return false;
    };
    for (int slot = 0; slot < 5; ++slot) {
        // Slots 0 to 2 serve one state each; slot 3 reads the state from the effects vector;
        // slot 4 is the unblurred picture for a target without alpha.
        const int fixedState = slot < 3 ? slot : (slot == 4 ? 0 : -1);
        const GLuint program =
            linkProgram(*this, captureVertexShader(gles),
                        captureFragmentShader(gles, fixedState, slot == 4), m_failureReason);
        if (program == 0) {
            return fail();
        }
        m_capturePrograms[slot] = program;
        const GLuint effectsIndex = glGetUniformBlockIndex(program, "Effects");
        if (effectsIndex != GL_INVALID_INDEX) {
            glUniformBlockBinding(program, effectsIndex, 0);
        } else if (slot == 1 || slot == 3) {
            // The blurring program reads level and spacing from the effects block.
            m_failureReason = QStringLiteral("the picture program has no effects block");
            return fail();
        }
        glUseProgram(program);
        glUniform1i(glGetUniformLocation(program, "plainSource"), 0);
        glUniform1i(glGetUniformLocation(program, "blurLower"), 1);
        glUniform1i(glGetUniformLocation(program, "blurUpper"), 2);
    }
    m_presentProgram =
        linkProgram(*this, presentVertexShader(gles), copyFragmentShader(gles), m_failureReason);
    if (m_presentProgram == 0) {
        return fail();
    }
    glUseProgram(m_presentProgram);
    // What it reads has alpha one: the blur pass writes it.
    glUniform1i(glGetUniformLocation(m_presentProgram, "source"), 0);
    m_halveProgram =
        linkProgram(*this, presentVertexShader(gles), halveFragmentShader(gles), m_failureReason);
    m_blurRowsProgram = linkProgram(*this, presentVertexShader(gles), blurRowsFragmentShader(gles),
                                    m_failureReason);
    // Written like the picture program's own reduced draw (the picture's top in the last row),
    // which the present pass expects.
    m_blurColumnsProgram = linkProgram(*this, captureVertexShader(gles),
                                       blurColumnsFragmentShader(gles), m_failureReason);
    if (m_halveProgram == 0 || m_blurRowsProgram == 0 || m_blurColumnsProgram == 0) {
        return fail();
    }
    glUseProgram(m_blurRowsProgram);
    glUniform1i(glGetUniformLocation(m_blurRowsProgram, "level"), 0);
    m_rowsTapStepLocation = glGetUniformLocation(m_blurRowsProgram, "tapStep");
    glUseProgram(m_blurColumnsProgram);
    glUniform1i(glGetUniformLocation(m_blurColumnsProgram, "rowsLower"), 0);
    glUniform1i(glGetUniformLocation(m_blurColumnsProgram, "rowsUpper"), 1);
    m_columnsParamsLocation = glGetUniformLocation(m_blurColumnsProgram, "params");
    glUseProgram(m_halveProgram);
    glUniform1i(glGetUniformLocation(m_halveProgram, "reduced"), 0);
    glUniform2f(glGetUniformLocation(m_halveProgram, "shift"), 0.0f, 0.0f);
    glUseProgram(0);

    glGenVertexArrays(1, &m_vertexArray);
    glGenBuffers(1, &m_effectsBuffer);
    glBindBuffer(GL_UNIFORM_BUFFER, m_effectsBuffer);
    glBufferData(GL_UNIFORM_BUFFER, 4 * sizeof(float), nullptr, GL_DYNAMIC_DRAW);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);

    m_linearSampler = makeSampler(*this, GL_LINEAR);
    m_initialized = true;
    return true;
}

void CaptureRenderer::setFrame(const CapturedFrame &frame)
{
    m_frame = frame;
    ++m_frameGeneration;
}

void CaptureRenderer::allocateTexture(QSize size)
{
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(m_internalFormat), size.width(),
                 size.height(), 0, m_pixelFormat, m_pixelType, nullptr);
}

void CaptureRenderer::setPictureSwizzle()
{
    if (m_swapRedBlue) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_R, GL_BLUE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_B, GL_RED);
    }
}

void CaptureRenderer::uploadPixels(GLuint texture)
{
    glBindTexture(GL_TEXTURE_2D, texture);
    const int width = m_frame.width();
    const int height = m_frame.height();
    if (m_frame.bytesPerRow() % 4 == 0) {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, m_frame.bytesPerRow() / 4);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, m_pixelFormat, m_pixelType,
                        m_frame.pixels());
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    } else {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        for (int y = 0; y < height; ++y) {
            glTexSubImage2D(GL_TEXTURE_2D, 0, 0, y, width, 1, m_pixelFormat, m_pixelType,
                            m_frame.pixels() +
                                static_cast<std::ptrdiff_t>(y) * m_frame.bytesPerRow());
        }
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    }
}

bool CaptureRenderer::uploadPlain()
{
    const QSize size(m_frame.width(), m_frame.height());
    if (m_plainTexture == 0 || m_plainSize != size) {
        if (m_plainTexture == 0) {
            glGenTextures(1, &m_plainTexture);
        }
        glBindTexture(GL_TEXTURE_2D, m_plainTexture);
        while (glGetError() != GL_NO_ERROR) {
        }
        allocateTexture(size);
        if (glGetError() != GL_NO_ERROR) {
            m_plainSize = QSize();
            return false;
        }
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
        setPictureSwizzle();
        m_plainSize = size;
        m_plainGeneration = 0;
    }
    if (m_plainGeneration != m_frameGeneration) {
        uploadPixels(m_plainTexture);
        m_plainGeneration = m_frameGeneration;
    }
    return true;
}

void CaptureRenderer::releaseMipChain()
{
    for (Target &level : m_mipChain) {
        releaseTarget(level);
    }
    m_mipChain.clear();
    m_mipSize = QSize();
    m_mipLevels = 0;
    m_mipGeneration = 0;
    m_mipLevelsMade.clear();
}

void CaptureRenderer::setMaximumMipChainSide(int pixels)
{
    if (m_maximumMipChainSide != pixels) {
        m_maximumMipChainSide = pixels;
        m_mipChainLimitChanged = true;
    }
}

bool CaptureRenderer::ensureMipChain(QSize size)
{
    if (m_mipLevels > 0 && m_mipSize == size && !m_mipChainLimitChanged) {
        return true;
    }
    releaseMipChain();
    m_mipChainLimitChanged = false;
    GLint limit = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
    if (m_maximumMipChainSide > 0) {
        limit = std::min(limit, m_maximumMipChainSide);
    }
    if (size.width() > limit || size.height() > limit) {
        return false;
    }
    while (glGetError() != GL_NO_ERROR) {
    }
    const int levels = mipLevelCount(size.width(), size.height());
    QSize levelSize = size;
    bool complete = true;
    for (int level = 1; level < levels && complete; ++level) {
        levelSize = QSize(std::max(1, levelSize.width() / 2), std::max(1, levelSize.height() / 2));
        Target made;
        complete = ensureTarget(made, levelSize);
        m_mipChain.push_back(made);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (!complete || glGetError() != GL_NO_ERROR) {
        releaseMipChain();
        return false;
    }
    m_mipSize = size;
    m_mipLevels = levels;
    ++m_mipChainBuilds;
    return true;
}

GLuint CaptureRenderer::mipTexture(int level) const
{
    return level == 0 ? m_plainTexture : m_mipChain[static_cast<std::size_t>(level - 1)].texture;
}

bool CaptureRenderer::prepareMipChain(int lowestLevel, int highestLevel)
{
    if (!ensureMipChain(QSize(m_frame.width(), m_frame.height()))) {
        return false;
    }
    if (m_mipLevels < 2) {
        // A picture of one pixel is its own chain.
        return uploadPlain();
    }
    if (m_mipGeneration != m_frameGeneration) {
        m_mipGeneration = m_frameGeneration;
        m_mipLevelsMade.clear();
    }
    lowestLevel = std::clamp(lowestLevel, 1, m_mipLevels - 1);
    highestLevel = std::clamp(highestLevel, lowestLevel, m_mipLevels - 1);
    if (!levelMade(lowestLevel)) {
        // The lowest level the blur reads is made on the CPU straight from the frame, by
        // halving it again and again: a few kilobytes then go to the GPU instead of the
        // whole picture, and no pass runs over the larger levels there.
        uploadLevelFromFrame(lowestLevel);
    }
    // Any level above it is the one below halved on the GPU: one linearly filtered sample
    // between four texels is their mean.
    glActiveTexture(GL_TEXTURE0);
    glBindSampler(0, m_linearSampler);
    glUseProgram(m_halveProgram);
    for (int level = lowestLevel + 1; level <= highestLevel; ++level) {
        if (levelMade(level)) {
            continue;
        }
        glBindTexture(GL_TEXTURE_2D, mipTexture(level - 1));
        drawInto(m_mipChain[static_cast<std::size_t>(level - 1)]);
        m_mipLevelsMade.push_back(level);
    }
    return true;
}

bool CaptureRenderer::levelMade(int level) const
{
    return std::find(m_mipLevelsMade.begin(), m_mipLevelsMade.end(), level) !=
           m_mipLevelsMade.end();
}

void CaptureRenderer::uploadLevelFromFrame(int level)
{
    halvePictureRepeatedly(m_frame.pixels(), m_frame.width(), m_frame.height(),
                           m_frame.bytesPerRow(), level, m_halvedPicture, m_halvingScratch);
    const Target &target = m_mipChain[static_cast<std::size_t>(level - 1)];
    glBindTexture(GL_TEXTURE_2D, target.texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, target.size.width(), target.size.height(),
                    m_pixelFormat, m_pixelType, m_halvedPicture.data());
    m_mipLevelsMade.push_back(level);
}

bool CaptureRenderer::ensureTarget(Target &target, QSize size)
{
    if (target.texture != 0 && target.size == size) {
        return true;
    }
    if (target.texture == 0) {
        glGenTextures(1, &target.texture);
        glGenFramebuffers(1, &target.framebuffer);
    }
    glBindTexture(GL_TEXTURE_2D, target.texture);
    // Stored like the picture, so that stretching it is a plain rectangle fill too.
    allocateTexture(size);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    setPictureSwizzle();
    glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target.texture, 0);
    const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    target.size = complete ? size : QSize();
    return complete;
}

void CaptureRenderer::releaseTarget(Target &target)
{
    glDeleteFramebuffers(1, &target.framebuffer);
    glDeleteTextures(1, &target.texture);
    target = Target{};
}

void CaptureRenderer::drawInto(const Target &target)
{
    glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer);
    glViewport(0, 0, target.size.width(), target.size.height());
    drawRectangle();
}

bool CaptureRenderer::targetKeepsAlpha(GLuint framebuffer)
{
    // Asked once per target: a state query in every draw can stall a threaded driver. The
    // framebuffer is bound by draw(); a window's own buffer is asked for by its back buffer.
    if (m_alphaTarget == framebuffer) {
        return m_alphaTargetKeepsAlpha;
    }
    GLint alphaBits = 8;
    const GLenum attachment = framebuffer == 0 ? GL_BACK : GL_COLOR_ATTACHMENT0;
    glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, attachment,
                                          GL_FRAMEBUFFER_ATTACHMENT_ALPHA_SIZE, &alphaBits);
    m_alphaTarget = framebuffer;
    m_alphaTargetKeepsAlpha = alphaBits > 0;
    return m_alphaTargetKeepsAlpha;
}

void CaptureRenderer::drawRectangle()
{
    glBindVertexArray(m_vertexArray);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    glBindVertexArray(0);
}

DrawResult CaptureRenderer::draw(GLuint framebuffer, QSize viewportPixels,
                                 const RenderSettings &settings)
{
    DrawResult result;
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glViewport(0, 0, viewportPixels.width(), viewportPixels.height());
    glDisable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_SCISSOR_TEST);
    if (!m_initialized || m_frame.isNull() || viewportPixels.isEmpty()) {
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        return result;
    }

    BlurState state = BlurState::none;
    BlurSampling sampling{0.0f, 0.0f};
    if (settings.blurEnabled) {
        // The level and spacing follow the chain the picture would have; when that chain
        // cannot be built, the picture is not shown at all.
        const int levels = mipLevelCount(m_frame.width(), m_frame.height());
        sampling =
            blurSampling(settings.blurBlockPoints, settings.captureScale, m_frame.width(), levels);
        const int lowest = static_cast<int>(std::floor(sampling.level));
        const int upper = static_cast<int>(std::ceil(sampling.level));
        if (prepareMipChain(lowest, upper)) {
            state = BlurState::blur;
        } else {
            state = BlurState::failSafe;
            sampling =
                blurSampling(settings.blurBlockPoints, settings.captureScale, m_frame.width(), 1);
        }
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glViewport(0, 0, viewportPixels.width(), viewportPixels.height());
    } else if (!uploadPlain()) {
        // The picture does not fit a texture here: nothing of it can be shown.
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        return result;
    } else {
        sampling =
            blurSampling(settings.blurBlockPoints, settings.captureScale, m_frame.width(), 1);
    }

    const float effects[4] = {static_cast<float>(static_cast<int>(state)), sampling.level,
                              sampling.spacing, 0.0f};
    glBindBuffer(GL_UNIFORM_BUFFER, m_effectsBuffer);
    glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof effects, effects);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);
    glBindBufferBase(GL_UNIFORM_BUFFER, 0, m_effectsBuffer);

    // Unit 0: the picture itself. Units 1 and 2: the two levels of the chain the blur blends
    // between (trilinear filtering, spelled out), the same one where the level is whole or the
    // chain ends. In the fail-safe state nothing is read.
    int lowerLevel = 0;
    int upperLevel = 0;
    if (state == BlurState::blur) {
        lowerLevel = std::clamp(static_cast<int>(std::floor(sampling.level)), 0, m_mipLevels - 1);
        upperLevel = std::min(lowerLevel + 1, m_mipLevels - 1);
    }
    const GLuint units[3] = {m_plainTexture, mipTexture(lowerLevel), mipTexture(upperLevel)};
    for (GLuint unit = 0; unit < 3; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_2D, units[unit]);
        glBindSampler(unit, m_linearSampler);
    }
    glActiveTexture(GL_TEXTURE0);

    result.drewPicture = true;
    result.state = state;
    result.effects = QVector4D(effects[0], effects[1], effects[2], effects[3]);

    QSize reduced;
    if (state == BlurState::blur && settings.path == BlurPath::reduced) {
        const int factor = blurReduction(sampling.level);
        reduced = QSize((m_frame.width() + factor - 1) / factor,
                        (m_frame.height() + factor - 1) / factor);
        // Worth it only where the reduced target is much smaller than the view.
        const qint64 reducedArea = qint64(reduced.width()) * reduced.height();
        const qint64 viewArea = qint64(viewportPixels.width()) * viewportPixels.height();
        if (factor == 1 || reducedArea * 4 > viewArea || !ensureTarget(m_reduced, reduced)) {
            reduced = QSize();
        }
    }

    if (!reduced.isEmpty() && blurReduced(lowerLevel, upperLevel, sampling, reduced)) {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glViewport(0, 0, viewportPixels.width(), viewportPixels.height());
        glUseProgram(m_presentProgram);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, m_reduced.texture);
        glBindSampler(0, m_linearSampler);
        drawRectangle();
        result.reducedSize = reduced;
    } else {
        int slot = settings.stateSpecificProgram ? static_cast<int>(state) : 3;
        if (state == BlurState::none && settings.stateSpecificProgram &&
            !targetKeepsAlpha(framebuffer)) {
            slot = 4;
        }
        glUseProgram(m_capturePrograms[slot]);
        drawRectangle();
    }
    glUseProgram(0);
    for (GLuint unit = 0; unit < 3; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_2D, 0);
        glBindSampler(unit, 0);
    }
    glActiveTexture(GL_TEXTURE0);
    return result;
}

bool CaptureRenderer::blurReduced(int lowerLevel, int upperLevel, const BlurSampling &sampling,
                                  QSize reduced)
{
    // The nine taps are a 3 × 3 grid of linear samples with the same spacing on both axes,
    // and linear filtering is separable: the three taps of a row can be summed first, at the
    // reduced width but only at the level's own rows, where sampling between rows falls
    // exactly on them; the three rows are then summed at the reduced size, sampling between
    // those rows linearly. Six taps a pixel instead of nine, mostly at the much smaller size.
    const float between = sampling.level - std::floor(sampling.level);
    const bool twoLevels = between > 0.0f && lowerLevel != upperLevel;
    const int levels[2] = {lowerLevel, upperLevel};
    for (int index = 0; index < (twoLevels ? 2 : 1); ++index) {
        const QSize rows(reduced.width(),
                         m_mipChain[static_cast<std::size_t>(levels[index] - 1)].size.height());
        if (!ensureTarget(m_rows[index], rows)) {
            return false;
        }
        glUseProgram(m_blurRowsProgram);
        glUniform1f(m_rowsTapStepLocation, sampling.spacing);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, mipTexture(levels[index]));
        glBindSampler(0, m_linearSampler);
        drawInto(m_rows[index]);
    }
    glUseProgram(m_blurColumnsProgram);
    glUniform2f(m_columnsParamsLocation, sampling.spacing, twoLevels ? between : 0.0f);
    for (GLuint unit = 0; unit < 2; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_2D, m_rows[twoLevels ? unit : 0].texture);
        glBindSampler(unit, m_linearSampler);
    }
    drawInto(m_reduced);
    return true;
}

void CaptureRenderer::uploadForTiming()
{
    if (!m_initialized || m_frame.isNull()) {
        return;
    }
    m_plainGeneration = 0;
    uploadPlain();
    glFinish();
}

} // namespace lookpane
