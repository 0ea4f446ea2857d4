#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.toolbar": the toolbar window. Warnings show by default, debug messages when
// QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns "lookpane.toolbar.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcToolbar)

} // namespace lookpane
