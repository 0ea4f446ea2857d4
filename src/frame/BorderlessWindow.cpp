#include "frame/BorderlessWindow.h"

#include "frame/EdgeResize.h"
#include "model/DevicePixels.h"

#include <QCloseEvent>
#include <QMouseEvent>
#include <QScreen>

namespace lookpane {

BorderlessWindow::BorderlessWindow(QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint)
{
    setMouseTracking(true);
}

void BorderlessWindow::setAspect(const std::optional<QSize> &aspect)
{
    m_aspect = aspect;
}

void BorderlessWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_startGeometry = geometry();
    const std::vector<DeviceScreen> screens = currentDeviceScreens();
    m_pressDevicePosition = devicePositionFromQt(event->globalPosition(), screens);
    const QScreen *onScreen = screen();
    const DeviceScreen own = onScreen
                                 ? DeviceScreen{onScreen->geometry(), onScreen->devicePixelRatio()}
                                 : DeviceScreen{};
    m_startDevicePosition = devicePixelPosition(m_startGeometry.topLeft(), own);
    m_startScale = own.scale > 0 ? own.scale : 1.0;
    m_edges = resizeEdgesAt(event->position());
    if (m_edges) {
        m_drag = Drag::resizing;
        Q_EMIT liveResizeBegan();
    } else if (m_movableByBackground) {
        m_drag = Drag::moving;
    }
    event->accept();
}

void BorderlessWindow::mouseMoveEvent(QMouseEvent *event)
{
    switch (m_drag) {
    case Drag::none:
        updateCursor(event->position());
        break;
    case Drag::moving: {
        // The corner moves by the pixels the pointer moved and is mapped to points once, by
        // the screen that then holds the window: no jump where the pointer changes monitors.
        const std::vector<DeviceScreen> screens = currentDeviceScreens();
        const QPointF moved =
            devicePositionFromQt(event->globalPosition(), screens) - m_pressDevicePosition;
        const QScreen *onScreen = screen();
        const std::optional<DeviceScreen> own =
            onScreen
                ? std::optional(DeviceScreen{onScreen->geometry(), onScreen->devicePixelRatio()})
                : std::nullopt;
        move(
            qtPositionForDevicePixel(QPointF(m_startDevicePosition) + moved, size(), screens, own));
        break;
    }
    case Drag::resizing: {
        // The size changes by the pixels the pointer moved, in points of the window's screen.
        const QPointF delta =
            (devicePositionFromQt(event->globalPosition(), currentDeviceScreens()) -
             m_pressDevicePosition) /
            m_startScale;
        const QRectF next = EdgeResize::resized(QRectF(m_startGeometry), m_edges, delta, m_aspect,
                                                QSizeF(minimumSize()));
        setGeometry(next.toRect());
        break;
    }
    }
    event->accept();
}

void BorderlessWindow::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    const Drag finished = m_drag;
    m_drag = Drag::none;
    if (finished == Drag::resizing) {
        Q_EMIT liveResizeEnded();
    }
    event->accept();
}

Qt::Edges BorderlessWindow::resizeEdgesAt(const QPointF &position) const
{
    if (!m_resizable) {
        return {};
    }
    return EdgeResize::resizeEdgesAt(position, QSizeF(size()), edgeBand, EdgeResize::resizeGrip);
}

void BorderlessWindow::updateCursor(const QPointF &position)
{
    const Qt::Edges edges = resizeEdgesAt(position);
    Qt::CursorShape shape = Qt::ArrowCursor;
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge)) {
        shape = Qt::SizeFDiagCursor;
    } else if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge)) {
        shape = Qt::SizeBDiagCursor;
    } else if (edges & (Qt::LeftEdge | Qt::RightEdge)) {
        shape = Qt::SizeHorCursor;
    } else if (edges & (Qt::TopEdge | Qt::BottomEdge)) {
        shape = Qt::SizeVerCursor;
    } else if (m_movableByBackground) {
        shape = Qt::OpenHandCursor;
    }
    if (cursor().shape() != shape) {
        setCursor(shape);
    }
}

void BorderlessWindow::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    Q_EMIT moved();
}

void BorderlessWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    Q_EMIT resized();
}

void BorderlessWindow::closeEvent(QCloseEvent *event)
{
    // Lookpane's windows live as long as the application; closing one hides Lookpane.
    event->ignore();
    Q_EMIT closeRequested();
}

} // namespace lookpane
