#include "app/FrameWindowPlaceholder.h"
#include "app/UnixSignalQuitter.h"
#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "model/ScreenLayout.h"

#include <QApplication>
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
    frameWindow.show();

    return QApplication::exec();
}
