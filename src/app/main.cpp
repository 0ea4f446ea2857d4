#include "app/FrameWindowPlaceholder.h"
#include "app/SingleInstance.h"
#include "app/UnixSignalQuitter.h"
#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "model/ScreenLayout.h"

#include <QApplication>
#include <QIcon>
#include <QKeySequence>
#include <QShortcut>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Lookpane"));
    QApplication::setApplicationName(QStringLiteral("Lookpane"));
    QApplication::setApplicationVersion(QStringLiteral(LOOKPANE_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("lookpane"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/lookpane/lookpane.svg")));

    lookpane::SingleInstance instance;
    if (!instance.claim()) {
        // The running Lookpane shows its frame instead.
        return 0;
    }
    lookpane::UnixSignalQuitter signalQuitter;

    lookpane::Preferences preferences;
    preferences.registerDefaults();
    lookpane::FramePreferences framePreferences(preferences, &lookpane::currentScreenLayout);

    lookpane::FrameWindowPlaceholder frameWindow(framePreferences);
    auto *quitShortcut = new QShortcut(QKeySequence(QStringLiteral("Ctrl+Q")), &frameWindow);
    quitShortcut->setContext(Qt::ApplicationShortcut);
    QObject::connect(quitShortcut, &QShortcut::activated, &app, &QApplication::quit);
    QObject::connect(&app, &QApplication::aboutToQuit, &frameWindow,
                     &lookpane::FrameWindowPlaceholder::saveFrame);
    instance.onReopenRequested = [&frameWindow] {
        frameWindow.show();
        frameWindow.raise();
    };
    frameWindow.show();

    return QApplication::exec();
}
