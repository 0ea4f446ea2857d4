#include "XInput.h"

#include "ChildProcess.h"
#include "Eventually.h"

#include <xcb/xcb.h>

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>

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

std::optional<QPoint> pointerPosition(const std::string &display)
{
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c) != 0) {
        return std::nullopt;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const std::unique_ptr<xcb_query_pointer_reply_t, decltype(&std::free)> pointer(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, root), nullptr), &std::free);
    if (!pointer) {
        return std::nullopt;
    }
    return QPoint(pointer->root_x, pointer->root_y);
}

namespace {

// Where the server puts the pointer asked to go to `p`: the screen holds it.
QPoint keptOnTheScreen(const std::string &display, QPoint p)
{
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c) != 0) {
        return p;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, root), nullptr), &std::free);
    if (!geometry) {
        return p;
    }
    return {std::clamp(p.x(), 0, geometry->width - 1), std::clamp(p.y(), 0, geometry->height - 1)};
}

} // namespace

bool moveMouseTo(const std::string &display, QPoint p)
{
    // Back once the server has the pointer there, so that a press that follows lands there.
    if (!xdotool(display, {"mousemove", std::to_string(p.x()), std::to_string(p.y())})) {
        return false;
    }
    const QPoint expected = keptOnTheScreen(display, p);
    return eventually([&] { return pointerPosition(display) == expected; });
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
    }
    return xdotool(display, {"mouseup", "1"});
}

} // namespace lookpane::testing
