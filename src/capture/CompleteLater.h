#pragma once

#include "capture/CaptureBackend.h"

class QObject;

namespace lookpane {

// Runs `done` with `error` later, on the thread of `context`, never inside the call: backends
// promise their completions that way. Nothing runs once `context` is gone, or when `done` is
// empty.
void completeLater(QObject &context, CaptureCompletion done, CaptureError error);

} // namespace lookpane
