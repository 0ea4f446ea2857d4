#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.shell": the tray icon and the menus. Warnings show by default, debug messages
// when QT_LOGGING_RULES turns "lookpane.shell.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcShell)

} // namespace lookpane
