#include "platform/x11/X11PointerReleaseMonitor.h"

#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XReply.h"
#include "platform/x11/XcbConnection.h"

#include <QSocketNotifier>
#include <QString>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace lookpane::x11 {

std::unique_ptr<X11PointerReleaseMonitor> X11PointerReleaseMonitor::create(QString *failure)
{
    const auto fail = [failure](const QString &reason) {
        if (failure != nullptr) {
            *failure = reason;
        }
        return std::unique_ptr<X11PointerReleaseMonitor>();
    };
    auto connection = std::make_unique<XcbConnection>(std::string(), lcPlatformX11());
    if (!connection->isValid()) {
        return fail(QStringLiteral("cannot open the X display"));
    }
    xcb_connection_t *c = connection->get();
    const xcb_query_extension_reply_t *extension = xcb_get_extension_data(c, &xcb_input_id);
    if (extension == nullptr || extension->present == 0) {
        return fail(QStringLiteral("the X server has no XInput extension"));
    }
    // 2.1 and later deliver raw events to the root window even while another client holds a
    // grab, as during any press in another application.
    const Reply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr));
    if (!version || version->major_version < 2 ||
        (version->major_version == 2 && version->minor_version < 2)) {
        return fail(QStringLiteral("the X server's XInput is older than 2.2"));
    }
    struct
    {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE};
    if (const std::optional<XError> error = connection->check(
            xcb_input_xi_select_events_checked(c, connection->root(), 1, &selection.head))) {
        return fail(QStringLiteral("the X server refused raw button events (%1)")
                        .arg(describe(*error, connection->errorCodes())));
    }
    const int opcode = extension->major_opcode;
    return std::unique_ptr<X11PointerReleaseMonitor>(
        new X11PointerReleaseMonitor(std::move(connection), opcode));
}

X11PointerReleaseMonitor::X11PointerReleaseMonitor(std::unique_ptr<XcbConnection> connection,
                                                   int inputOpcode)
    : m_connection(std::move(connection)), m_inputOpcode(inputOpcode)
{
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(m_connection->get()),
                                     QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readEvents(); });
}

X11PointerReleaseMonitor::~X11PointerReleaseMonitor() = default;

void X11PointerReleaseMonitor::readEvents()
{
    xcb_connection_t *c = m_connection->get();
    bool released = false;
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(c)}) {
        const std::uint8_t type = event->response_type & 0x7F;
        if (type == 0) {
            // Nothing is asked of the server after the selection, so any error here is news.
            m_connection->report(*reinterpret_cast<const xcb_generic_error_t *>(event.get()));
        } else if (type == XCB_GE_GENERIC) {
            const auto *generic = reinterpret_cast<const xcb_ge_generic_event_t *>(event.get());
            if (generic->extension == m_inputOpcode &&
                generic->event_type == XCB_INPUT_RAW_BUTTON_RELEASE &&
                reinterpret_cast<const xcb_input_raw_button_release_event_t *>(event.get())
                        ->detail == 1) {
                released = true;
            }
        }
    }
    if (xcb_connection_has_error(c) != 0) {
        // The display went away: nothing more will come.
        qCWarning(lcPlatformX11) << "the X connection of the pointer monitor broke; releases"
                                    " of the mouse in other applications are no longer seen";
        m_notifier->setEnabled(false);
        return;
    }
    if (released) {
        Q_EMIT leftButtonReleased();
    }
}

} // namespace lookpane::x11
