#include "frame/ApplicationEventTap.h"

#include <QCoreApplication>

namespace lookpane {

ApplicationEventTap::ApplicationEventTap(std::function<bool(QObject *, QEvent *)> onEvent,
                                         QObject *parent)
    : QObject(parent), m_onEvent(std::move(onEvent))
{
    QCoreApplication::instance()->installEventFilter(this);
}

ApplicationEventTap::~ApplicationEventTap()
{
    if (QCoreApplication *app = QCoreApplication::instance()) {
        app->removeEventFilter(this);
    }
}

bool ApplicationEventTap::eventFilter(QObject *watched, QEvent *event)
{
    return m_onEvent && m_onEvent(watched, event);
}

} // namespace lookpane
