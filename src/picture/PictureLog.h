#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.picture": the captured picture and the CPU picture math. Warnings show by default,
// debug messages when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns
// "lookpane.picture.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcPicture)

} // namespace lookpane
