#include "ProcessCpu.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace lookpane::testing {

double processCpuSeconds(pid_t pid)
{
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    std::FILE *file = std::fopen(path.c_str(), "r");
    if (!file) {
        return 0;
    }
    char text[2048] = {};
    const std::size_t length = std::fread(text, 1, sizeof text - 1, file);
    std::fclose(file);
    text[length] = '\0';
    // The command name may hold blanks; the fields after its closing ')' start with the state
    // (field 3); utime and stime are fields 14 and 15.
    const char *field = std::strrchr(text, ')');
    if (!field) {
        return 0;
    }
    unsigned long long ticks = 0;
    for (int index = 2; index <= 15 && field; ++index) {
        field = std::strchr(field + 1, ' ');
        if (field && index >= 13) {
            ticks += std::strtoull(field + 1, nullptr, 10);
        }
    }
    return static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

} // namespace lookpane::testing
