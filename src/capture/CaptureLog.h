#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.capture": the capture engine and its relay. Warnings show by default, debug messages
// when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns "lookpane.capture.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcCapture)

} // namespace lookpane
