#include "capture/x11/ExcludedWindows.h"

#include "platform/x11/XcbConnection.h"

#include <xcb/res.h>

#include <algorithm>

namespace lookpane::x11 {

namespace {
// Window managers' frames nest clients a few levels deep, embedders deeper; every level of
// every unknown top-level is read, one round trip a level. The budget only bounds a
// pathological tree: past it, the rest of that scan is taken as not ours.
constexpr std::size_t maximumWindowsPerScan = 50000;
} // namespace

ExcludedWindows::ExcludedWindows(const XcbConnection &connection)
    : m_connection(connection), m_pidAtom(connection.atom("_NET_WM_PID"))
{}

void ExcludedWindows::setFilter(std::vector<std::int64_t> processIDs,
                                std::vector<std::uint32_t> windowIDs)
{
    m_processIDs = std::move(processIDs);
    m_windowIDs = std::move(windowIDs);
    m_cache.clear();
    refreshClients();
}

void ExcludedWindows::refreshClients()
{
    m_clients.clear();
    if (!m_connection.extensions().res.present || m_processIDs.empty()) {
        return;
    }
    xcb_connection_t *c = m_connection.get();
    // Every client's process id, then every client's id range.
    xcb_res_client_id_spec_t spec{XCB_NONE, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    auto idsCookie = xcb_res_query_client_ids(c, 1, &spec);
    auto clientsCookie = xcb_res_query_clients(c);
    Reply<xcb_res_query_client_ids_reply_t> ids(
        xcb_res_query_client_ids_reply(c, idsCookie, nullptr));
    Reply<xcb_res_query_clients_reply_t> clients(
        xcb_res_query_clients_reply(c, clientsCookie, nullptr));
    if (!ids || !clients) {
        return;
    }
    std::vector<std::uint32_t> excludedBases;
    for (auto it = xcb_res_query_client_ids_ids_iterator(ids.get()); it.rem;
         xcb_res_client_id_value_next(&it)) {
        if (xcb_res_client_id_value_value_length(it.data) < 1) {
            continue;
        }
        const std::int64_t pid = *xcb_res_client_id_value_value(it.data);
        if (isExcludedProcess(pid)) {
            excludedBases.push_back(it.data->spec.client);
        }
    }
    const xcb_res_client_t *list = xcb_res_query_clients_clients(clients.get());
    const int count = xcb_res_query_clients_clients_length(clients.get());
    for (int i = 0; i < count; ++i) {
        for (std::uint32_t id : excludedBases) {
            if ((id & ~list[i].resource_mask) == list[i].resource_base) {
                m_clients.push_back({list[i].resource_base, list[i].resource_mask});
            }
        }
    }
}

bool ExcludedWindows::isExcludedProcess(std::int64_t pid) const
{
    return std::find(m_processIDs.begin(), m_processIDs.end(), pid) != m_processIDs.end();
}

bool ExcludedWindows::isOwnWindow(xcb_window_t window) const
{
    if (std::find(m_windowIDs.begin(), m_windowIDs.end(), window) != m_windowIDs.end()) {
        return true;
    }
    return std::any_of(m_clients.begin(), m_clients.end(), [&](const ClientRange &range) {
        return (window & ~range.mask) == range.base;
    });
}

void ExcludedWindows::classify(const std::vector<xcb_window_t> &windows)
{
    xcb_connection_t *c = m_connection.get();
    // Breadth first over all unknown top-levels at once: each level costs one round trip.
    struct Node
    {
        xcb_window_t window;
        xcb_window_t topLevel;
    };
    std::vector<Node> level;
    for (xcb_window_t window : windows) {
        if (!m_cache.contains(window)) {
            m_cache[window] = false;
            level.push_back({window, window});
        }
    }
    std::size_t read = 0;
    while (!level.empty() && read < maximumWindowsPerScan) {
        read += level.size();
        std::vector<xcb_query_tree_cookie_t> trees;
        std::vector<xcb_get_property_cookie_t> pids;
        trees.reserve(level.size());
        pids.reserve(level.size());
        for (const Node &node : level) {
            trees.push_back(xcb_query_tree(c, node.window));
            pids.push_back(xcb_get_property(c, 0, node.window, m_pidAtom, XCB_ATOM_CARDINAL, 0, 1));
        }
        std::vector<Node> next;
        for (std::size_t i = 0; i < level.size(); ++i) {
            const Node &node = level[i];
            Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, trees[i], nullptr));
            Reply<xcb_get_property_reply_t> pid(xcb_get_property_reply(c, pids[i], nullptr));
            bool own = isOwnWindow(node.window);
            if (pid && pid->format == 32 && xcb_get_property_value_length(pid.get()) >= 4) {
                own = own || isExcludedProcess(*static_cast<const std::uint32_t *>(
                                 xcb_get_property_value(pid.get())));
            }
            if (own) {
                m_cache[node.topLevel] = true;
            }
            if (!tree || m_cache[node.topLevel]) {
                continue;
            }
            const xcb_window_t *children = xcb_query_tree_children(tree.get());
            const int count = xcb_query_tree_children_length(tree.get());
            for (int k = 0; k < count; ++k) {
                next.push_back({children[k], node.topLevel});
            }
        }
        // Subtrees already known to be excluded need no further reading.
        std::erase_if(next, [&](const Node &node) { return m_cache[node.topLevel]; });
        level = std::move(next);
    }
}

bool ExcludedWindows::isExcluded(xcb_window_t topLevel) const
{
    const auto it = m_cache.find(topLevel);
    return it != m_cache.end() && it->second;
}

} // namespace lookpane::x11
