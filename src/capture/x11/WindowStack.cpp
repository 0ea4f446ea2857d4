#include "capture/x11/WindowStack.h"

#include "platform/x11/XcbConnection.h"

namespace lookpane::x11 {

bool WindowStack::rescan(const XcbConnection &connection)
{
    xcb_connection_t *c = connection.get();
    Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, connection.root()), nullptr));
    if (!tree) {
        return false;
    }
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());

    std::vector<xcb_get_window_attributes_cookie_t> attributeCookies;
    std::vector<xcb_get_geometry_cookie_t> geometryCookies;
    attributeCookies.reserve(static_cast<std::size_t>(count));
    geometryCookies.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        attributeCookies.push_back(xcb_get_window_attributes(c, children[i]));
        geometryCookies.push_back(xcb_get_geometry(c, children[i]));
    }

    std::vector<TopLevelWindow> windows;
    windows.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        Reply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            c, attributeCookies[static_cast<std::size_t>(i)], nullptr));
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, geometryCookies[static_cast<std::size_t>(i)], nullptr));
        if (!attributes || !geometry) {
            continue; // gone meanwhile
        }
        TopLevelWindow window;
        window.id = children[i];
        window.borderWidth = geometry->border_width;
        window.outer = QRect(geometry->x, geometry->y, geometry->width + 2 * geometry->border_width,
                             geometry->height + 2 * geometry->border_width);
        window.viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        window.overrideRedirect = attributes->override_redirect != 0;
        window.inputOutput = attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
        window.visual = attributes->visual;
        windows.push_back(window);
    }
    m_windows = std::move(windows);
    return true;
}

const TopLevelWindow *WindowStack::find(xcb_window_t window) const
{
    for (const TopLevelWindow &candidate : m_windows) {
        if (candidate.id == window) {
            return &candidate;
        }
    }
    return nullptr;
}

} // namespace lookpane::x11
