#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.shortcuts": key combinations, stored shortcuts and the hot-key centre. Warnings show by
// default, debug messages when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns
// "lookpane.shortcuts.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcShortcuts)

} // namespace lookpane
