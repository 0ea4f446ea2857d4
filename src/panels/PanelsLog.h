#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.panels": the settings window and its shortcut recorders. Warnings show by
// default, debug messages when QT_LOGGING_RULES turns "lookpane.panels.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcPanels)

} // namespace lookpane
