#pragma once

#include <QEvent>
#include <QObject>

namespace lookpane::testing {

// Counts the events of one type that reach the objects it is installed on, passing them on.
class EventCounter : public QObject
{
public:
    explicit EventCounter(QEvent::Type type) : m_type(type) {}

    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == m_type) {
            ++count;
        }
        return false;
    }

private:
    QEvent::Type m_type;
};

} // namespace lookpane::testing
