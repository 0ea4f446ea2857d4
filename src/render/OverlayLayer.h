#pragma once

#include <QImage>
#include <QOpenGLExtraFunctions>
#include <QRect>
#include <QSize>

#include <functional>
#include <vector>

class QPainter;

namespace lookpane {

// What a native capture window shows above its picture (the annotation marks), painted by
// Qt's raster painter into an image whenever it changes and laid over each drawn picture as a
// texture. Only the 16-pixel tiles of the image that hold something are drawn, so a view with
// no marks pays nothing and a mark costs about its own area. Painting on
// the CPU also spares the window a stencil buffer, without which a software rasteriser fills
// the picture itself on its fast path. Lives in one GL context, current for every call.
class OverlayLayer : protected QOpenGLExtraFunctions
{
public:
    using Painter = std::function<void(QPainter &, QSizeF)>;

    OverlayLayer() = default;
    ~OverlayLayer();
    OverlayLayer(const OverlayLayer &) = delete;
    OverlayLayer &operator=(const OverlayLayer &) = delete;

    // False (with a reason) when the context cannot run the program.
    bool initialize();
    const QString &failureReason() const { return m_failureReason; }
    // Forgets every GL name without deleting it, for a context that is already gone.
    void abandon() { m_initialized = false; }

    // What to paint (logical coordinates, y down); the image is painted again at the next
    // draw after this or after invalidate().
    void setPainter(Painter painter);
    void invalidate() { m_dirty = true; }

    // Blends the overlay over what `framebuffer` holds, `pixels` large at `devicePixelRatio`.
    void draw(GLuint framebuffer, QSize pixels, qreal devicePixelRatio);

    // The areas drawn by the last draw, in pixels (y down); empty when nothing shows.
    const std::vector<QRect> &coveredAreas() const { return m_areas; }

    // The tile-aligned rectangles of `image` that hold any pixel that is not fully
    // transparent, neighbouring tiles of a row merged.
    static std::vector<QRect> paintedAreas(const QImage &image, int tile);

private:
    void repaint(QSize pixels, qreal devicePixelRatio);

    QString m_failureReason;
    bool m_initialized = false;
    bool m_gles = false;
    Painter m_painter;
    bool m_dirty = true;
    QImage m_image;
    std::vector<QRect> m_areas;
    GLuint m_program = 0;
    GLint m_viewSizeLocation = -1;
    GLuint m_vertexArray = 0;
    GLuint m_vertexBuffer = 0;
    GLuint m_texture = 0;
    QSize m_textureSize;
    int m_vertexCount = 0;
};

} // namespace lookpane
