#pragma once

#include <string>
#include <vector>

namespace lookpane::testing {

// Runs xdotool on `display` with `args` and waits for it (real input through XTEST, as a user
// would give it). Returns whether it exited with status 0.
bool xdotool(const std::string &display, const std::vector<std::string> &args);

} // namespace lookpane::testing
