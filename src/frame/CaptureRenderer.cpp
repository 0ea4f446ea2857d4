#include "frame/CaptureRenderer.h"

#include "frame/BlurParameters.h"
#include "frame/CaptureShaders.h"

#include <QOpenGLContext>

#include <algorithm>
#include <cmath>
#include <vector>

namespace lookpane {

namespace {

// Every texture of the picture stores the frame's BGRA bytes as RGBA (the fast upload path of
// most drivers) and swaps red and blue back when sampled. Captured pictures are opaque, but an
// X image of depth 24 leaves its fourth byte undefined, so alpha reads as one.
void setPictureSwizzle(QOpenGLExtraFunctions &gl)
{
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_R, GL_BLUE);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_G, GL_GREEN);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_B, GL_RED);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_A, GL_ONE);
}

GLuint compileShader(QOpenGLExtraFunctions &gl, GLenum type, const QByteArray &source,
                     QString &error)
{
    const GLuint shader = gl.glCreateShader(type);
    const char *text = source.constData();
    const GLint length = static_cast<GLint>(source.size());
    gl.glShaderSource(shader, 1, &text, &length);
    gl.glCompileShader(shader);
    GLint ok = GL_FALSE;
    gl.glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (ok != GL_TRUE) {
        char log[1024] = {};
        gl.glGetShaderInfoLog(shader, sizeof log, nullptr, log);
        error = QStringLiteral("shader compilation failed: %1").arg(QString::fromUtf8(log));
        gl.glDeleteShader(shader);
        return 0;
    }
    return shader;
}

GLuint linkProgram(QOpenGLExtraFunctions &gl, const QByteArray &vertex, const QByteArray &fragment,
                   QString &error)
{
    const GLuint vs = compileShader(gl, GL_VERTEX_SHADER, vertex, error);
    if (vs == 0) {
        return 0;
    }
    const GLuint fs = compileShader(gl, GL_FRAGMENT_SHADER, fragment, error);
    if (fs == 0) {
        gl.glDeleteShader(vs);
        return 0;
    }
    const GLuint program = gl.glCreateProgram();
    gl.glAttachShader(program, vs);
    gl.glAttachShader(program, fs);
    gl.glLinkProgram(program);
    gl.glDeleteShader(vs);
    gl.glDeleteShader(fs);
    GLint ok = GL_FALSE;
    gl.glGetProgramiv(program, GL_LINK_STATUS, &ok);
    if (ok != GL_TRUE) {
        char log[1024] = {};
        gl.glGetProgramInfoLog(program, sizeof log, nullptr, log);
        error = QStringLiteral("program link failed: %1").arg(QString::fromUtf8(log));
        gl.glDeleteProgram(program);
        return 0;
    }
    return program;
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

// Picture pixels per texel of the reduced blur target: a quarter of the block the chosen
// level averages, between 1 and 8.
int reductionFor(float level)
{
    const int whole = static_cast<int>(std::floor(level));
    return std::clamp(1 << std::clamp(whole - 2, 0, 3), 1, 8);
}

} // namespace

