#include "platform/x11/CompositingManagerWatcher.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XAtoms.h"
#include "platform/x11/XReply.h"

#include <QCoreApplication>

#include <xcb/xfixes.h>

#include <string>

namespace lookpane::x11 {

namespace {

constexpr std::uint32_t ownerChanges = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                       XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                       XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;

} // namespace

void CompositingManagerWatcher::WindowTraits::free(xcb_connection_t *connection, std::uint32_t id)
{
    // Qt closes its connection with the application; a watcher that outlives it has nothing
    // left to free.
    if (applicationConnection() == connection) {
        xcb_destroy_window(connection, id);
        xcb_flush(connection);
    }
}

CompositingManagerWatcher::CompositingManagerWatcher(QObject *parent) : QObject(parent)
{
    m_connection = applicationConnection();
    if (m_connection == nullptr) {
        return;
    }
    xcb_connection_t *c = m_connection;
    const ApplicationScreen screen = applicationScreen(c);
    if (screen.screen != nullptr) {
        m_selection = internAtom(c, "_NET_WM_CM_S" + std::to_string(screen.number));
    }
    if (m_selection == XCB_ATOM_NONE) {
        qCWarning(lcPlatformX11, "cannot name the compositing manager selection of the screen; "
                                 "Lookpane assumes there is no compositing manager");
        m_running = false;
        return;
    }

    const xcb_query_extension_reply_t *xfixes = xcb_get_extension_data(c, &xcb_xfixes_id);
    Reply<xcb_xfixes_query_version_reply_t> version;
    if (xfixes != nullptr && xfixes->present != 0) {
        // The version Qt asks for as well: the server keeps the last one a client names.
        version.reset(xcb_xfixes_query_version_reply(
            c, xcb_xfixes_query_version(c, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
            nullptr));
    }
    if (!version || version->major_version < 1) {
        qCWarning(lcPlatformX11, "the X server lacks XFIXES: compositing managers that start or "
                                 "leave from now on go unnoticed");
    } else {
        XResource<WindowTraits> window(c);
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window.id(), screen.screen->root, -1, -1, 1, 1,
                          0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        const Reply<xcb_generic_error_t> failure(xcb_request_check(
            c,
            xcb_xfixes_select_selection_input_checked(c, window.id(), m_selection, ownerChanges)));
        if (failure) {
            qCWarning(lcPlatformX11,
                      "the X server refused to report compositing manager changes (error "
                      "%d): those that start or leave from now on go unnoticed",
                      failure->error_code);
        } else {
            m_selectionNotify =
                static_cast<std::uint8_t>(xfixes->first_event + XCB_XFIXES_SELECTION_NOTIFY);
            m_eventWindow = std::move(window);
        }
    }
    // Asked after the subscription, so that no change falls between the answer and the
    // events; an event that repeats what the answer said changes nothing.
    const Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_selection), nullptr));
    m_running = owner && owner->owner != XCB_WINDOW_NONE;
    qCDebug(lcPlatformX11, "compositing manager at start: %s", m_running ? "yes" : "none");

    if (isWatching()) {
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
}

CompositingManagerWatcher::~CompositingManagerWatcher()
{
    if (QCoreApplication *application = QCoreApplication::instance()) {
        application->removeNativeEventFilter(this);
    }
}

bool CompositingManagerWatcher::nativeEventFilter(const QByteArray &eventType, void *message,
                                                  qintptr *)
{
    if (eventType != "xcb_generic_event_t" || !isWatching()) {
        return false;
    }
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) != m_selectionNotify) {
        return false;
    }
    const auto *notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t *>(event);
    if (notify->window != m_eventWindow.id() || notify->selection != m_selection) {
        return false;
    }
    // A new owner, or the old one gone: its window destroyed, or its client closed (a
    // compositing manager that crashed or was killed never gives the selection up itself).
    setRunning(notify->subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER &&
               notify->owner != XCB_WINDOW_NONE);
    // Sent to our own window alone: nobody else in Qt wants it.
    return true;
}

void CompositingManagerWatcher::setRunning(bool running)
{
    if (running == m_running) {
        return;
    }
    m_running = running;
    qCDebug(lcPlatformX11, "compositing manager %s", running ? "arrived" : "left");
    Q_EMIT runningChanged(running);
}

} // namespace lookpane::x11
