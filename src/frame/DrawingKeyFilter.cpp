#include "frame/DrawingKeyFilter.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace lookpane {

DrawingKeyFilter::DrawingKeyFilter(std::function<bool(QObject *, QKeyEvent *)> onKeyPress,
                                   QObject *parent)
    : QObject(parent), m_onKeyPress(std::move(onKeyPress))
{
    QCoreApplication::instance()->installEventFilter(this);
}

DrawingKeyFilter::~DrawingKeyFilter()
{
    if (QCoreApplication *app = QCoreApplication::instance()) {
        app->removeEventFilter(this);
    }
}

bool DrawingKeyFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress && m_onKeyPress) {
        return m_onKeyPress(watched, static_cast<QKeyEvent *>(event));
    }
    return false;
}

} // namespace lookpane
