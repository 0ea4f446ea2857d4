#include "annotation/canvas/AnnotationCanvasView.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lookpane {

namespace {

const QColor haloColor(0, 0, 0, qRound(0.45 * 255));
// Half-angle of the arrow head: part of the look.
constexpr double headHalfAngle = std::numbers::pi / 7.0;

QPointF toWidget(QPointF unit, QSizeF size)
{
    return {unit.x() * size.width(), (1.0 - unit.y()) * size.height()};
}

double distance(QPointF a, QPointF b)
{
    return std::hypot(b.x() - a.x(), b.y() - a.y());
}

} // namespace

AnnotationCanvasView::AnnotationCanvasView(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
    setAttribute(Qt::WA_TransparentForMouseEvents, true);
}

void AnnotationCanvasView::setAnnotations(std::vector<Annotation> annotations)
{
    m_annotations = std::move(annotations);
    update();
    Q_EMIT annotationsChanged();
}

void AnnotationCanvasView::setEditing(bool editing)
{
    if (m_isEditing == editing) {
        return;
    }
    m_isEditing = editing;
    m_dragOrigin.reset();
    setAttribute(Qt::WA_TransparentForMouseEvents, !editing);
    if (editing) {
        setCursor(Qt::CrossCursor);
    } else {
        unsetCursor();
    }
}

QPointF AnnotationCanvasView::unitPoint(QPointF widgetPosition) const
{
    const double w = width();
    const double h = height();
    if (!(w > 0.0 && h > 0.0)) {
        return {0.0, 0.0};
    }
    const double x = widgetPosition.x() / w;
    const double y = (h - widgetPosition.y()) / h;
    return {std::clamp(x, 0.0, 1.0), std::clamp(y, 0.0, 1.0)};
}

void AnnotationCanvasView::reportDraft(const Annotation &draft)
{
    Q_EMIT draftChanged(draft);
}

void AnnotationCanvasView::mousePressEvent(QMouseEvent *event)
{
    if (!m_isEditing || event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const QPointF p = unitPoint(event->position());
    m_dragOrigin = p;
    reportDraft(Annotation{m_tool, m_color, {p, p}, newMarkLineWidth});
}

void AnnotationCanvasView::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_isEditing || !m_dragOrigin) {
        event->ignore();
        return;
    }
    const QPointF p = unitPoint(event->position());
    if (m_tool == AnnotationTool::freehand) {
        if (!m_currentFreehandPoints.empty()) {
            const QPointF last = m_currentFreehandPoints.back();
            if (std::abs(last.x() - p.x()) < freehandThinning &&
                std::abs(last.y() - p.y()) < freehandThinning) {
                return;
            }
        }
        // The press point is not seeded: from the first drag on, this stroke replaces the
        // two-point draft of the press.
        m_currentFreehandPoints.push_back(p);
        reportDraft(Annotation{AnnotationTool::freehand, m_color, m_currentFreehandPoints,
                               newMarkLineWidth});
        return;
    }
    reportDraft(Annotation{m_tool, m_color, {*m_dragOrigin, p}, newMarkLineWidth});
}

void AnnotationCanvasView::mouseReleaseEvent(QMouseEvent *event)
{
    if (!m_isEditing || !m_dragOrigin || event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_dragOrigin.reset();
    m_currentFreehandPoints.clear();
    Q_EMIT committed();
}

double AnnotationCanvasView::strokeWidth(const Annotation &mark, QSizeF canvasSize)
{
    return std::max(1.5, mark.unitLineWidth * std::min(canvasSize.width(), canvasSize.height()));
}

double AnnotationCanvasView::haloWidth(double lineWidth)
{
    return lineWidth + std::max(2.0, 0.7 * lineWidth);
}

double AnnotationCanvasView::arrowHeadLength(double d, double lineWidth)
{
    return d > 1.0 ? std::min(0.6 * d, std::max(4.0 * lineWidth, 10.0)) : 0.0;
}

QPainterPath AnnotationCanvasView::path(const Annotation &mark, double lineWidth, QSizeF canvasSize)
{
    QPainterPath result;
    if (mark.points.size() < 2) {
        return result;
    }
    const QPointF first = toWidget(mark.points.front(), canvasSize);
    const QPointF last = toWidget(mark.points.back(), canvasSize);
    switch (mark.tool) {
    case AnnotationTool::freehand:
        result.moveTo(first);
        for (std::size_t i = 1; i < mark.points.size(); ++i) {
            result.lineTo(toWidget(mark.points[i], canvasSize));
        }
        break;
    case AnnotationTool::line:
        result.moveTo(first);
        result.lineTo(last);
        break;
    case AnnotationTool::arrow: {
        const double d = distance(first, last);
        const double headLength = arrowHeadLength(d, lineWidth);
        result.moveTo(first);
        if (d > 0.0) {
            // The shaft stops inside the head so its round cap never pokes out of the tip.
            result.lineTo(last + (first - last) / d * (0.8 * headLength));
        } else {
            result.lineTo(last);
        }
        break;
    }
    case AnnotationTool::rectangle:
        result.addRect(QRectF(first, last).normalized());
        break;
    case AnnotationTool::ellipse:
        result.addEllipse(QRectF(first, last).normalized());
        break;
    }
    return result;
}

QPolygonF AnnotationCanvasView::arrowHead(const Annotation &mark, double lineWidth,
                                          QSizeF canvasSize)
{
    if (mark.points.size() < 2) {
        return {};
    }
    const QPointF tail = toWidget(mark.points.front(), canvasSize);
    const QPointF tip = toWidget(mark.points.back(), canvasSize);
    const double d = distance(tail, tip);
    if (!(d > 1.0)) {
        return {};
    }
    const double angle = std::atan2(tip.y() - tail.y(), tip.x() - tail.x());
    const double headLength = arrowHeadLength(d, lineWidth);
    const QPointF left = tip - headLength * QPointF(std::cos(angle - headHalfAngle),
                                                    std::sin(angle - headHalfAngle));
    const QPointF right = tip - headLength * QPointF(std::cos(angle + headHalfAngle),
                                                     std::sin(angle + headHalfAngle));
    return QPolygonF({tip, left, right, tip});
}

void AnnotationCanvasView::paintEvent(QPaintEvent *)
{
    if (m_annotations.empty()) {
        return;
    }
    QPainter painter(this);
    paintAnnotations(painter, m_annotations, size());
}

void AnnotationCanvasView::paintAnnotations(QPainter &painter,
                                            const std::vector<Annotation> &annotations,
                                            QSizeF canvasSize)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Annotation &mark : annotations) {
        if (mark.points.size() < 2) {
            continue;
        }
        const double w = strokeWidth(mark, canvasSize);
        const QPainterPath outline = path(mark, w, canvasSize);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(haloColor, haloWidth(w), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(outline);
        const QColor markColor = lookpane::color(mark.color);
        painter.setPen(QPen(markColor, w, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(outline);
        if (mark.tool == AnnotationTool::arrow) {
            const QPolygonF head = arrowHead(mark, w, canvasSize);
            if (!head.isEmpty()) {
                QPainterPath triangle;
                triangle.addPolygon(head);
                triangle.closeSubpath();
                painter.setPen(QPen(haloColor, std::max(2.0, 0.7 * w), Qt::SolidLine, Qt::RoundCap,
                                    Qt::RoundJoin));
                painter.drawPath(triangle);
                painter.fillPath(triangle, markColor);
            }
        }
    }
    painter.restore();
}

} // namespace lookpane
