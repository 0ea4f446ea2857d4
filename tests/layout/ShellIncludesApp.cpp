// The menus report what was chosen and never reach up to the application controller: this must
// not compile.
#include "app/AppDelegate.h"
