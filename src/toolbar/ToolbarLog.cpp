#include "toolbar/ToolbarLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcToolbar, "lookpane.toolbar", QtWarningMsg)

} // namespace lookpane
