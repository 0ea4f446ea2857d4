#include "ForeignHotKey.h"

#include <xcb/xcb.h>

#include <cstdlib>

namespace lookpane::testing {

ForeignHotKey::ForeignHotKey(const std::string &display, std::uint8_t xKeycode,
                             std::uint16_t modifiers)
    : m_connection(xcb_connect(display.c_str(), nullptr), &xcb_disconnect)
{
    xcb_connection_t *c = m_connection.get();
    if (xcb_connection_has_error(c)) {
        return;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    xcb_generic_error_t *error =
        xcb_request_check(c, xcb_grab_key_checked(c, 1, root, modifiers, xKeycode,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    m_grabbed = error == nullptr;
    std::free(error);
}

ForeignHotKey::~ForeignHotKey() = default;

int ForeignHotKey::presses()
{
    xcb_connection_t *c = m_connection.get();
    while (xcb_generic_event_t *event = xcb_poll_for_event(c)) {
        if ((event->response_type & 0x7F) == XCB_KEY_PRESS) {
            ++m_presses;
        }
        std::free(event);
    }
    return m_presses;
}

} // namespace lookpane::testing
