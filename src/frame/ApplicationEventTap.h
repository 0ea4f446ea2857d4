#pragma once

#include <QObject>

#include <functional>

class QEvent;

namespace lookpane {

// Sees every event of the application before its receiver does, for as long as it lives: the
// in-application monitors of the frame window controller (drawing keys, the end of a mouse
// drag). The owner answers whether it took the event.
class ApplicationEventTap : public QObject
{
    Q_OBJECT
public:
    explicit ApplicationEventTap(std::function<bool(QObject *receiver, QEvent *event)> onEvent,
                                 QObject *parent = nullptr);
    ~ApplicationEventTap() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::function<bool(QObject *, QEvent *)> m_onEvent;
};

} // namespace lookpane
