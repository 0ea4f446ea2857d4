// The windows do not reach up to the controller that owns them: this must not compile.
#include "app/LookpaneWindowController.h"
