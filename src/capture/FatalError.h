#pragma once

#include <QString>

namespace lookpane {

// Stops the program after a violated invariant that no caller can recover from: writes
// "Lookpane: fatal error: <message>" to standard error and aborts.
[[noreturn]] void fatalError(const QString &message);

} // namespace lookpane
