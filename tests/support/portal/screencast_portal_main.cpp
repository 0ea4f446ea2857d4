// The test ScreenCast portal as a process of its own, on the session bus that
// DBUS_SESSION_BUS_ADDRESS names, with PipeWire at $XDG_RUNTIME_DIR/pipewire-0. Prints "ready"
// once it owns org.freedesktop.portal.Desktop.
//
//   lookpane_screencast_portal [--format BGRx|RGBx|BGRA|RGBA] [--size WxH] [--position X,Y]
//                              [--memptr] [--no-placement] [--cursor-modes N]
//                              [--respond-before-reply]

#include "ScreenCastPortalService.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QStringList>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    lookpane::testing::PortalServiceSettings settings;
    const QStringList arguments = QCoreApplication::arguments();
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        const QString value = i + 1 < arguments.size() ? arguments.at(i + 1) : QString();
        if (argument == QLatin1String("--format")) {
            settings.producer.format = value;
            ++i;
        } else if (argument == QLatin1String("--size")) {
            const QStringList parts = value.split(QLatin1Char('x'));
            settings.producer.size = QSize(parts.value(0).toInt(), parts.value(1).toInt());
            ++i;
        } else if (argument == QLatin1String("--position")) {
            const QStringList parts = value.split(QLatin1Char(','));
            settings.position = QPoint(parts.value(0).toInt(), parts.value(1).toInt());
            ++i;
        } else if (argument == QLatin1String("--memptr")) {
            settings.producer.memPtr = true;
        } else if (argument == QLatin1String("--respond-before-reply")) {
            settings.respondBeforeReply = true;
        } else if (argument == QLatin1String("--no-placement")) {
            settings.reportPlacement = false;
        } else if (argument == QLatin1String("--cursor-modes")) {
            settings.cursorModes = value.toUInt();
            ++i;
        } else {
            std::fprintf(stderr, "lookpane_screencast_portal: unknown argument %s\n",
                         qPrintable(argument));
            return 2;
        }
    }
    lookpane::testing::ScreenCastPortalService service(QDBusConnection::sessionBus(), settings);
    if (!service.registerOn()) {
        std::fprintf(stderr, "lookpane_screencast_portal: cannot register on the session bus\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
