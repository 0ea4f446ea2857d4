#include "platform/x11/X11DesktopHints.h"

#include <QGuiApplication>
#include <QWidget>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace lookpane::x11 {

namespace {

constexpr quint32 allDesktops = 0xFFFFFFFF;

struct FreeDeleter
{
    void operator()(void *reply) const { std::free(reply); }
};
template <typename Reply> using ReplyPtr = std::unique_ptr<Reply, FreeDeleter>;

xcb_connection_t *connection()
{
    if (qGuiApp == nullptr) {
        return nullptr;
    }
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_screen_t *defaultScreen(xcb_connection_t *conn, int *screenNumber)
{
    // Qt opens the screen that DISPLAY names; the connection's setup lists screens in order.
    int number = 0;
    char *host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, &number) == 0) {
        number = 0;
    }
    std::free(host);
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(conn));
    for (int i = 0; it.rem > 0; ++i, xcb_screen_next(&it)) {
        if (i == number) {
            *screenNumber = i;
            return it.data;
        }
    }
    return nullptr;
}

xcb_atom_t internAtom(xcb_connection_t *conn, const std::string &name)
{
    const ReplyPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        conn, xcb_intern_atom(conn, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

} // namespace

bool isCompositingManagerRunning()
{
    xcb_connection_t *conn = connection();
    if (conn == nullptr) {
        return true;
    }
    int screenNumber = 0;
    if (defaultScreen(conn, &screenNumber) == nullptr) {
        return false;
    }
    const xcb_atom_t selection = internAtom(conn, "_NET_WM_CM_S" + std::to_string(screenNumber));
    if (selection == XCB_ATOM_NONE) {
        return false;
    }
    const ReplyPtr<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(conn, xcb_get_selection_owner(conn, selection), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void showOnAllDesktops(QWidget *window)
{
    xcb_connection_t *conn = connection();
    if (conn == nullptr || window == nullptr) {
        return;
    }
    int screenNumber = 0;
    xcb_screen_t *screen = defaultScreen(conn, &screenNumber);
    const xcb_atom_t desktopAtom = internAtom(conn, "_NET_WM_DESKTOP");
    if (screen == nullptr || desktopAtom == XCB_ATOM_NONE) {
        return;
    }
    const auto id = static_cast<xcb_window_t>(window->winId());
    xcb_change_property(conn, XCB_PROP_MODE_REPLACE, id, desktopAtom, XCB_ATOM_CARDINAL, 32, 1,
                        &allDesktops);

    // A window the window manager already manages is moved by asking the manager.
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = id;
    message.type = desktopAtom;
    message.data.data32[0] = allDesktops;
    message.data.data32[1] = 2; // source indication: a pager-like request, honoured as is
    xcb_send_event(conn, 0, screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(conn);
}

std::optional<quint32> desktopOfWindow(QWidget *window)
{
    xcb_connection_t *conn = connection();
    if (conn == nullptr || window == nullptr) {
        return std::nullopt;
    }
    const xcb_atom_t desktopAtom = internAtom(conn, "_NET_WM_DESKTOP");
    if (desktopAtom == XCB_ATOM_NONE) {
        return std::nullopt;
    }
    const auto id = static_cast<xcb_window_t>(window->winId());
    const ReplyPtr<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        conn, xcb_get_property(conn, 0, id, desktopAtom, XCB_ATOM_CARDINAL, 0, 1), nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
        return std::nullopt;
    }
    return *static_cast<const quint32 *>(xcb_get_property_value(reply.get()));
}

} // namespace lookpane::x11
