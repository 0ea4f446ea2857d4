#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

namespace lookpane {

// One Lookpane per user and display: the first process listens on a local socket named after
// the user and the X display; a later one connects, asks the first to reopen (show its frame)
// and then exits.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    explicit SingleInstance(QObject *parent = nullptr);
    ~SingleInstance() override;

    // True when this process is the one instance (it now listens); false when another
    // instance answered and was asked to reopen.
    bool claim();

    // The socket name for the current user and display.
    static QString socketName();

Q_SIGNALS:
    // In the one instance: another launch asked it to show itself.
    void reopenRequested();

private:
    void acceptConnections();

    QLocalServer *m_server = nullptr;
};

} // namespace lookpane
