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
    const qreal height = primary->geometry().height();
    QList<QScreen *> screens = QGuiApplication::screens();
    // The primary screen comes first, as the window system counts screens.
    screens.removeOne(const_cast<QScreen *>(primary));
    screens.prepend(const_cast<QScreen *>(primary));
    for (const QScreen *screen : std::as_const(screens)) {
        layout.screens.push_back({designRectFromQt(QRectF(screen->geometry()), height),
                                  designRectFromQt(QRectF(screen->availableGeometry()), height)});
    }
    layout.mainIndex = 0;
    return layout;
}

} // namespace lookpane
