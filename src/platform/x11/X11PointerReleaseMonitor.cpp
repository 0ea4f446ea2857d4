#include "platform/x11/X11PointerReleaseMonitor.h"

#include <QSocketNotifier>
#include <QString>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <cstdlib>

namespace lookpane::x11 {

void X11PointerReleaseMonitor::ConnectionCloser::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

std::unique_ptr<X11PointerReleaseMonitor> X11PointerReleaseMonitor::create(QString *failure)
{
    const auto fail = [failure](const QString &reason) {
        if (failure != nullptr) {
            *failure = reason;
        }
        return std::unique_ptr<X11PointerReleaseMonitor>();
    };
    std::unique_ptr<xcb_connection_t, ConnectionCloser> connection(xcb_connect(nullptr, nullptr));
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c) != 0) {
        return fail(QStringLiteral("cannot open the X display"));
    }
    const xcb_query_extension_reply_t *extension = xcb_get_extension_data(c, &xcb_input_id);
    if (extension == nullptr || extension->present == 0) {
        return fail(QStringLiteral("the X server has no XInput extension"));
    }
    // 2.1 and later deliver raw events to the root window even while another client holds a
    // grab, as during any press in another application.
    std::unique_ptr<xcb_input_xi_query_version_reply_t, decltype(&std::free)> version(
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr),
        &std::free);
    if (!version || version->major_version < 2 ||
        (version->major_version == 2 && version->minor_version < 2)) {
        return fail(QStringLiteral("the X server's XInput is older than 2.2"));
    }
    struct
    {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE};
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    xcb_generic_error_t *error =
        xcb_request_check(c, xcb_input_xi_select_events_checked(c, root, 1, &selection.head));
    if (error != nullptr) {
        const int code = error->error_code;
        std::free(error);
        return fail(
            QStringLiteral("the X server refused raw button events (X error %1)").arg(code));
    }
    return std::unique_ptr<X11PointerReleaseMonitor>(
        new X11PointerReleaseMonitor(std::move(connection), extension->major_opcode));
}

X11PointerReleaseMonitor::X11PointerReleaseMonitor(
    std::unique_ptr<xcb_connection_t, ConnectionCloser> connection, int inputOpcode)
    : m_connection(std::move(connection)), m_inputOpcode(inputOpcode)
{
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(m_connection.get()),
                                     QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readEvents(); });
}

X11PointerReleaseMonitor::~X11PointerReleaseMonitor() = default;

void X11PointerReleaseMonitor::readEvents()
{
    xcb_connection_t *c = m_connection.get();
    bool released = false;
    while (xcb_generic_event_t *event = xcb_poll_for_event(c)) {
        if ((event->response_type & 0x7F) == XCB_GE_GENERIC) {
            const auto *generic = reinterpret_cast<const xcb_ge_generic_event_t *>(event);
            if (generic->extension == m_inputOpcode &&
                generic->event_type == XCB_INPUT_RAW_BUTTON_RELEASE &&
                reinterpret_cast<const xcb_input_raw_button_release_event_t *>(event)->detail ==
                    1) {
                released = true;
            }
        }
        std::free(event);
    }
    if (xcb_connection_has_error(c) != 0) {
        // The display went away: nothing more will come.
        m_notifier->setEnabled(false);
        return;
    }
    if (released && onLeftButtonReleased) {
        onLeftButtonReleased();
    }
}

} // namespace lookpane::x11
