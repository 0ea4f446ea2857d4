// The portal backend works without the X server's capture: this must not compile.
#include "capture/x11/X11CaptureBackend.h"
