#include "frame/FrameLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcFrame, "lookpane.frame", QtWarningMsg)

} // namespace lookpane
