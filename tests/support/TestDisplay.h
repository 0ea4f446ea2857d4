#pragma once

#include "XvfbServer.h"

namespace lookpane::testing {

// In a test executable built with DISPLAY (lookpane_test), the private X server that main()
// started before QApplication: 1920 × 1080 unless LOOKPANE_TEST_SCREEN says "WxH". DISPLAY,
// QT_QPA_PLATFORM and XDG_CONFIG_HOME (a fresh temporary folder) point at it and nothing else.
XvfbServer &testDisplay();

// The temporary settings folder of this test process.
std::string testConfigHome();

} // namespace lookpane::testing
