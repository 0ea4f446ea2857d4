#include "toolbar/ToolbarPanel.h"

#include "platform/x11/X11DesktopHints.h"
#include "platform/x11/X11WindowTraits.h"
#include "toolbar/DragHandleView.h"

#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace lookpane {

namespace {

constexpr qreal cornerRadius = 10.0;

} // namespace

ToolbarPanel::ToolbarPanel(QWidget *parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus |
                          Qt::WindowStaysOnTopHint),
      m_dragHandle(new DragHandleView(this))
{
    setWindowTitle(QStringLiteral("Lookpane toolbar"));
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    // The panel is never the active window, and its controls still explain themselves.
    setAttribute(Qt::WA_AlwaysShowToolTips);
    setAttribute(Qt::WA_X11NetWmWindowTypeUtility);
    // Qt lists "normal" after "utility", and meeting applications offer every window that
    // lists it in their window pickers.
    X11WindowTraits::setWindowType(this, X11WindowTraits::WindowType::utility);
    setFocusPolicy(Qt::NoFocus);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_dragHandle);
}

QColor ToolbarPanel::translucentFill()
{
    return {30, 30, 32, 236};
}

QColor ToolbarPanel::opaqueFill()
{
    return {38, 38, 40};
}

void ToolbarPanel::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    x11::showOnAllDesktops(this);
}

void ToolbarPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    m_paintedTranslucent = x11::isCompositingManagerRunning();
    if (!m_paintedTranslucent) {
        // Nothing would blend the corners with the desktop: they would show as black.
        painter.fillRect(rect(), opaqueFill());
        painter.fillRect(QRect(0, 0, width(), 1), QColor(255, 255, 255, 30));
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    QPainterPath strip;
    strip.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    painter.fillPath(strip, translucentFill());
    painter.setPen(QPen(QColor(255, 255, 255, 36), 1.0));
    painter.drawPath(strip);
}

} // namespace lookpane
