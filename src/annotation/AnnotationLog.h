#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.annotation": the marks, their store and the canvas that draws them. Warnings show by
// default, debug messages when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns
// "lookpane.annotation.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcAnnotation)

} // namespace lookpane
