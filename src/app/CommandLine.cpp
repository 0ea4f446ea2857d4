#include "app/CommandLine.h"

#include "platform/x11/XcbConnection.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <xcb/xcb.h>

namespace lookpane {

CommandLineRequest readCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Mirrors a part of the screen into a window of its own, for sharing in "
                       "video meetings."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption capture(
        QStringLiteral("capture"),
        QStringLiteral("How to capture the screen: x11 (from the X server) or portal (the "
                       "desktop's screen-sharing portal, as in Wayland sessions). By default "
                       "portal in a Wayland session, x11 otherwise."),
        QStringLiteral("x11|portal"));
    parser.addOption(capture);

    CommandLineRequest request;
    if (!parser.parse(arguments)) {
        request.output = parser.errorText() + QLatin1Char('\n');
        request.toStandardError = true;
        request.exitCode = 2;
    } else if (parser.isSet(help)) {
        request.output = parser.helpText();
    } else if (parser.isSet(version)) {
        request.output = QCoreApplication::applicationName() + QLatin1Char(' ') +
                         QCoreApplication::applicationVersion() + QLatin1Char('\n');
    } else if (parser.isSet(capture) && chooseCapture(parser.value(capture), QString()).problem) {
        request.output = QStringLiteral("lookpane: %1; see lookpane --help\n")
                             .arg(*chooseCapture(parser.value(capture), QString()).problem);
        request.toStandardError = true;
        request.exitCode = 2;
    } else if (!parser.positionalArguments().isEmpty()) {
        request.output = QStringLiteral("lookpane: unexpected argument '%1'; see lookpane --help\n")
                             .arg(parser.positionalArguments().constFirst());
        request.toStandardError = true;
        request.exitCode = 2;
    }
    if (parser.isSet(capture)) {
        request.capture = parser.value(capture);
    }
    return request;
}

std::optional<QString> displayProblem()
{
    const QString display = qEnvironmentVariable("DISPLAY");
    if (display.isEmpty()) {
        return QStringLiteral("Lookpane needs an X11 display, and DISPLAY is not set (in a Wayland "
                              "session, XWayland provides one)");
    }
    const x11::OwnedConnection connection(xcb_connect(nullptr, nullptr));
    if (!connection || xcb_connection_has_error(connection.get()) != 0) {
        return QStringLiteral("Lookpane cannot open the X display \"%1\"").arg(display);
    }
    return std::nullopt;
}

PlatformChoice choosePlatform(const QByteArray &requested)
{
    const QByteArray trimmed = requested.trimmed();
    if (trimmed.isEmpty()) {
        return {QByteArrayLiteral("xcb"), std::nullopt};
    }
    for (const QByteArray &entry : trimmed.split(';')) {
        const qsizetype colon = entry.indexOf(':');
        const QByteArray name = (colon < 0 ? entry : entry.left(colon)).trimmed();
        if (name.compare("xcb", Qt::CaseInsensitive) == 0) {
            return {entry.trimmed(), std::nullopt};
        }
    }
    return {QByteArray(),
            QStringLiteral("Lookpane needs X11 (Qt's xcb platform), but QT_QPA_PLATFORM asks for "
                           "\"%1\"; unset it or set it to xcb")
                .arg(QString::fromLocal8Bit(trimmed))};
}

CaptureChoice chooseCapture(const std::optional<QString> &requested, const QString &waylandDisplay)
{
    if (requested) {
        if (*requested == QLatin1String("x11")) {
            return {CaptureKind::x11, std::nullopt};
        }
        if (*requested == QLatin1String("portal")) {
            return {CaptureKind::portal, std::nullopt};
        }
        return {CaptureKind::x11,
                QStringLiteral("--capture takes x11 or portal, not \"%1\"").arg(*requested)};
    }
    // Under XWayland the X server shows only X11 windows: the desktop's portal sees them all.
    return {waylandDisplay.isEmpty() ? CaptureKind::x11 : CaptureKind::portal, std::nullopt};
}

} // namespace lookpane
