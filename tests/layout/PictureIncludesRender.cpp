// The CPU picture math knows nothing of OpenGL: this must not compile.
#include "render/CaptureRenderer.h"
