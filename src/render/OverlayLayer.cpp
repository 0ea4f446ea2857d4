#include "render/OverlayLayer.h"

#include "render/CaptureShaders.h"
#include "render/GlProgram.h"

#include <QOpenGLContext>
#include <QPainter>

#include <algorithm>

namespace lookpane {

namespace {

constexpr int tileSize = 16;

// Corners in pixels, y down; the image's first row is its top, as uploaded.
constexpr char vertexBody[] = R"(
uniform vec2 viewSize;
layout(location = 0) in vec2 corner;
out vec2 texCoord;

void main()
{
    texCoord = corner / viewSize;
    gl_Position = vec4(texCoord.x * 2.0 - 1.0, 1.0 - texCoord.y * 2.0, 0.0, 1.0);
}
)";

} // namespace

OverlayLayer::~OverlayLayer()
{
    if (!m_initialized) {
        return;
    }
    glDeleteTextures(1, &m_texture);
    glDeleteBuffers(1, &m_vertexBuffer);
    glDeleteVertexArrays(1, &m_vertexArray);
    glDeleteProgram(m_program);
}

bool OverlayLayer::initialize()
{
    if (QOpenGLContext::currentContext() == nullptr) {
        m_failureReason = QStringLiteral("no current OpenGL context");
        return false;
    }
    initializeOpenGLFunctions();
    m_gles = QOpenGLContext::currentContext()->isOpenGLES();
    m_program = linkProgram(*this, shaderHeader(m_gles, false) + vertexBody,
                            copyFragmentShader(m_gles), m_failureReason);
    if (m_program == 0) {
        return false;
    }
    glUseProgram(m_program);
    // The texture holds premultiplied colour, blended with (one, one minus source alpha).
    glUniform1i(glGetUniformLocation(m_program, "source"), 0);
    m_viewSizeLocation = glGetUniformLocation(m_program, "viewSize");
    glUseProgram(0);

    glGenVertexArrays(1, &m_vertexArray);
    glGenBuffers(1, &m_vertexBuffer);
    glBindVertexArray(m_vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, m_vertexBuffer);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);

    glGenTextures(1, &m_texture);
    glBindTexture(GL_TEXTURE_2D, m_texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    glBindTexture(GL_TEXTURE_2D, 0);
    m_initialized = true;
    return true;
}

void OverlayLayer::setPainter(Painter painter)
{
    m_painter = std::move(painter);
    m_dirty = true;
}

std::vector<QRect> OverlayLayer::paintedAreas(const QImage &image, int tile)
{
    std::vector<QRect> areas;
    const int width = image.width();
    const int height = image.height();
    for (int top = 0; top < height; top += tile) {
        const int rows = std::min(tile, height - top);
        int runStart = -1;
        // One step past the last tile closes a run that reaches the right edge.
        const int columnsOfTiles = (width + tile - 1) / tile;
        for (int column = 0; column <= columnsOfTiles; ++column) {
            const int left = std::min(column * tile, width);
            bool painted = false;
            if (column < columnsOfTiles) {
                const int columns = std::min(tile, width - left);
                for (int y = top; y < top + rows && !painted; ++y) {
                    const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
                    for (int x = left; x < left + columns; ++x) {
                        if (qAlpha(line[x]) != 0) {
                            painted = true;
                            break;
                        }
                    }
                }
            }
            if (painted && runStart < 0) {
                runStart = left;
            } else if (!painted && runStart >= 0) {
                areas.emplace_back(runStart, top, left - runStart, rows);
                runStart = -1;
            }
        }
    }
    return areas;
}

void OverlayLayer::repaint(QSize pixels, qreal devicePixelRatio)
{
    // ARGB32 premultiplied is BGRA in memory on little-endian machines: the texture takes it
    // as it is. OpenGL ES has no BGRA upload, so there the image is kept as RGBA.
    const QImage::Format format =
        m_gles ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_ARGB32_Premultiplied;
    if (m_image.size() != pixels || m_image.format() != format) {
        m_image = QImage(pixels, format);
    }
    m_image.setDevicePixelRatio(devicePixelRatio);
    m_image.fill(Qt::transparent);
    if (m_painter) {
        QPainter painter(&m_image);
        m_painter(painter, QSizeF(pixels) / devicePixelRatio);
    }
    m_areas = paintedAreas(m_image, tileSize);
    m_dirty = false;

    std::vector<float> corners;
    corners.reserve(m_areas.size() * 12);
    for (const QRect &area : m_areas) {
        const float x0 = static_cast<float>(area.left());
        const float y0 = static_cast<float>(area.top());
        const float x1 = static_cast<float>(area.left() + area.width());
        const float y1 = static_cast<float>(area.top() + area.height());
        corners.insert(corners.end(), {x0, y0, x1, y0, x0, y1, x0, y1, x1, y0, x1, y1});
    }
    m_vertexCount = static_cast<int>(corners.size() / 2);
    glBindBuffer(GL_ARRAY_BUFFER, m_vertexBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(corners.size() * sizeof(float)),
                 corners.data(), GL_DYNAMIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    if (m_areas.empty()) {
        return;
    }

    glBindTexture(GL_TEXTURE_2D, m_texture);
    const GLenum uploadFormat = m_gles ? GL_RGBA : GL_BGRA;
    const GLenum uploadType = m_gles ? GL_UNSIGNED_BYTE : GL_UNSIGNED_INT_8_8_8_8_REV;
    if (m_textureSize != pixels) {
        glTexImage2D(GL_TEXTURE_2D, 0, m_gles ? GL_RGBA8 : GL_RGBA, pixels.width(), pixels.height(),
                     0, uploadFormat, uploadType, nullptr);
        m_textureSize = pixels;
    }
    // Only what is drawn is read: the painted areas alone go to the GPU (while a mark is
    // drawn, a few strips instead of the whole view at every move of the mouse).
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, static_cast<GLint>(m_image.bytesPerLine() / 4));
    for (const QRect &area : m_areas) {
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, area.x());
        glPixelStorei(GL_UNPACK_SKIP_ROWS, area.y());
        glTexSubImage2D(GL_TEXTURE_2D, 0, area.x(), area.y(), area.width(), area.height(),
                        uploadFormat, uploadType, m_image.constBits());
    }
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glBindTexture(GL_TEXTURE_2D, 0);
}

void OverlayLayer::draw(GLuint framebuffer, QSize pixels, qreal devicePixelRatio)
{
    if (!m_initialized || pixels.isEmpty()) {
        return;
    }
    if (m_dirty || m_image.size() != pixels) {
        repaint(pixels, devicePixelRatio);
    }
    if (m_vertexCount == 0) {
        return;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glViewport(0, 0, pixels.width(), pixels.height());
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glUseProgram(m_program);
    glUniform2f(m_viewSizeLocation, static_cast<float>(pixels.width()),
                static_cast<float>(pixels.height()));
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, m_texture);
    glBindVertexArray(m_vertexArray);
    glDrawArrays(GL_TRIANGLES, 0, m_vertexCount);
    glBindVertexArray(0);
    glBindTexture(GL_TEXTURE_2D, 0);
    glUseProgram(0);
    glDisable(GL_BLEND);
}

} // namespace lookpane
