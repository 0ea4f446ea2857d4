#include "app/SingleInstance.h"

#include "app/AppLog.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QRegularExpression>
#include <QThread>

#include <unistd.h>

namespace lookpane {

namespace {
const QByteArray reopenRequest = QByteArrayLiteral("reopen\n");
// Waits for the lock in short steps: a launch holds it only for a probe and a listen, and
// QLockFile's own wait doubles its pauses up to seconds. Gives up after far longer than any
// launch holds it.
bool takeTurn(QLockFile &lock)
{
    const QDeadlineTimer deadline(std::chrono::seconds(10));
    while (!lock.tryLock(0)) {
        if (deadline.hasExpired() || lock.error() != QLockFile::LockFailedError) {
            return false;
        }
        QThread::msleep(5);
    }
    return true;
}
} // namespace

SingleInstance::SingleInstance(QObject *parent) : QObject(parent) {}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::socketName()
{
    QString display = qEnvironmentVariable("DISPLAY");
    display.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9_.-]")), QStringLiteral("_"));
    return QStringLiteral("Lookpane-%1-%2").arg(::getuid()).arg(display);
}

bool SingleInstance::claim()
{
    const QString name = socketName();
    // Launches that race each other take turns here. Otherwise two of them can both find
    // nobody listening, and the later one removes the earlier one's socket before it listens
    // itself: two Lookpanes, two boxes. The lock lies beside the socket; one left by a process
    // that died holding it is stale at once.
    QLockFile turn(QDir(QDir::tempPath()).filePath(name + QStringLiteral(".lock")));
    if (!takeTurn(turn)) {
        qCWarning(lcApp, "Lookpane: cannot take the launch lock %s (error %d); going on without it",
                  qPrintable(turn.fileName()), static_cast<int>(turn.error()));
    }
    {
        QLocalSocket probe;
        probe.connectToServer(name);
        if (probe.waitForConnected(500)) {
            probe.write(reopenRequest);
            probe.waitForBytesWritten(1000);
            probe.disconnectFromServer();
            return false;
        }
    }
    // Nobody answered: a socket file left by a crashed instance is stale.
    QLocalServer::removeServer(name);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(name)) {
        // Running without the guard is better than not running at all.
        qCWarning(lcApp, "Lookpane: cannot listen on %s: %s", qPrintable(name),
                  qPrintable(m_server->errorString()));
        return true;
    }
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    return true;
}

void SingleInstance::acceptConnections()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (socket->readAll().contains(reopenRequest.trimmed())) {
                Q_EMIT reopenRequested();
            }
        });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }
}

} // namespace lookpane
