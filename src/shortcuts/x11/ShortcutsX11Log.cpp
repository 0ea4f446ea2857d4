#include "shortcuts/x11/ShortcutsX11Log.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcShortcutsX11, "lookpane.shortcuts.x11", QtWarningMsg)

} // namespace lookpane
