#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.capture.portal": the ScreenCast portal conversation and the PipeWire stream behind
// it. Warnings show by default, debug messages when QT_LOGGING_RULES (or
// QLoggingCategory::setFilterRules) turns "lookpane.capture.portal.debug" on.
Q_DECLARE_LOGGING_CATEGORY(lcCapturePortal)

} // namespace lookpane
