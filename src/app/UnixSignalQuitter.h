#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace lookpane {

// Turns SIGTERM, SIGINT and SIGHUP into an orderly end of the event loop
// (QCoreApplication::exit), so that a terminated Lookpane still stops capture and saves its
// frames. The signal handler only writes a byte to a socket pair; everything else happens on
// the main thread.
class UnixSignalQuitter : public QObject
{
    Q_OBJECT
public:
    explicit UnixSignalQuitter(QObject *parent = nullptr);
    ~UnixSignalQuitter() override;

    bool isInstalled() const { return m_notifier != nullptr; }

private:
    void handleSignal();

    QSocketNotifier *m_notifier = nullptr;
};

} // namespace lookpane
