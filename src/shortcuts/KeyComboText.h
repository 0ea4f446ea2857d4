#pragma once

#include "model/KeyCombo.h"

#include <QString>

#include <cstdint>

namespace lookpane {

// How a combination reads on Linux: "Ctrl+", "Alt+", "Shift+", "Super+" (command, option,
// shift, control), each only when present, then the key's name. The default blur shortcut
// reads "Ctrl+Alt+Super+B".
QString displayString(const KeyCombo &combo);

// The name of a physical key: special keys by their Linux names ("Space", "Return", "Esc",
// "Page Up", "F1", ...), the other keys by their US ANSI legend ("A", "1", "\\", ...), and
// any other code as "Key " and the decimal code.
QString keyName(std::uint16_t keyCode);

} // namespace lookpane
