#include "XSync.h"

#include "Eventually.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace lookpane::testing {

namespace {

template <typename T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    const Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(
            c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr),
        &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

bool applicationRequestsDone()
{
    if (qGuiApp == nullptr) {
        return false;
    }
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *c = x11 != nullptr ? x11->connection() : nullptr;
    if (c == nullptr) {
        return false;
    }
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr), &std::free);
    return reply != nullptr;
}

bool windowManagerCaughtUp(const std::string &display, int timeoutMs)
{
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c) != 0) {
        return false;
    }
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_atom_t request = atom(c, "_NET_REQUEST_FRAME_EXTENTS");
    const xcb_atom_t extents = atom(c, "_NET_FRAME_EXTENTS");
    if (request == XCB_ATOM_NONE || extents == XCB_ATOM_NONE) {
        return false;
    }
    // Never mapped: the window manager only answers the question about it.
    const xcb_window_t window = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = request;
    xcb_send_event(c, 0, screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(c);
    const bool answered = eventually(
        [&] {
            const Reply<xcb_get_property_reply_t> property(
                xcb_get_property_reply(
                    c, xcb_get_property(c, 0, window, extents, XCB_ATOM_CARDINAL, 0, 4), nullptr),
                &std::free);
            return property != nullptr && property->type == XCB_ATOM_CARDINAL;
        },
        timeoutMs);
    xcb_destroy_window(c, window);
    xcb_flush(c);
    return answered;
}

bool windowsSettled(const std::string &display)
{
    if (!applicationRequestsDone() || !windowManagerCaughtUp(display) ||
        !applicationRequestsDone()) {
        return false;
    }
    // The answer to the last round trip came after every event sent before it; two passes take
    // in those that Qt's reader thread had not yet handed over.
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    return true;
}

} // namespace lookpane::testing
