// The toolbar is told what to show; it does not know the windows: this must not compile.
#include "frame/BorderlessWindow.h"
