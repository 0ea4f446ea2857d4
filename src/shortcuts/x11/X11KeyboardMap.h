#pragma once

#include "shortcuts/ModifierMapping.h"

#include <xcb/xcb.h>

#include <QString>

#include <optional>

namespace lookpane::x11 {

// Reads where the keyboard map of `connection`'s server puts Num Lock and Scroll Lock (the
// modifier map and the keysyms of its keys; two requests, one round trip). None, with the
// reason in `failure`, when the server answers neither.
std::optional<LockModifiers> readLockModifiers(xcb_connection_t *connection, QString *failure);

} // namespace lookpane::x11
