#pragma once

#include <QObject>

#include <functional>

class QKeyEvent;

namespace lookpane {

// An application-wide key filter, installed only while the frame is in drawing mode, that
// offers every key press to its owner first. The owner answers whether it took the key.
class DrawingKeyFilter : public QObject
{
    Q_OBJECT
public:
    explicit DrawingKeyFilter(std::function<bool(QObject *receiver, QKeyEvent *event)> onKeyPress,
                              QObject *parent = nullptr);
    ~DrawingKeyFilter() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::function<bool(QObject *, QKeyEvent *)> m_onKeyPress;
};

} // namespace lookpane
