#include "capture/CompleteLater.h"

#include <QMetaObject>
#include <QObject>

namespace lookpane {

void completeLater(QObject &context, CaptureCompletion done, CaptureError error)
{
    if (!done) {
        return;
    }
    QMetaObject::invokeMethod(
        &context, [done = std::move(done), error = std::move(error)] { done(error); },
        Qt::QueuedConnection);
}

} // namespace lookpane
