#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.frame": the borderless windows, their geometry and the preview. Warnings show by
// default, debug messages when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns
// "lookpane.frame.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcFrame)

} // namespace lookpane
