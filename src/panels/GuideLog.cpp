#include "panels/GuideLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcGuide, "lookpane.panels.guide", QtWarningMsg)

} // namespace lookpane
