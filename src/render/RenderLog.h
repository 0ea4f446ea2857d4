#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.render": the renderer and the capture surfaces. Warnings show by default, debug
// messages when QT_LOGGING_RULES (or QLoggingCategory::setFilterRules) turns
// "lookpane.render.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcRender)

} // namespace lookpane
