#pragma once

#include <xcb/xcb.h>

#include <QString>

#include <string_view>

namespace lookpane::x11 {

// The atom named `name`, interned if the server does not know it yet (one round trip);
// XCB_ATOM_NONE when the connection or the request fails.
xcb_atom_t internAtom(xcb_connection_t *connection, std::string_view name);

// The name of `atom` (one round trip); empty when the server knows no such atom.
QString atomName(xcb_connection_t *connection, xcb_atom_t atom);

} // namespace lookpane::x11
