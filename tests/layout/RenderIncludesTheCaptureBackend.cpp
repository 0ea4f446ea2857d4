// Rendering paints pictures it is handed; where they come from is not its business: this must
// not compile. (It sees the X11 platform library, whose RENDER painter draws the share view
// where the X server paints it, but never the capture backend.)
#include "capture/x11/X11CaptureBackend.h"
