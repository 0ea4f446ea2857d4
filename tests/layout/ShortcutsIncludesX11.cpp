// The hot-key centre speaks to its backend through an interface; the X11 backend lies above
// it and must stay out of its sight: this must not compile.
#include "shortcuts/x11/X11HotKeyBackend.h"
