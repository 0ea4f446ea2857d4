#include "platform/x11/X11SystemTrayWatcher.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XReply.h"
#include "platform/x11/XcbConnection.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QSocketNotifier>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

namespace lookpane::x11 {

std::unique_ptr<X11SystemTrayWatcher> X11SystemTrayWatcher::create(QString *failure)
{
    const auto fail = [failure](const QString &reason) {
        if (failure != nullptr) {
            *failure = reason;
        }
        return std::unique_ptr<X11SystemTrayWatcher>();
    };
    // The announcements come through Qt's connection.
    if (applicationConnection() == nullptr) {
        return fail(QStringLiteral("Qt runs on no X display"));
    }
    auto connection = std::make_unique<XcbConnection>(std::string(), lcPlatformX11());
    if (!connection->isValid()) {
        return fail(connection->failure());
    }
    if (!connection->extensions().xfixes.present) {
        return fail(QStringLiteral("the X server has no XFixes 2.0 to follow the tray with"));
    }
    xcb_connection_t *c = connection->get();
    // The tray belongs to the screen that Qt shows Lookpane on.
    const ApplicationScreen screen = applicationScreen(c);
    if (screen.screen == nullptr) {
        return fail(QStringLiteral("the X display has no screen for the tray"));
    }
    const QString selectionName = QStringLiteral("_NET_SYSTEM_TRAY_S%1").arg(screen.number);
    Atoms atoms;
    atoms.selection = connection->atom(selectionName.toLatin1().constData());
    atoms.manager = connection->atom("MANAGER");
    if (atoms.selection == XCB_ATOM_NONE || atoms.manager == XCB_ATOM_NONE) {
        return fail(QStringLiteral("the X server did not name the atoms of %1").arg(selectionName));
    }
    // Events first, then the owner: a tray that starts in between is reported, not missed.
    const std::uint32_t events = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                 XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                 XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    if (const std::optional<XError> error =
            connection->check(xcb_xfixes_select_selection_input_checked(c, screen.screen->root,
                                                                        atoms.selection, events))) {
        return fail(QStringLiteral("the X server refused to report the owner of %1 (%2)")
                        .arg(selectionName, describe(*error, connection->errorCodes())));
    }
    const Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atoms.selection), nullptr));
    if (!owner) {
        return fail(QStringLiteral("the X server did not tell the owner of %1").arg(selectionName));
    }
    return std::unique_ptr<X11SystemTrayWatcher>(new X11SystemTrayWatcher(
        std::move(connection), screen.screen->root, atoms, selectionName, owner->owner));
}

X11SystemTrayWatcher::X11SystemTrayWatcher(std::unique_ptr<XcbConnection> connection,
                                           std::uint32_t root, Atoms atoms, QString selectionName,
                                           std::uint32_t owner)
    : m_connection(std::move(connection)), m_root(root), m_atoms(atoms),
      m_selectionName(std::move(selectionName)), m_owner(owner), m_ready(owner != 0)
{
    qCDebug(lcPlatformX11, "%s is owned by 0x%x", qPrintable(m_selectionName), m_owner);
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(m_connection->get()),
                                     QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readEvents(); });
    // Events that arrived with the replies above wait in xcb's queue, where the socket
    // notifier never sees them.
    QMetaObject::invokeMethod(this, &X11SystemTrayWatcher::readEvents, Qt::QueuedConnection);
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11SystemTrayWatcher::~X11SystemTrayWatcher()
{
    if (QCoreApplication *application = QCoreApplication::instance()) {
        application->removeNativeEventFilter(this);
    }
}

void X11SystemTrayWatcher::readEvents()
{
    xcb_connection_t *c = m_connection->get();
    const std::uint8_t selectionNotify =
        m_connection->extensions().xfixes.firstEvent + XCB_XFIXES_SELECTION_NOTIFY;
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(c)}) {
        const std::uint8_t type = event->response_type & 0x7F;
        if (type == 0) {
            // Nothing is asked of the server after the selection, so any error here is news.
            m_connection->report(*reinterpret_cast<const xcb_generic_error_t *>(event.get()));
        } else if (type == selectionNotify) {
            const auto *notify =
                reinterpret_cast<const xcb_xfixes_selection_notify_event_t *>(event.get());
            // A new owner names itself; a destroyed window or a closed client leaves none.
            ownerSet(notify->subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER
                         ? notify->owner
                         : xcb_window_t{XCB_WINDOW_NONE});
        }
    }
    if (xcb_connection_has_error(c) != 0) {
        qCWarning(lcPlatformX11) << "the X connection that follows the system tray broke; a"
                                    " tray that starts or quits from now on is not seen";
        m_notifier->setEnabled(false);
    }
}

bool X11SystemTrayWatcher::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE) {
        return false;
    }
    const auto *client = reinterpret_cast<const xcb_client_message_event_t *>(event);
    if (client->window == m_root && client->type == m_atoms.manager && client->format == 32 &&
        client->data.data32[1] == m_atoms.selection) {
        // After Qt has handled the announcement itself.
        const std::uint32_t tray = client->data.data32[2];
        QMetaObject::invokeMethod(
            this, [this, tray] { trayAnnounced(tray); }, Qt::QueuedConnection);
    }
    return false;
}

void X11SystemTrayWatcher::ownerSet(std::uint32_t owner)
{
    qCDebug(lcPlatformX11, "%s is now owned by 0x%x", qPrintable(m_selectionName), owner);
    if (owner == 0 && m_announced == m_owner) {
        // That tray's announcement ends with it (its window's id may come back for another).
        m_announced = 0;
    }
    // A tray that takes over from a ready one finds the icons there already (Qt docks them
    // anew as it announces itself); one that starts where there was none is ready once it has
    // announced itself, which Qt's connection may have heard already.
    update(owner, owner != 0 && (isTrayPresent() || owner == m_announced));
}

void X11SystemTrayWatcher::trayAnnounced(std::uint32_t tray)
{
    qCDebug(lcPlatformX11, "the tray 0x%x announced itself", tray);
    m_announced = tray;
    if (tray != 0 && tray == m_owner) {
        update(m_owner, true);
    }
}

void X11SystemTrayWatcher::update(std::uint32_t owner, bool ready)
{
    const bool before = isTrayPresent();
    m_owner = owner;
    m_ready = ready;
    if (isTrayPresent() != before) {
        Q_EMIT trayPresenceChanged(isTrayPresent());
    }
}

} // namespace lookpane::x11
