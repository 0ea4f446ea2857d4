#include "platform/x11/XAtoms.h"

#include "platform/x11/XReply.h"

#include <cstdint>
#include <limits>

namespace lookpane::x11 {

xcb_atom_t internAtom(xcb_connection_t *connection, std::string_view name)
{
    if (connection == nullptr || name.size() > std::numeric_limits<std::uint16_t>::max()) {
        return XCB_ATOM_NONE;
    }
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

QString atomName(xcb_connection_t *connection, xcb_atom_t atom)
{
    if (connection == nullptr || atom == XCB_ATOM_NONE) {
        return {};
    }
    const Reply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, atom), nullptr));
    if (!reply) {
        return {};
    }
    return QString::fromLatin1(xcb_get_atom_name_name(reply.get()),
                               xcb_get_atom_name_name_length(reply.get()));
}

} // namespace lookpane::x11
