#pragma once

#include <xcb/xcb.h>

#include <QString>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QLoggingCategory;

namespace lookpane::x11 {

// An X error turned into a value: the error code and the request that caused it. `resource`
// is the server's "bad value": the offending id for errors about a resource (BadWindow,
// BadPixmap, BadPicture ...), the offending number for BadValue, unused for the others.
struct XError
{
    std::uint8_t code = 0;
    std::uint8_t majorOpcode = 0;
    std::uint16_t minorOpcode = 0;
    std::uint32_t resource = 0;
};

XError toXError(const xcb_generic_error_t &error);

// Where one server put an extension: its requests' major opcode and its first error code.
struct XExtensionCodes
{
    std::string name; // as the server lists it: "RENDER", "Composite", "MIT-SHM" ...
    std::uint8_t majorOpcode = 0;
    std::uint8_t firstError = 0;
};

// What is needed to read the errors of one connection: how its server numbers the
// extensions Lookpane uses, and the range of resource ids that are the connection's own.
struct XErrorCodes
{
    std::uint32_t resourceIdBase = 0;
    std::uint32_t resourceIdMask = 0;
    std::vector<XExtensionCodes> extensions; // only those the server has

    // Read from the connection; one round trip for extensions nobody has asked about yet.
    static XErrorCodes of(xcb_connection_t *connection);

    bool isOwnResource(std::uint32_t id) const;
    const XExtensionCodes *extension(std::string_view name) const;
    const XExtensionCodes *extensionOfRequest(std::uint8_t majorOpcode) const;
};

// Errors are of two kinds. Routine ones come from windows that other clients destroy, unmap
// or resize while Lookpane works on them (and from our own pictures, pixmaps and regions made
// from such a window, which the server refuses or drops along with it): they are expected and
// only logged for debugging. Failures point at something wrong on our side or in the
// server (no memory left, a refused request, a wrong argument) and are logged as warnings.
enum class XErrorClass
{
    routine,
    failure,
};

XErrorClass classify(const XError &error, const XErrorCodes &codes);

// "BadWindow", "RENDER BadPicture", or "error 200" for a code of an unknown extension.
QString errorName(std::uint8_t code, const XErrorCodes &codes);
// "CreatePixmap", "RENDER CreatePicture", or "RENDER request 23" where the name is not known.
QString requestName(std::uint8_t majorOpcode, std::uint16_t minorOpcode, const XErrorCodes &codes);
// One line naming the error, the request (with its opcodes) and the resource.
QString describe(const XError &error, const XErrorCodes &codes);

// Classifies the error and logs it to `category`: a warning for a failure, a debug message
// for a routine error. Returns the class.
XErrorClass report(const QLoggingCategory &category, const XError &error, const XErrorCodes &codes);

// Waits for the outcome of a checked request on `connection` and reports an error to
// `category`: the error, or nothing when the request succeeded.
std::optional<XError> checkRequest(xcb_connection_t *connection, xcb_void_cookie_t cookie,
                                   const QLoggingCategory &category);

} // namespace lookpane::x11
