#include "annotation/AnnotationLog.h"

namespace lookpane {

Q_LOGGING_CATEGORY(lcAnnotation, "lookpane.annotation", QtWarningMsg)

} // namespace lookpane
