#include "platform/x11/X11DesktopHints.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/XAtoms.h"
#include "platform/x11/XReply.h"

#include <QWidget>

#include <xcb/xcb.h>

#include <string>

namespace lookpane::x11 {

namespace {

constexpr quint32 allDesktops = 0xFFFFFFFF;

} // namespace

bool isCompositingManagerRunning()
{
    xcb_connection_t *conn = applicationConnection();
    if (conn == nullptr) {
        return true;
    }
    const ApplicationScreen screen = applicationScreen(conn);
    if (screen.screen == nullptr) {
        return false;
    }
    const xcb_atom_t selection = internAtom(conn, "_NET_WM_CM_S" + std::to_string(screen.number));
    if (selection == XCB_ATOM_NONE) {
        return false;
    }
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(conn, xcb_get_selection_owner(conn, selection), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void showOnAllDesktops(QWidget *window)
{
    xcb_connection_t *conn = applicationConnection();
    if (conn == nullptr || window == nullptr) {
        return;
    }
    const xcb_screen_t *screen = applicationScreen(conn).screen;
    const xcb_atom_t desktopAtom = internAtom(conn, "_NET_WM_DESKTOP");
    if (screen == nullptr || desktopAtom == XCB_ATOM_NONE) {
        return;
    }
    const xcb_window_t id = windowId(window);
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
    xcb_connection_t *conn = applicationConnection();
    if (conn == nullptr || window == nullptr) {
        return std::nullopt;
    }
    const xcb_atom_t desktopAtom = internAtom(conn, "_NET_WM_DESKTOP");
    if (desktopAtom == XCB_ATOM_NONE) {
        return std::nullopt;
    }
    const xcb_window_t id = windowId(window);
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        conn, xcb_get_property(conn, 0, id, desktopAtom, XCB_ATOM_CARDINAL, 0, 1), nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
        return std::nullopt;
    }
    return *static_cast<const quint32 *>(xcb_get_property_value(reply.get()));
}

} // namespace lookpane::x11
