// The settings and guide windows report what the user did and never reach up to the
// application controller: this must not compile.
#include "app/AppDelegate.h"
