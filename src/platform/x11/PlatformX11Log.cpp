#include "platform/x11/PlatformX11Log.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcPlatformX11, "lookpane.platform.x11", QtWarningMsg)

} // namespace lookpane
