#include "app/AppDelegate.h"
#include "app/SingleInstance.h"
#include "app/UnixSignalQuitter.h"
#include "model/Preferences.h"

#include <QApplication>
#include <QIcon>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Lookpane"));
    QApplication::setApplicationName(QStringLiteral("Lookpane"));
    QApplication::setApplicationVersion(QStringLiteral(LOOKPANE_VERSION));
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
    QObject::connect(&instance, &lookpane::SingleInstance::reopenRequested, &delegate,
                     &lookpane::AppDelegate::applicationShouldHandleReopen);
    QObject::connect(&app, &QApplication::aboutToQuit, &delegate,
                     &lookpane::AppDelegate::applicationWillTerminate);

    delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}
