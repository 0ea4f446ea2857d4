#include "app/SingleInstance.h"

#include "app/AppLog.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QRegularExpression>

#include <unistd.h>

namespace lookpane {

namespace {
const QByteArray reopenRequest = QByteArrayLiteral("reopen\n");
}

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
