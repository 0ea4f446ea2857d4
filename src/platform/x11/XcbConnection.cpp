#include "platform/x11/XcbConnection.h"

#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XAtoms.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/res.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

#include <QStringList>

namespace lookpane::x11 {

namespace {

ExtensionInfo presence(xcb_connection_t *connection, xcb_extension_t *extension)
{
    const xcb_query_extension_reply_t *reply = xcb_get_extension_data(connection, extension);
    if (!reply || !reply->present) {
        return {};
    }
    return {true, reply->first_event, reply->first_error};
}

} // namespace

XcbConnection::XcbConnection(const std::string &displayName)
    : XcbConnection(displayName, lcPlatformX11())
{}

XcbConnection::XcbConnection(const std::string &displayName, const QLoggingCategory &category)
    : m_category(&category)
{
    OwnedConnection connection(
        xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), nullptr));
    if (xcb_connection_has_error(connection.get())) {
        m_failure = displayName.empty() ? QStringLiteral("The X display cannot be opened")
                                        : QStringLiteral("The X display %1 cannot be opened")
                                              .arg(QString::fromStdString(displayName));
        return;
    }
    m_connection = std::move(connection);
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data;
    queryExtensions();
}

XcbConnection::~XcbConnection() = default;

void XcbConnection::queryExtensions()
{
    xcb_connection_t *c = m_connection.get();
    // Ask for every extension at once, then read the answers.
    xcb_prefetch_extension_data(c, &xcb_composite_id);
    xcb_prefetch_extension_data(c, &xcb_damage_id);
    xcb_prefetch_extension_data(c, &xcb_render_id);
    xcb_prefetch_extension_data(c, &xcb_xfixes_id);
    xcb_prefetch_extension_data(c, &xcb_shm_id);
    xcb_prefetch_extension_data(c, &xcb_shape_id);
    xcb_prefetch_extension_data(c, &xcb_randr_id);
    xcb_prefetch_extension_data(c, &xcb_res_id);
    m_extensions.composite = presence(c, &xcb_composite_id);
    m_extensions.damage = presence(c, &xcb_damage_id);
    m_extensions.render = presence(c, &xcb_render_id);
    m_extensions.xfixes = presence(c, &xcb_xfixes_id);
    m_extensions.shm = presence(c, &xcb_shm_id);
    m_extensions.shape = presence(c, &xcb_shape_id);
    m_extensions.randr = presence(c, &xcb_randr_id);
    m_extensions.res = presence(c, &xcb_res_id);

    // The version handshakes are required before an extension's requests may be used.
    auto composite = m_extensions.composite.present ? xcb_composite_query_version(c, 0, 4)
                                                    : xcb_composite_query_version_cookie_t{0};
    auto damage = m_extensions.damage.present ? xcb_damage_query_version(c, 1, 1)
                                              : xcb_damage_query_version_cookie_t{0};
    auto render = m_extensions.render.present ? xcb_render_query_version(c, 0, 11)
                                              : xcb_render_query_version_cookie_t{0};
    auto xfixes = m_extensions.xfixes.present ? xcb_xfixes_query_version(c, 5, 0)
                                              : xcb_xfixes_query_version_cookie_t{0};
    auto shm =
        m_extensions.shm.present ? xcb_shm_query_version(c) : xcb_shm_query_version_cookie_t{0};
    auto randr = m_extensions.randr.present ? xcb_randr_query_version(c, 1, 5)
                                            : xcb_randr_query_version_cookie_t{0};
    auto res = m_extensions.res.present ? xcb_res_query_version(c, 1, 2)
                                        : xcb_res_query_version_cookie_t{0};

    if (m_extensions.composite.present) {
        Reply<xcb_composite_query_version_reply_t> reply(
            xcb_composite_query_version_reply(c, composite, nullptr));
        // NameWindowPixmap needs 0.2.
        if (!reply || (reply->major_version == 0 && reply->minor_version < 2)) {
            m_extensions.composite.present = false;
        }
    }
    if (m_extensions.damage.present) {
        Reply<xcb_damage_query_version_reply_t> reply(
            xcb_damage_query_version_reply(c, damage, nullptr));
        m_extensions.damage.present = reply != nullptr;
    }
    if (m_extensions.render.present) {
        Reply<xcb_render_query_version_reply_t> reply(
            xcb_render_query_version_reply(c, render, nullptr));
        m_extensions.render.present = reply != nullptr;
    }
    if (m_extensions.xfixes.present) {
        Reply<xcb_xfixes_query_version_reply_t> reply(
            xcb_xfixes_query_version_reply(c, xfixes, nullptr));
        // Server-side regions need 2.0.
        m_extensions.xfixes.present = reply && reply->major_version >= 2;
    }
    if (m_extensions.shm.present) {
        Reply<xcb_shm_query_version_reply_t> reply(xcb_shm_query_version_reply(c, shm, nullptr));
        m_extensions.shm.present = reply != nullptr;
        m_extensions.shmSharedPixmaps =
            reply && reply->shared_pixmaps && reply->pixmap_format == XCB_IMAGE_FORMAT_Z_PIXMAP;
    }
    if (m_extensions.randr.present) {
        Reply<xcb_randr_query_version_reply_t> reply(
            xcb_randr_query_version_reply(c, randr, nullptr));
        // Monitors need 1.5.
        m_extensions.randr.present =
            reply &&
            (reply->major_version > 1 || (reply->major_version == 1 && reply->minor_version >= 5));
    }
    if (m_extensions.res.present) {
        Reply<xcb_res_query_version_reply_t> reply(xcb_res_query_version_reply(c, res, nullptr));
        m_extensions.res.present =
            reply &&
            (reply->server_major > 1 || (reply->server_major == 1 && reply->server_minor >= 2));
    }
}

