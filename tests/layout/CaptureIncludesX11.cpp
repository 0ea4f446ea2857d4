// The capture engine sees only its backend interface: this must not compile.
#include "capture/x11/X11CaptureBackend.h"
