#include "capture/CaptureLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcCapture, "lookpane.capture", QtWarningMsg)

} // namespace lookpane
