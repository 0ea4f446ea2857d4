#include "render/RenderLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcRender, "lookpane.render", QtWarningMsg)

} // namespace lookpane
