#pragma once

#include <xcb/xcb.h>

#include <QString>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace lookpane::x11 {

struct FreeDeleter
{
    void operator()(void *pointer) const { std::free(pointer); }
};

// A reply (or event, or error) that xcb allocated; freed when the holder goes.
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

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

// An X error turned into a value: the error code and the request that caused it.
struct XError
{
    std::uint8_t code = 0;
    std::uint8_t majorOpcode = 0;
    std::uint16_t minorOpcode = 0;
    std::uint32_t resource = 0;
};

// One connection to an X server, owned: closed when the holder goes. The capture thread and
// the main thread each hold their own.
class XcbConnection
{
public:
    // Opens `displayName`, or $DISPLAY when empty. Check isValid() before use.
    explicit XcbConnection(const std::string &displayName = {});
    ~XcbConnection();

    XcbConnection(const XcbConnection &) = delete;
    XcbConnection &operator=(const XcbConnection &) = delete;

    bool isValid() const { return m_connection != nullptr; }
    // Why the connection or a needed extension is unusable; empty when all is well.
    const QString &failure() const { return m_failure; }

    xcb_connection_t *get() const { return m_connection; }
    const xcb_screen_t *screen() const { return m_screen; }
    xcb_window_t root() const { return m_screen ? m_screen->root : xcb_window_t{XCB_WINDOW_NONE}; }
    const Extensions &extensions() const { return m_extensions; }

    // Interns an atom (one round trip); XCB_ATOM_NONE when that fails.
    xcb_atom_t atom(const char *name) const;

    // Waits for the outcome of a checked request: the error, or nothing when it succeeded.
    std::optional<XError> check(xcb_void_cookie_t cookie) const;

    // Round trip: every request sent before has been carried out when this returns.
    bool sync() const;

    // The extension that an error came from, for messages and for sorting out the errors
    // that vanishing windows cause.
    bool isVanishedResourceError(const xcb_generic_error_t &error) const;

private:
    void queryExtensions();

    xcb_connection_t *m_connection = nullptr;
    const xcb_screen_t *m_screen = nullptr;
    Extensions m_extensions;
    QString m_failure;
};

// Why the capture cannot run on this connection, or nothing when every extension it needs
// is there.
std::optional<QString> missingCaptureSupport(const XcbConnection &connection);

} // namespace lookpane::x11
