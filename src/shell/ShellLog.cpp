#include "shell/ShellLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcShell, "lookpane.shell", QtWarningMsg)

} // namespace lookpane
