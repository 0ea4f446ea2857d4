#pragma once

#include "annotation/Annotation.h"
#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"

#include <QPainterPath>
#include <QPolygonF>
#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QPainter;

namespace lookpane {

// The transparent surface over the mirrored picture: paints the marks its owner hands it and,
// in drawing mode, turns mouse gestures into drafts and commit requests. Marks are in unit
// coordinates with y up (0 at the bottom); the conversion to the widget's y-down pixels
// happens here and nowhere else.
class AnnotationCanvasView : public QWidget
{
    Q_OBJECT

public:
    explicit AnnotationCanvasView(QWidget *parent = nullptr);

    void setAnnotations(std::vector<Annotation> annotations);
    const std::vector<Annotation> &annotations() const { return m_annotations; }
    void setTool(AnnotationTool tool) { m_tool = tool; }
    AnnotationTool tool() const { return m_tool; }
    void setColor(AnnotationColor value) { m_color = value; }
    AnnotationColor color() const { return m_color; }

    // Drawing mode. Outside it the canvas lets every mouse event through to what lies
    // beneath; a change ends any gesture under way and shows or removes the crosshair.
    void setEditing(bool editing);
    bool isEditing() const { return m_isEditing; }
    bool isDragging() const { return m_dragOrigin.has_value(); }

    // A widget position (y down) as a unit point (y up), clamped to 0...1; (0, 0) on a canvas
    // without area.
    QPointF unitPoint(QPointF widgetPosition) const;

    // Geometry of a mark on a canvas of `canvasSize`, in widget coordinates (y down).
    static double strokeWidth(const Annotation &mark, QSizeF canvasSize);
    static double haloWidth(double lineWidth);
    static double arrowHeadLength(double distance, double lineWidth);
    static QPainterPath path(const Annotation &mark, double lineWidth, QSizeF canvasSize);
    // The closed head triangle of an arrow; empty when its ends are 1 point apart or less.
    static QPolygonF arrowHead(const Annotation &mark, double lineWidth, QSizeF canvasSize);

    // Paints `annotations` (halo, then stroke, then an arrow's head) on a canvas of
    // `canvasSize`; used by the canvas and by surfaces that draw the marks themselves.
    static void paintAnnotations(QPainter &painter, const std::vector<Annotation> &annotations,
                                 QSizeF canvasSize);

    static constexpr double newMarkLineWidth = 0.005;
    static constexpr double freehandThinning = 0.002;

Q_SIGNALS:
    // The mark being drawn, after every accepted press or drag step.
    void draftChanged(const lookpane::Annotation &draft);
    // The end of a gesture (mouse release), whether or not the draft will be kept.
    void committed();
    // After the marks changed (a surface that paints them itself follows them).
    void annotationsChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void reportDraft(const Annotation &draft);

    std::vector<Annotation> m_annotations;
    AnnotationTool m_tool = AnnotationTool::arrow;
    AnnotationColor m_color = AnnotationColor::red;
    bool m_isEditing = false;
    std::optional<QPointF> m_dragOrigin;
    std::vector<QPointF> m_currentFreehandPoints;
};

} // namespace lookpane
