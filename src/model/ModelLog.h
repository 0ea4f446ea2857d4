#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.model": preferences and the other values. Warnings show by default, debug messages when
// QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns "lookpane.model.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcModel)

} // namespace lookpane
