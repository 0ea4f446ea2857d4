#include "shortcuts/ShortcutsLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcShortcuts, "lookpane.shortcuts", QtWarningMsg)

} // namespace lookpane
