#include "XInput.h"

#include "ChildProcess.h"

#include <sys/wait.h>

namespace lookpane::testing {

bool xdotool(const std::string &display, const std::vector<std::string> &args)
{
    std::vector<std::string> argv{"xdotool"};
    argv.insert(argv.end(), args.begin(), args.end());
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display;
    ChildProcess process(argv, options);
    const std::optional<int> status = process.waitForExit(std::chrono::seconds(10));
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

} // namespace lookpane::testing
