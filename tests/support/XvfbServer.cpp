#include "XvfbServer.h"

#include <xcb/xcb.h>

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

namespace lookpane::testing {

namespace {

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};

using ConnectionPtr = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

ConnectionPtr connect(const std::string &display)
{
    return ConnectionPtr(xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
}

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool hasWindowManagerCheck(const std::string &display)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return false;
    }
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c.get())).data;
    const xcb_atom_t check = atom(c.get(), "_NET_SUPPORTING_WM_CHECK");
    std::unique_ptr<xcb_get_property_reply_t, FreeDeleter> reply(xcb_get_property_reply(
        c.get(), xcb_get_property(c.get(), 0, screen->root, check, XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    return reply && xcb_get_property_value_length(reply.get()) == 4;
}

bool hasCompositor(const std::string &display)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return false;
    }
    const xcb_atom_t selection = atom(c.get(), "_NET_WM_CM_S0");
    std::unique_ptr<xcb_get_selection_owner_reply_t, FreeDeleter> reply(
        xcb_get_selection_owner_reply(c.get(), xcb_get_selection_owner(c.get(), selection),
                                      nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

// Openbox announces itself (_NET_SUPPORTING_WM_CHECK) before it handles map requests; a
// window mapped in between stays unmapped for good. The window manager is ready once a probe
// window that we map actually becomes viewable.
bool windowManagerMapsWindows(const std::string &display)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return false;
    }
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c.get())).data;
    const xcb_window_t probe = xcb_generate_id(c.get());
    xcb_create_window(c.get(), XCB_COPY_FROM_PARENT, probe, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    xcb_map_window(c.get(), probe);
    xcb_flush(c.get());
    bool viewable = false;
    for (int i = 0; i < 50 && !viewable; ++i) {
        std::unique_ptr<xcb_get_window_attributes_reply_t, FreeDeleter> attributes(
            xcb_get_window_attributes_reply(c.get(), xcb_get_window_attributes(c.get(), probe),
                                            nullptr));
        viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        if (!viewable) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    xcb_destroy_window(c.get(), probe);
    xcb_flush(c.get());
    return viewable;
}

bool runXrandr(const std::string &display, const std::vector<std::string> &args)
{
    std::vector<std::string> argv{"xrandr"};
    argv.insert(argv.end(), args.begin(), args.end());
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display;
    ChildProcess process(argv, options);
    const std::optional<int> status = process.waitForExit(std::chrono::seconds(10));
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

// "W/mmW x H/mmH + X + Y" at 96 dots per inch, the server's own resolution.
std::string monitorGeometry(const QRect &rect)
{
    const auto millimetres = [](int pixels) { return std::to_string(pixels * 254 / 960); };
    return std::to_string(rect.width()) + "/" + millimetres(rect.width()) + "x" +
           std::to_string(rect.height()) + "/" + millimetres(rect.height()) + "+" +
           std::to_string(rect.x()) + "+" + std::to_string(rect.y());
}

} // namespace

XvfbServer::XvfbServer(Options options, const std::vector<std::string> &disabledExtensions)
    : m_options(options)
{
    // Xvfb writes the display number it chose to the descriptor given to -displayfd: our
    // child's standard output.
    const std::string screen =
        std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
    ChildProcess::Options childOptions;
    childOptions.captureStdout = true;
    std::vector<std::string> argv{"Xvfb", "-displayfd", "1", "-screen", "0", screen};
    for (const std::string &extension : {std::string("Composite"), std::string("RANDR")}) {
        if (std::find(disabledExtensions.begin(), disabledExtensions.end(), extension) ==
            disabledExtensions.end()) {
            argv.insert(argv.end(), {"+extension", extension});
        }
    }
    for (const std::string &extension : disabledExtensions) {
        argv.insert(argv.end(), {"-extension", extension});
    }
    argv.insert(argv.end(), {"-nolisten", "tcp", "-noreset", "-dpi", "96"});
    m_server = std::make_unique<ChildProcess>(argv, childOptions);
    const std::optional<std::string> line = m_server->readLine(std::chrono::seconds(20));
    if (!line || line->empty()) {
        m_server.reset();
        return;
    }
    m_displayNumber = std::atoi(line->c_str());
    for (const Monitor &monitor : m_options.monitors) {
        if (!addMonitor(monitor)) {
            m_server.reset();
            m_displayNumber = -1;
            return;
        }
    }
}

XvfbServer::~XvfbServer()
{
    m_compositor.reset();
    m_windowManager.reset();
    m_server.reset();
}

bool XvfbServer::kill()
{
    if (!m_server) {
        return false;
    }
    m_server->signal(SIGKILL);
    return m_server->waitForExit(std::chrono::seconds(10)).has_value();
}

std::string XvfbServer::displayName() const
{
    return ":" + std::to_string(m_displayNumber);
}

bool XvfbServer::addMonitor(const Monitor &monitor)
{
    // Xvfb has one output ("screen"). Given to a monitor of our own, it no longer makes a
    // monitor of the whole screen, and marked primary it makes that monitor Qt's primary screen.
    if (monitor.primary) {
        return runXrandr(displayName(), {"--setmonitor", monitor.name,
                                         monitorGeometry(monitor.geometry), "screen"}) &&
               runXrandr(displayName(), {"--output", "screen", "--primary"});
    }
    return runXrandr(displayName(),
                     {"--setmonitor", monitor.name, monitorGeometry(monitor.geometry), "none"});
}

bool XvfbServer::removeMonitor(const std::string &name)
{
    return runXrandr(displayName(), {"--delmonitor", name});
}

bool XvfbServer::waitForRootCondition(bool (*condition)(const std::string &), int timeoutMs) const
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition(displayName())) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

bool XvfbServer::startWindowManager()
{
    if (!isRunning()) {
        return false;
    }
    if (m_windowManager) {
        return true;
    }
    ChildProcess::Options options;
    options.environment["DISPLAY"] = displayName();
    m_windowManager = std::make_unique<ChildProcess>(
        std::vector<std::string>{"openbox", "--sm-disable"}, options);
    if (!waitForRootCondition(&hasWindowManagerCheck, 15000) ||
        !waitForRootCondition(&windowManagerMapsWindows, 15000)) {
        m_windowManager.reset();
        return false;
    }
    return true;
}

void XvfbServer::stopWindowManager()
{
    m_windowManager.reset();
}

bool XvfbServer::replaceWindowManager()
{
    if (!m_windowManager) {
        return startWindowManager();
    }
    ChildProcess::Options options;
    options.environment["DISPLAY"] = displayName();
    auto successor = std::make_unique<ChildProcess>(
        std::vector<std::string>{"openbox", "--replace", "--sm-disable"}, options);
    // The old one leaves when it sees the selection taken; only then does the new one manage.
    if (!m_windowManager->waitForExit(std::chrono::seconds(15))) {
        return false;
    }
    m_windowManager = std::move(successor);
    return waitForRootCondition(&hasWindowManagerCheck, 15000) &&
           waitForRootCondition(&windowManagerMapsWindows, 15000);
}

bool XvfbServer::startCompositor()
{
    if (!isRunning()) {
        return false;
    }
    if (m_compositor) {
        return true;
    }
    ChildProcess::Options options;
    options.environment["DISPLAY"] = displayName();
    m_compositor = std::make_unique<ChildProcess>(std::vector<std::string>{"xcompmgr"}, options);
    if (!waitForRootCondition(&hasCompositor, 15000)) {
        m_compositor.reset();
        return false;
    }
    return true;
}

void XvfbServer::stopCompositor()
{
    m_compositor.reset();
}

} // namespace lookpane::testing
