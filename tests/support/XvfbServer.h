#pragma once

#include "ChildProcess.h"

#include <QRect>

#include <memory>
#include <string>
#include <vector>

namespace lookpane::testing {

// A private X server for one test process: Xvfb on a display number of its own choosing
// (-displayfd, so parallel test processes never collide), 24-bit, Composite on. Optionally a
// window manager (openbox) and a compositing manager (xcompmgr) on it. Everything it started
// is ended when it goes, and dies with the test process.
class XvfbServer
{
public:
    // A RandR monitor (xrandr --setmonitor): what Qt makes a QScreen of, and what openbox and
    // the capture call a monitor.
    struct Monitor
    {
        std::string name;
        QRect geometry; // in root pixels
        // The primary monitor holds the server's one output and is marked primary; the others
        // are monitors without an output.
        bool primary = false;
    };

    struct Options
    {
        Options() = default;
        Options(int screenWidth, int screenHeight) : width(screenWidth), height(screenHeight) {}

        int width = 1920;
        int height = 1080;
        // Set before anything connects; none leaves the one monitor the size of the screen.
        std::vector<Monitor> monitors;
    };

    explicit XvfbServer(Options options) : XvfbServer(options, {}) {}
    // A server that goes without `disabledExtensions` ("Composite", "DAMAGE", ...), as on a
    // display whose administrator turned them off.
    XvfbServer(Options options, const std::vector<std::string> &disabledExtensions);
    XvfbServer() : XvfbServer(Options{}) {}
    ~XvfbServer();

    XvfbServer(const XvfbServer &) = delete;
    XvfbServer &operator=(const XvfbServer &) = delete;

    bool isRunning() const { return m_displayNumber >= 0; }
    // ":N"
    std::string displayName() const;
    int width() const { return m_options.width; }
    // The X server's process, for measuring what it spends.
    pid_t pid() const { return m_server ? m_server->pid() : -1; }
    // Ends the X server abruptly (SIGKILL), as a crash would, and waits until it is gone; true
    // once it is. Its clients see their connections break.
    bool kill();
    int height() const { return m_options.height; }

    // Adds a monitor, or removes one by name (never the primary one: without it the server's
    // output falls back to a monitor the size of the whole screen), as a user plugging and
    // unplugging displays; true when xrandr succeeded.
    bool addMonitor(const Monitor &monitor);
    bool removeMonitor(const std::string &name);

    // Starts openbox and waits until it manages the screen (_NET_SUPPORTING_WM_CHECK).
    bool startWindowManager();
    void stopWindowManager();
    // Starts a second window manager with --replace, as a user switching window managers
    // would; true once the old one has left and the new one manages windows.
    bool replaceWindowManager();
    bool hasWindowManager() const { return m_windowManager != nullptr; }

    // Starts xcompmgr and waits until it owns the compositing manager selection.
    bool startCompositor();
    void stopCompositor();

private:
    bool waitForRootCondition(bool (*condition)(const std::string &display), int timeoutMs) const;

    Options m_options;
    int m_displayNumber = -1;
    std::unique_ptr<ChildProcess> m_server;
    std::unique_ptr<ChildProcess> m_windowManager;
    std::unique_ptr<ChildProcess> m_compositor;
};

} // namespace lookpane::testing