CaptureRenderer::~CaptureRenderer()
{
    if (!m_initialized) {
        return;
    }
    releaseMipChain();
    const GLuint textures[] = {m_plainTexture, m_reducedTexture};
    glDeleteTextures(2, textures);
    glDeleteFramebuffers(1, &m_reducedFramebuffer);
    const GLuint samplers[] = {m_plainSampler, m_blurSampler, m_presentSampler};
    glDeleteSamplers(3, samplers);
    glDeleteBuffers(1, &m_effectsBuffer);
    glDeleteVertexArrays(1, &m_vertexArray);
    for (const GLuint program : m_capturePrograms) {
        glDeleteProgram(program);
    }
    glDeleteProgram(m_presentProgram);
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

    const auto fail = [this] {
        for (GLuint &program : m_capturePrograms) {
            glDeleteProgram(program);
            program = 0;
        }
        glDeleteProgram(m_presentProgram);
        m_presentProgram = 0;
        return false;
    };
    for (int slot = 0; slot < 4; ++slot) {
        // Slots 0 to 2 serve one state each; slot 3 reads the state from the effects vector.
        const int fixedState = slot < 3 ? slot : -1;
        const GLuint program =
            linkProgram(*this, captureVertexShader(gles), captureFragmentShader(gles, fixedState),
                        m_failureReason);
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
        glUniform1i(glGetUniformLocation(program, "blurSource"), 1);
    }
    m_presentProgram =
        linkProgram(*this, presentVertexShader(gles), presentFragmentShader(gles), m_failureReason);
    if (m_presentProgram == 0) {
        return fail();
    }
    glUseProgram(m_presentProgram);
    glUniform1i(glGetUniformLocation(m_presentProgram, "reduced"), 0);
    glUseProgram(0);

    glGenVertexArrays(1, &m_vertexArray);
    glGenBuffers(1, &m_effectsBuffer);
    glBindBuffer(GL_UNIFORM_BUFFER, m_effectsBuffer);
    glBufferData(GL_UNIFORM_BUFFER, 4 * sizeof(float), nullptr, GL_DYNAMIC_DRAW);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);

    m_plainSampler = makeSampler(*this, GL_LINEAR);
    m_blurSampler = makeSampler(*this, GL_LINEAR_MIPMAP_LINEAR);
    m_presentSampler = makeSampler(*this, GL_LINEAR);
    m_initialized = true;
    return true;
}

void CaptureRenderer::setFrame(const CapturedFrame &frame)
{
    m_frame = frame;
    ++m_frameGeneration;
}

