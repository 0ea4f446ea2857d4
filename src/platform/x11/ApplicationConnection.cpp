#include "platform/x11/ApplicationConnection.h"

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>
#include <QtGui/qguiapplication_platform.h>

#include <cstdlib>

namespace lookpane::x11 {

xcb_connection_t *applicationConnection()
{
    if (qGuiApp == nullptr) {
        return nullptr;
    }
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

ApplicationScreen applicationScreen(xcb_connection_t *connection)
{
    if (connection == nullptr) {
        return {};
    }
    // Qt opens the screen that DISPLAY names; the connection's setup lists screens in order.
    int number = 0;
    char *host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, &number) == 0) {
        number = 0;
    }
    std::free(host);
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; it.rem > 0; ++i, xcb_screen_next(&it)) {
        if (i == number) {
            return {it.data, i};
        }
    }
    return {};
}

xcb_window_t windowId(QWidget *window)
{
    const WId created = window->winId();
    const QWindow *handle = window->windowHandle();
    return static_cast<xcb_window_t>(handle ? handle->winId() : created);
}

} // namespace lookpane::x11
