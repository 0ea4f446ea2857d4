#include "toolbar/DragHandleView.h"

#include <QMouseEvent>

namespace lookpane {

DragHandleView::DragHandleView(QWidget *parent) : QWidget(parent)
{
    setCursor(Qt::OpenHandCursor);
}

void DragHandleView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_dragOrigin = event->globalPosition();
    event->accept();
    Q_EMIT dragBegan();
}

void DragHandleView::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_dragOrigin) {
        QWidget::mouseMoveEvent(event);
        return;
    }
    event->accept();
    const QPointF step = event->globalPosition() - *m_dragOrigin;
    // Qt's y grows downwards; the frame's geometry grows upwards.
    const QPointF offset(step.x(), -step.y());
    Q_EMIT dragged(offset);
}

void DragHandleView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    m_dragOrigin.reset();
    event->accept();
}

} // namespace lookpane
