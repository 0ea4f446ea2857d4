#pragma once

#include <sys/types.h>

namespace lookpane::testing {

// User + system CPU seconds a process has used so far (/proc/<pid>/stat); 0 when unknown.
double processCpuSeconds(pid_t pid);

} // namespace lookpane::testing
