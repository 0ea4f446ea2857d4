#include "toolbar/DragHandleView.h"

#include "model/DevicePixels.h"
#include "model/ScreenCoordinates.h"

#include <QMouseEvent>
#include <QScreen>

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
    m_pressDevicePosition = devicePositionFromQt(event->globalPosition(), currentDeviceScreens());
    const QScreen *screen = window()->screen();
    m_pressScale = screen && screen->devicePixelRatio() > 0 ? screen->devicePixelRatio() : 1.0;
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
    const QPointF device = devicePositionFromQt(event->globalPosition(), currentDeviceScreens());
    Q_EMIT dragged(screenOffsetFromQt((device - m_pressDevicePosition) / m_pressScale));
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
