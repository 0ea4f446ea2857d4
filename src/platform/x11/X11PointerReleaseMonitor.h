#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace lookpane::x11 {

class XcbConnection;

// Reports every release of the left mouse button anywhere on the screen, in whatever
// application it happens, on the Qt event loop: XInput 2 raw button events selected on the
// root window over a connection of its own (Qt's own connection keeps its own selections on
// the root window untouched).
class X11PointerReleaseMonitor : public QObject
{
    Q_OBJECT

public:
    // The monitor, or none (with the reason in `failure`) when the display cannot be reached
    // or offers no XInput 2.2.
    static std::unique_ptr<X11PointerReleaseMonitor> create(QString *failure);
    ~X11PointerReleaseMonitor() override;

Q_SIGNALS:
    void leftButtonReleased();

private:
    X11PointerReleaseMonitor(std::unique_ptr<XcbConnection> connection, int inputOpcode);
    void readEvents();

    std::unique_ptr<XcbConnection> m_connection;
    int m_inputOpcode = 0;
    QSocketNotifier *m_notifier = nullptr; // child of this object
};

} // namespace lookpane::x11
