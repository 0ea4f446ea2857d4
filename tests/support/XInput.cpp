#include "XInput.h"

#include "ChildProcess.h"

#include <sys/wait.h>

#include <chrono>
#include <thread>

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

bool moveMouseTo(const std::string &display, QPoint p)
{
    const bool moved =
        xdotool(display, {"mousemove", std::to_string(p.x()), std::to_string(p.y())});
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    return moved;
}

bool clickAt(const std::string &display, QPoint p, int button)
{
    return moveMouseTo(display, p) && xdotool(display, {"click", std::to_string(button)});
}

bool dragFromTo(const std::string &display, QPoint from, QPoint to)
{
    if (!moveMouseTo(display, from) || !xdotool(display, {"mousedown", "1"})) {
        return false;
    }
    for (int step = 1; step <= 8; ++step) {
        moveMouseTo(display, from + (to - from) * step / 8);
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    return xdotool(display, {"mouseup", "1"});
}

} // namespace lookpane::testing