void CaptureRenderer::uploadPixels(GLuint texture)
{
    glBindTexture(GL_TEXTURE_2D, texture);
    const int width = m_frame.width();
    const int height = m_frame.height();
    if (m_frame.bytesPerRow() % 4 == 0) {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, m_frame.bytesPerRow() / 4);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE,
                        m_frame.pixels());
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    } else {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        for (int y = 0; y < height; ++y) {
            glTexSubImage2D(GL_TEXTURE_2D, 0, 0, y, width, 1, GL_RGBA, GL_UNSIGNED_BYTE,
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
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size.width(), size.height(), 0, GL_RGBA,
                     GL_UNSIGNED_BYTE, nullptr);
        if (glGetError() != GL_NO_ERROR) {
            m_plainSize = QSize();
            return false;
        }
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
        setPictureSwizzle(*this);
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
    if (m_mipTexture != 0) {
        glDeleteTextures(1, &m_mipTexture);
    }
    m_mipTexture = 0;
    m_mipSize = QSize();
    m_mipLevels = 0;
    m_mipGeneration = 0;
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
    if (m_mipTexture != 0 && m_mipSize == size && !m_mipChainLimitChanged) {
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
    glGenTextures(1, &m_mipTexture);
    glBindTexture(GL_TEXTURE_2D, m_mipTexture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, levels - 1);
    setPictureSwizzle(*this);
    int width = size.width();
    int height = size.height();
    for (int level = 0; level < levels; ++level) {
        glTexImage2D(GL_TEXTURE_2D, level, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     nullptr);
        width = std::max(1, width / 2);
        height = std::max(1, height / 2);
    }
    if (glGetError() != GL_NO_ERROR) {
        releaseMipChain();
        return false;
    }
    m_mipSize = size;
    m_mipLevels = levels;
    ++m_mipChainBuilds;
    return true;
}

bool CaptureRenderer::uploadMipChain()
{
    if (!ensureMipChain(QSize(m_frame.width(), m_frame.height()))) {
        return false;
    }
    if (m_mipGeneration != m_frameGeneration) {
        while (glGetError() != GL_NO_ERROR) {
        }
        uploadPixels(m_mipTexture);
        glGenerateMipmap(GL_TEXTURE_2D);
        if (glGetError() != GL_NO_ERROR) {
            releaseMipChain();
            return false;
        }
        m_mipGeneration = m_frameGeneration;
    }
    return true;
}

bool CaptureRenderer::ensureReducedTarget(QSize size)
{
    if (m_reducedTexture != 0 && m_reducedSize == size) {
        return true;
    }
    if (m_reducedTexture == 0) {
        glGenTextures(1, &m_reducedTexture);
        glGenFramebuffers(1, &m_reducedFramebuffer);
    }
    glBindTexture(GL_TEXTURE_2D, m_reducedTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size.width(), size.height(), 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, m_reducedFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_reducedTexture,
                           0);
    const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    m_reducedSize = complete ? size : QSize();
    return complete;
}

void CaptureRenderer::drawStrip()
{
    glBindVertexArray(m_vertexArray);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
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
    if (settings.blurEnabled) {
        state = uploadMipChain() ? BlurState::blur : BlurState::failSafe;
    } else if (!uploadPlain()) {
        // The picture does not fit a texture here: nothing of it can be shown.
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        return result;
    }

    // The bound texture: the chain when blurring; otherwise the plain copy (also in the
    // fail-safe state, where the fragment stage never reads it).
    const GLuint bound = state == BlurState::blur ? m_mipTexture : m_plainTexture;
    const int boundWidth = state == BlurState::blur ? m_mipSize.width() : m_frame.width();
    const int boundLevels = state == BlurState::blur ? m_mipLevels : 1;
    const BlurSampling sampling =
        blurSampling(settings.blurBlockPoints, settings.captureScale, boundWidth, boundLevels);
    const float effects[4] = {static_cast<float>(static_cast<int>(state)), sampling.level,
                              sampling.spacing, 0.0f};
    glBindBuffer(GL_UNIFORM_BUFFER, m_effectsBuffer);
    glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof effects, effects);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);
    glBindBufferBase(GL_UNIFORM_BUFFER, 0, m_effectsBuffer);

    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, bound);
    glBindSampler(0, m_plainSampler);
    glActiveTexture(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_2D, bound);
    glBindSampler(1, m_blurSampler);
    glActiveTexture(GL_TEXTURE0);

    result.drewPicture = true;
    result.state = state;
    result.effects = QVector4D(effects[0], effects[1], effects[2], effects[3]);

    QSize reduced;
    if (state == BlurState::blur && settings.path == BlurPath::reduced) {
        const int factor = reductionFor(sampling.level);
        reduced = QSize((m_frame.width() + factor - 1) / factor,
                        (m_frame.height() + factor - 1) / factor);
        // Worth it only where the reduced target is much smaller than the view.
        const qint64 reducedArea = qint64(reduced.width()) * reduced.height();
        const qint64 viewArea = qint64(viewportPixels.width()) * viewportPixels.height();
        if (factor == 1 || reducedArea * 4 > viewArea || !ensureReducedTarget(reduced)) {
            reduced = QSize();
        }
    }

    glUseProgram(m_capturePrograms[settings.stateSpecificProgram ? static_cast<int>(state) : 3]);
    if (reduced.isEmpty()) {
        drawStrip();
    } else {
        glBindFramebuffer(GL_FRAMEBUFFER, m_reducedFramebuffer);
        glViewport(0, 0, reduced.width(), reduced.height());
        drawStrip();
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glViewport(0, 0, viewportPixels.width(), viewportPixels.height());
        glUseProgram(m_presentProgram);
        glBindTexture(GL_TEXTURE_2D, m_reducedTexture);
        glBindSampler(0, m_presentSampler);
        drawStrip();
        result.reducedSize = reduced;
    }
    glUseProgram(0);
    glBindSampler(0, 0);
    glBindSampler(1, 0);
    glActiveTexture(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_2D, 0);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, 0);
    return result;
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
