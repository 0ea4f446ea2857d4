// The capture engine sees only its backend interface: this must not compile.
#include "capture/portal/PortalCaptureBackend.h"
