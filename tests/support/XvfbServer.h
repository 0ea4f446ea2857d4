#pragma once

#include "ChildProcess.h"

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
    struct Options
    {
        int width = 1920;
        int height = 1080;
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
