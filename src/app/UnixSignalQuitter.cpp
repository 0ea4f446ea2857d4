#include "app/UnixSignalQuitter.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lookpane {

namespace {
// The write end of the socket pair, for the async-signal-safe handler: the one piece of
// process-wide state a signal handler can reach.
int signalWriteFd = -1;
int signalReadFd = -1;

void writeSignalByte(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalWriteFd, &byte, 1);
}
} // namespace

UnixSignalQuitter::UnixSignalQuitter(QObject *parent) : QObject(parent)
{
    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
        return;
    }
    signalWriteFd = fds[0];
    signalReadFd = fds[1];
    m_notifier = new QSocketNotifier(signalReadFd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignalQuitter::handleSignal);

    struct sigaction action = {};
    action.sa_handler = &writeSignalByte;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaction(signalNumber, &action, nullptr);
    }
}

UnixSignalQuitter::~UnixSignalQuitter()
{
    if (!m_notifier) {
        return;
    }
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    for (const int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaction(signalNumber, &action, nullptr);
    }
    ::close(signalWriteFd);
    ::close(signalReadFd);
    signalWriteFd = -1;
    signalReadFd = -1;
}

void UnixSignalQuitter::handleSignal()
{
    char byte = 0;
    [[maybe_unused]] const ssize_t count = ::read(signalReadFd, &byte, 1);
    // Not quit(), which a window that refuses to close cancels: Lookpane's windows refuse
    // (closing one hides Lookpane), and a signal to end must end it.
    QCoreApplication::exit(0);
}

} // namespace lookpane
