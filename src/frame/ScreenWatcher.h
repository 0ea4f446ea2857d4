#pragma once

#include <QObject>
#include <QTimer>

class QScreen;

namespace lookpane {

// Reports when the screens change while Lookpane runs: a monitor plugged in or unplugged (a
// RandR monitor added or removed), moved, resized or scaled, its panels changed, or another
// screen made the primary one. Changes that arrive together (a monitor removed and the
// primary screen changed with it) are reported once, from the event loop, when Qt has applied
// them all, so the screens read then are the new ones.
class ScreenWatcher : public QObject
{
    Q_OBJECT
public:
    explicit ScreenWatcher(QObject *parent = nullptr);

Q_SIGNALS:
    void screensChanged();

private:
    void watch(QScreen *screen);
    void schedule();

    QTimer m_coalesce;
};

} // namespace lookpane
