#include "BellCounter.h"

#include <xcb/xcb.h>
// xcb's XKB header names a field "explicit", a keyword in C++.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <cstdlib>

namespace lookpane::testing {

BellCounter::BellCounter(const std::string &display)
    : m_connection(xcb_connect(display.c_str(), nullptr), &xcb_disconnect)
{
    xcb_connection_t *c = m_connection.get();
    if (xcb_connection_has_error(c)) {
        return;
    }
    const xcb_query_extension_reply_t *xkb = xcb_get_extension_data(c, &xcb_xkb_id);
    if (xkb == nullptr || !xkb->present) {
        return;
    }
    m_xkbEventBase = xkb->first_event;
    xcb_xkb_use_extension_reply_t *use = xcb_xkb_use_extension_reply(
        c, xcb_xkb_use_extension(c, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION), nullptr);
    const bool supported = use != nullptr && use->supported;
    std::free(use);
    if (!supported) {
        return;
    }
    xcb_generic_error_t *error = xcb_request_check(
        c, xcb_xkb_select_events_checked(c, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_EVENT_TYPE_BELL_NOTIFY,
                                         0, XCB_XKB_EVENT_TYPE_BELL_NOTIFY, 0, 0, nullptr));
    m_listening = error == nullptr;
    std::free(error);
}

BellCounter::~BellCounter() = default;

int BellCounter::count()
{
    xcb_connection_t *c = m_connection.get();
    while (xcb_generic_event_t *event = xcb_poll_for_event(c)) {
        if ((event->response_type & 0x7F) == m_xkbEventBase &&
            reinterpret_cast<const xcb_xkb_bell_notify_event_t *>(event)->xkbType ==
                XCB_XKB_BELL_NOTIFY) {
            ++m_count;
        }
        std::free(event);
    }
    return m_count;
}

} // namespace lookpane::testing
