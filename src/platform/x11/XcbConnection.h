#pragma once

#include "platform/x11/XErrors.h"
#include "platform/x11/XReply.h"

#include <xcb/xcb.h>

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class QLoggingCategory;

namespace lookpane::x11 {

// Closes a connection that xcb_connect opened.
struct ConnectionCloser
{
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};
using OwnedConnection = std::unique_ptr<xcb_connection_t, ConnectionCloser>;

// The extensions the capture code may use, with what the server offers.
struct ExtensionInfo
{
    bool present = false;
    std::uint8_t firstEvent = 0;
    std::uint8_t firstError = 0;
};

struct Extensions
{
    ExtensionInfo composite;
    ExtensionInfo damage;
    ExtensionInfo render;
    ExtensionInfo xfixes;
    ExtensionInfo shm;
    ExtensionInfo shape;
    ExtensionInfo randr;
    ExtensionInfo res;
    bool shmSharedPixmaps = false;
};

// One connection to an X server, owned: closed when the holder goes. The capture thread, the
// main thread and the pointer monitor each hold their own. X errors on it are reported to the
// logging category given at the start.
class XcbConnection
{
public:
    // Opens `displayName`, or $DISPLAY when empty. Check isValid() before use.
    explicit XcbConnection(const std::string &displayName = {});
    XcbConnection(const std::string &displayName, const QLoggingCategory &category);
    ~XcbConnection();

    XcbConnection(const XcbConnection &) = delete;
    XcbConnection &operator=(const XcbConnection &) = delete;

    bool isValid() const { return m_connection != nullptr; }
    // Why the connection or a needed extension is unusable; empty when all is well.
    const QString &failure() const { return m_failure; }

    xcb_connection_t *get() const { return m_connection.get(); }
    const xcb_screen_t *screen() const { return m_screen; }
    xcb_window_t root() const { return m_screen ? m_screen->root : xcb_window_t{XCB_WINDOW_NONE}; }
    const Extensions &extensions() const { return m_extensions; }

    // Interns an atom (one round trip); XCB_ATOM_NONE when that fails.
    xcb_atom_t atom(const char *name) const;

    // Waits for the outcome of a checked request: the error, or nothing when it succeeded.
    // An error is reported (see report()).
    std::optional<XError> check(xcb_void_cookie_t cookie) const;

    // Round trip: every request sent before has been carried out when this returns.
    bool sync() const;

    // How the server numbers its extensions' errors and requests, and which ids are ours;
    // read when first needed.
    const XErrorCodes &errorCodes() const;
    // Whether the error is a routine one (a window vanished under a request) or a failure.
    XErrorClass classify(const xcb_generic_error_t &error) const;
    // Classifies the error and logs it: failures as warnings, routine errors for debugging.
    XErrorClass report(const xcb_generic_error_t &error) const;
    XErrorClass report(const XError &error) const;
    // For a connection whose events nobody reads: reports the errors that have arrived for
    // requests whose replies were read without asking for errors, and drops the rest.
    void reportQueuedErrors() const;

private:
    void queryExtensions();

    OwnedConnection m_connection;
    const QLoggingCategory *m_category = nullptr;
    mutable std::optional<XErrorCodes> m_errorCodes;
    const xcb_screen_t *m_screen = nullptr;
    Extensions m_extensions;
    QString m_failure;
};

// Why the capture cannot run on this connection, or nothing when every extension it needs
// is there.
std::optional<QString> missingCaptureSupport(const XcbConnection &connection);

} // namespace lookpane::x11
