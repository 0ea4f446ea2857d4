#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/SingleInstance.h"
#include "app/UnixSignalQuitter.h"
#include "model/Preferences.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>

namespace {

void describeApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Lookpane"));
    QCoreApplication::setApplicationName(QStringLiteral("Lookpane"));
    QCoreApplication::setApplicationVersion(QStringLiteral(LOOKPANE_VERSION));
}

// --help, --version and mistakes are answered without a display; none to go on, with the
// capture to use in `capture`.
std::optional<int> answerCommandLine(int argc, char *argv[], lookpane::CaptureKind *capture)
{
    QCoreApplication commandLine(argc, argv);
    describeApplication();
    const lookpane::CommandLineRequest request =
        lookpane::readCommandLine(QCoreApplication::arguments());
    if (request.output) {
        std::fputs(qPrintable(*request.output), request.toStandardError ? stderr : stdout);
        return request.exitCode;
    }
    if (const std::optional<QString> problem =
            lookpane::choosePlatform(qgetenv("QT_QPA_PLATFORM")).problem) {
        std::fprintf(stderr, "lookpane: %s\n", qPrintable(*problem));
        return 1;
    }
    if (const std::optional<QString> problem = lookpane::displayProblem()) {
        std::fprintf(stderr, "lookpane: %s\n", qPrintable(*problem));
        return 1;
    }
    *capture =
        lookpane::chooseCapture(request.capture, qEnvironmentVariable("WAYLAND_DISPLAY")).kind;
    return std::nullopt;
}

} // namespace

int main(int argc, char *argv[])
{
    lookpane::CaptureKind capture = lookpane::CaptureKind::x11;
    if (const std::optional<int> exitCode = answerCommandLine(argc, argv, &capture)) {
        return *exitCode;
    }
    // Lookpane's windows need X11; in a Wayland session they run on XWayland.
    qputenv("QT_QPA_PLATFORM", lookpane::choosePlatform(qgetenv("QT_QPA_PLATFORM")).platform);

    QApplication app(argc, argv);
    describeApplication();
    QApplication::setDesktopFileName(QStringLiteral("lookpane"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/lookpane/lookpane.svg")));
    // Closing Lookpane's windows never quits it.
    QApplication::setQuitOnLastWindowClosed(false);

    lookpane::SingleInstance instance;
    if (!instance.claim()) {
        // The running Lookpane shows its frame instead.
        return 0;
    }
    lookpane::UnixSignalQuitter signalQuitter;

    lookpane::Preferences preferences;
    lookpane::AppDelegate delegate(preferences);
    delegate.useCapture(capture);
    QObject::connect(&instance, &lookpane::SingleInstance::reopenRequested, &delegate,
                     &lookpane::AppDelegate::applicationShouldHandleReopen);
    QObject::connect(&app, &QApplication::aboutToQuit, &delegate,
                     &lookpane::AppDelegate::applicationWillTerminate);

    delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}
