#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.app": the application and its window controller. Warnings show by default, debug
// messages when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns "lookpane.app.debug"
// on.
Q_DECLARE_LOGGING_CATEGORY(lcApp)

} // namespace lookpane
