#include "picture/PictureLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcPicture, "lookpane.picture", QtWarningMsg)

} // namespace lookpane
