#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace lookpane::x11 {

class XcbConnection;

// Decides which top-level windows the capture leaves out: those whose subtree holds a window
// of an excluded process or one of the excluded window ids. The subtree matters because a
// window manager wraps each client window in a frame of its own. A window belongs to a
// process when its _NET_WM_PID says so, or when the X-Resource extension reports that the
// client which created it runs in that process. Results are kept per top-level until the
// window's subtree may have changed.
class ExcludedWindows
{
public:
    explicit ExcludedWindows(const XcbConnection &connection);

    void setFilter(std::vector<std::int64_t> processIDs, std::vector<std::uint32_t> windowIDs);
    // Reads again which X clients run in the excluded processes (one round trip).
    void refreshClients();

    // Works out every top-level of `windows` not yet known, with pipelined requests.
    void classify(const std::vector<xcb_window_t> &windows);
    // Whether a classified top-level is left out (unknown ones count as not excluded).
    bool isExcluded(xcb_window_t topLevel) const;
    bool isKnown(xcb_window_t topLevel) const { return m_cache.contains(topLevel); }

    // The window's subtree may have changed (reparenting, mapping) or it is gone.
    void forget(xcb_window_t topLevel) { m_cache.erase(topLevel); }
    void forgetAll() { m_cache.clear(); }

private:
    struct ClientRange
    {
        std::uint32_t base = 0;
        std::uint32_t mask = 0;
    };

    bool isOwnWindow(xcb_window_t window) const;
    bool isExcludedProcess(std::int64_t pid) const;

    const XcbConnection &m_connection;
    xcb_atom_t m_pidAtom = XCB_ATOM_NONE;
    std::vector<std::int64_t> m_processIDs;
    std::vector<std::uint32_t> m_windowIDs;
    std::vector<ClientRange> m_clients;
    std::unordered_map<xcb_window_t, bool> m_cache;
};

} // namespace lookpane::x11
