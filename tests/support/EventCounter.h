#pragma once

#include <QEvent>
#include <QMouseEvent>
#include <QObject>
#include <QPoint>

#include <vector>

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

// Keeps where each mouse press that reaches the objects it is installed on happened (global
// coordinates), in order, passing them on: a test can tell which click arrived, not only how
// many.
class PressPlaces : public QObject
{
public:
    std::vector<QPoint> places;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::MouseButtonPress) {
            places.push_back(static_cast<QMouseEvent *>(event)->globalPosition().toPoint());
        }
        return false;
    }
};

} // namespace lookpane::testing
