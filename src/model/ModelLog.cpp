#include "model/ModelLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcModel, "lookpane.model", QtWarningMsg)

} // namespace lookpane
