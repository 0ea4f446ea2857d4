#include "capture/portal/CapturePortalLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcCapturePortal, "lookpane.capture.portal", QtWarningMsg)

} // namespace lookpane
