#pragma once

#include <QLoggingCategory>

namespace lookpane {

// "lookpane.platform.x11": the X connection, window traits, desktop hints, the pointer monitor
// and the tray watcher.
// Warnings show by default; QT_LOGGING_RULES="lookpane.platform.x11.debug=true" shows the routine X
// errors too.
Q_DECLARE_LOGGING_CATEGORY(lcPlatformX11)

} // namespace lookpane
