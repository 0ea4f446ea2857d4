#include "model/ScreenLayout.h"

#include "model/ScreenCoordinates.h"

#include <QGuiApplication>
#include <QScreen>

namespace lookpane {

ScreenLayout currentScreenLayout()
{
    ScreenLayout layout;
    const QScreen *primary = QGuiApplication::primaryScreen();
    if (!primary) {
        return layout;
    }
    layout.primaryGeometry = QRectF(primary->geometry());
    const auto add = [&](const QScreen *screen) {
        layout.screens.push_back(
            {screenRectFromQt(QRectF(screen->geometry()), layout.primaryGeometry),
             screenRectFromQt(QRectF(screen->availableGeometry()), layout.primaryGeometry)});
    };
    // The primary screen comes first, as the window system counts screens.
    add(primary);
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen != primary) {
            add(screen);
        }
    }
    layout.mainIndex = 0;
    return layout;
}

} // namespace lookpane
