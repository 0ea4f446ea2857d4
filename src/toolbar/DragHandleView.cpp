#include "toolbar/DragHandleView.h"

#include "model/ScreenCoordinates.h"

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
    Q_EMIT dragged(screenOffsetFromQt(event->globalPosition() - *m_dragOrigin));
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
