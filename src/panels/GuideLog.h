#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.panels.guide": the guide window. Warnings show by default, debug messages when
// QT_LOGGING_RULES turns "lookpane.panels.guide.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcGuide)

} // namespace lookpane
