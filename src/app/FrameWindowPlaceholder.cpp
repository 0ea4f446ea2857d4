#include "app/FrameWindowPlaceholder.h"

#include "model/FramePreferences.h"
#include "model/ScreenCoordinates.h"

#include <QCloseEvent>
#include <QPalette>

namespace lookpane {

FrameWindowPlaceholder::FrameWindowPlaceholder(FramePreferences &preferences, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint), m_preferences(preferences)
{
    setWindowTitle(QStringLiteral("Lookpane"));
    QPalette black = palette();
    black.setColor(QPalette::Window, Qt::black);
    setPalette(black);
    setAutoFillBackground(true);
    const QRectF restored = qtRectFromDesign(m_preferences.restoredFrame(), primaryScreenHeight());
    setGeometry(restored.toAlignedRect());
}

QRectF FrameWindowPlaceholder::designFrame() const
{
    return designRectFromQt(QRectF(geometry()), primaryScreenHeight());
}

void FrameWindowPlaceholder::saveFrame()
{
    m_preferences.saveFrame(designFrame());
}

void FrameWindowPlaceholder::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    if (isVisible()) {
        saveFrame();
    }
}

void FrameWindowPlaceholder::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (isVisible()) {
        saveFrame();
    }
}

void FrameWindowPlaceholder::closeEvent(QCloseEvent *event)
{
    saveFrame();
    QWidget::closeEvent(event);
}

} // namespace lookpane
