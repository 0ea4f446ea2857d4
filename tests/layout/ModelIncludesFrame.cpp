// The value types lie below the windows: this must not compile.
#include "frame/FrameGeometry.h"
