#include "frame/ScreenWatcher.h"

#include "frame/FrameLog.h"

#include <QGuiApplication>
#include <QScreen>

namespace lookpane {

ScreenWatcher::ScreenWatcher(QObject *parent) : QObject(parent)
{
    m_coalesce.setSingleShot(true);
    m_coalesce.setInterval(0);
    connect(&m_coalesce, &QTimer::timeout, this, &ScreenWatcher::screensChanged);
    if (!qGuiApp) {
        return;
    }
    for (QScreen *screen : QGuiApplication::screens()) {
        watch(screen);
    }
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        qCDebug(lcFrame) << "screen added:" << screen->name() << screen->geometry();
        watch(screen);
        schedule();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](QScreen *screen) {
        qCDebug(lcFrame) << "screen removed:" << screen->name();
        schedule();
    });
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, [this](QScreen *screen) {
        qCDebug(lcFrame) << "primary screen now:" << (screen ? screen->name() : QString());
        schedule();
    });
}

void ScreenWatcher::watch(QScreen *screen)
{
    // Connections made with this as context end with the screen or with the watcher.
    connect(screen, &QScreen::geometryChanged, this, &ScreenWatcher::schedule);
    connect(screen, &QScreen::availableGeometryChanged, this, &ScreenWatcher::schedule);
    connect(screen, &QScreen::logicalDotsPerInchChanged, this, &ScreenWatcher::schedule);
}

void ScreenWatcher::schedule()
{
    m_coalesce.start();
}

} // namespace lookpane