xcb_atom_t XcbConnection::atom(const char *name) const
{
    return internAtom(m_connection.get(), name);
}

std::optional<XError> XcbConnection::check(xcb_void_cookie_t cookie) const
{
    const Reply<xcb_generic_error_t> error(xcb_request_check(m_connection.get(), cookie));
    if (!error) {
        return std::nullopt;
    }
    const XError value = toXError(*error);
    report(value);
    return value;
}

bool XcbConnection::sync() const
{
    xcb_connection_t *c = m_connection.get();
    Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    return reply != nullptr;
}

const XErrorCodes &XcbConnection::errorCodes() const
{
    if (!m_errorCodes) {
        m_errorCodes = XErrorCodes::of(m_connection.get());
    }
    return *m_errorCodes;
}

XErrorClass XcbConnection::classify(const xcb_generic_error_t &error) const
{
    return x11::classify(toXError(error), errorCodes());
}

XErrorClass XcbConnection::report(const xcb_generic_error_t &error) const
{
    return report(toXError(error));
}

XErrorClass XcbConnection::report(const XError &error) const
{
    return x11::report(*m_category, error, errorCodes());
}

void XcbConnection::reportQueuedErrors() const
{
    if (!m_connection) {
        return;
    }
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.get())}) {
        if (event->response_type == 0) {
            report(*reinterpret_cast<const xcb_generic_error_t *>(event.get()));
        }
    }
}

std::optional<QString> missingCaptureSupport(const XcbConnection &connection)
{
    if (!connection.isValid()) {
        return connection.failure();
    }
    const Extensions &e = connection.extensions();
    QStringList missing;
    if (!e.composite.present) {
        missing << QStringLiteral("Composite 0.2");
    }
    if (!e.damage.present) {
        missing << QStringLiteral("DAMAGE");
    }
    if (!e.render.present) {
        missing << QStringLiteral("RENDER");
    }
    if (!e.xfixes.present) {
        missing << QStringLiteral("XFIXES 2.0");
    }
    if (missing.isEmpty()) {
        return std::nullopt;
    }
    return QStringLiteral("the X server lacks the %1 extension%2 that screen capture needs")
        .arg(missing.join(QStringLiteral(", ")),
             missing.size() > 1 ? QStringLiteral("s") : QString());
}

} // namespace lookpane::x11
