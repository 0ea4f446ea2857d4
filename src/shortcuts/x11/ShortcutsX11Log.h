#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.shortcuts.x11": the X11 hot-key grabs. Warnings show by default, debug messages
// when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns
// "lookpane.shortcuts.x11.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcShortcutsX11)

} // namespace lookpane
