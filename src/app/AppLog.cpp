#include "app/AppLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcApp, "lookpane.app", QtWarningMsg)

} // namespace lookpane
