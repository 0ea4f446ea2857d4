#include "capture/x11/CaptureX11Log.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcCaptureX11, "lookpane.capture.x11", QtWarningMsg)

} // namespace lookpane
