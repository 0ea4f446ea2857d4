#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.capture.x11": the X11 capture backend, including the X errors on its connections.
// Warnings show by default, debug messages when QT_LOGGING_RULES (or
// QLoggingCategory::setFilterRules) turns "lookpane.capture.x11.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcCaptureX11)

} // namespace lookpane
