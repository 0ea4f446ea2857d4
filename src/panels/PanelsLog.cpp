#include "panels/PanelsLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcPanels, "lookpane.panels", QtWarningMsg)

} // namespace lookpane
