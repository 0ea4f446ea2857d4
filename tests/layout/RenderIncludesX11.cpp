// Rendering is independent of the window system: this must not compile.
#include "platform/x11/X11WindowTraits.h"
