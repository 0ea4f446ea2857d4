#include "capture/x11/ShareableWindows.h"

#include "platform/x11/XcbConnection.h"

#include <xcb/res.h>

#include <algorithm>

namespace lookpane::x11 {

namespace {

// Layers of the other window types, ordered as their windows usually stack.
enum Layer : int
{
    desktopLayer = -1000,
    normalLayer = 0,
    utilityLayer = 3,
    dialogLayer = 8,
    dockLayer = 20,
    menuLayer = 24,
    notificationLayer = 25,
    splashLayer = 26,
};

struct Atoms
{
    explicit Atoms(const XcbConnection &c)
        : clientListStacking(c.atom("_NET_CLIENT_LIST_STACKING")),
          clientList(c.atom("_NET_CLIENT_LIST")), wmName(c.atom("_NET_WM_NAME")),
          utf8String(c.atom("UTF8_STRING")), wmPid(c.atom("_NET_WM_PID")),
          windowType(c.atom("_NET_WM_WINDOW_TYPE")), frameExtents(c.atom("_NET_FRAME_EXTENTS")),
          wmState(c.atom("_NET_WM_STATE")), hidden(c.atom("_NET_WM_STATE_HIDDEN")),
          typeNormal(c.atom("_NET_WM_WINDOW_TYPE_NORMAL")),
          typeDesktop(c.atom("_NET_WM_WINDOW_TYPE_DESKTOP")),
          typeDock(c.atom("_NET_WM_WINDOW_TYPE_DOCK")),
          typeDialog(c.atom("_NET_WM_WINDOW_TYPE_DIALOG")),
          typeUtility(c.atom("_NET_WM_WINDOW_TYPE_UTILITY")),
          typeToolbar(c.atom("_NET_WM_WINDOW_TYPE_TOOLBAR")),
          typeMenu(c.atom("_NET_WM_WINDOW_TYPE_MENU")),
          typeDropdown(c.atom("_NET_WM_WINDOW_TYPE_DROPDOWN_MENU")),
          typePopup(c.atom("_NET_WM_WINDOW_TYPE_POPUP_MENU")),
          typeTooltip(c.atom("_NET_WM_WINDOW_TYPE_TOOLTIP")),
          typeNotification(c.atom("_NET_WM_WINDOW_TYPE_NOTIFICATION")),
          typeSplash(c.atom("_NET_WM_WINDOW_TYPE_SPLASH"))
    {}
    xcb_atom_t clientListStacking, clientList, wmName, utf8String, wmPid, windowType, frameExtents,
        wmState, hidden, typeNormal, typeDesktop, typeDock, typeDialog, typeUtility, typeToolbar,
        typeMenu, typeDropdown, typePopup, typeTooltip, typeNotification, typeSplash;
};

std::vector<xcb_window_t> windowList(xcb_connection_t *c, xcb_window_t root, xcb_atom_t property)
{
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, root, property, XCB_ATOM_WINDOW, 0, 1 << 16), nullptr));
    if (!reply || reply->format != 32 || reply->type != XCB_ATOM_WINDOW) {
        return {};
    }
    const auto *ids = static_cast<const xcb_window_t *>(xcb_get_property_value(reply.get()));
    return {ids, ids + xcb_get_property_value_length(reply.get()) / 4};
}

std::vector<xcb_window_t> rootChildren(xcb_connection_t *c, xcb_window_t root)
{
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, root), nullptr));
    if (!tree) {
        return {};
    }
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    return {children, children + xcb_query_tree_children_length(tree.get())};
}

template <typename T> std::vector<T> values(const xcb_get_property_reply_t *reply, int format)
{
    if (!reply || reply->format != format) {
        return {};
    }
    const auto *data = static_cast<const T *>(xcb_get_property_value(reply));
    return {data, data + xcb_get_property_value_length(reply) / static_cast<int>(sizeof(T))};
}

QString text(const xcb_get_property_reply_t *reply, bool utf8)
{
    if (!reply || reply->format != 8) {
        return {};
    }
    const char *data = static_cast<const char *>(xcb_get_property_value(reply));
    const int length = xcb_get_property_value_length(reply);
    return utf8 ? QString::fromUtf8(data, length) : QString::fromLatin1(data, length);
}

int layerOf(const Atoms &atoms, const std::vector<xcb_atom_t> &types, bool overrideRedirect)
{
    // The first type the window manager knows decides; no type at all is a normal window.
    for (xcb_atom_t type : types) {
        if (type == atoms.typeNormal) {
            return normalLayer;
        }
        if (type == atoms.typeDesktop) {
            return desktopLayer;
        }
        if (type == atoms.typeDock) {
            return dockLayer;
        }
        if (type == atoms.typeDialog) {
            return dialogLayer;
        }
        if (type == atoms.typeUtility || type == atoms.typeToolbar) {
            return utilityLayer;
        }
        if (type == atoms.typeMenu || type == atoms.typeDropdown || type == atoms.typePopup ||
            type == atoms.typeTooltip) {
            return menuLayer;
        }
        if (type == atoms.typeNotification) {
            return notificationLayer;
        }
        if (type == atoms.typeSplash) {
            return splashLayer;
        }
    }
    return overrideRedirect ? menuLayer : normalLayer;
}

struct Requests
{
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t position;
    xcb_get_property_cookie_t netName, name, wmClass, pid, type, extents, state;
};

} // namespace

std::vector<ShareableWindowEntry> readShareableWindows(const XcbConnection &connection,
                                                       bool excludingDesktopWindows,
                                                       bool onScreenWindowsOnly,
                                                       const std::vector<ScaledMonitor> &monitors)
{
    xcb_connection_t *c = connection.get();
    const xcb_window_t root = connection.root();
    const Atoms atoms(connection);
    std::vector<xcb_window_t> windows = windowList(c, root, atoms.clientListStacking);
    if (windows.empty()) {
        windows = windowList(c, root, atoms.clientList);
    }
    if (windows.empty()) {
        windows = rootChildren(c, root);
    }
    // Bottom to top as listed; the result is front to back.
    std::reverse(windows.begin(), windows.end());

    std::vector<Requests> requests;
    requests.reserve(windows.size());
    for (xcb_window_t window : windows) {
        Requests r;
        r.attributes = xcb_get_window_attributes(c, window);
        r.geometry = xcb_get_geometry(c, window);
        r.position = xcb_translate_coordinates(c, window, root, 0, 0);
        r.netName = xcb_get_property(c, 0, window, atoms.wmName, atoms.utf8String, 0, 1024);
        r.name = xcb_get_property(c, 0, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY, 0, 1024);
        r.wmClass = xcb_get_property(c, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256);
        r.pid = xcb_get_property(c, 0, window, atoms.wmPid, XCB_ATOM_CARDINAL, 0, 1);
        r.type = xcb_get_property(c, 0, window, atoms.windowType, XCB_ATOM_ATOM, 0, 32);
        r.extents = xcb_get_property(c, 0, window, atoms.frameExtents, XCB_ATOM_CARDINAL, 0, 4);
        r.state = xcb_get_property(c, 0, window, atoms.wmState, XCB_ATOM_ATOM, 0, 32);
        requests.push_back(r);
    }

    std::vector<ShareableWindowEntry> entries;
    std::vector<std::size_t> withoutPid;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const Requests &r = requests[i];
        Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, r.attributes, nullptr));
        Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, r.geometry, nullptr));
        Reply<xcb_translate_coordinates_reply_t> position(
            xcb_translate_coordinates_reply(c, r.position, nullptr));
        Reply<xcb_get_property_reply_t> netName(xcb_get_property_reply(c, r.netName, nullptr));
        Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(c, r.name, nullptr));
        Reply<xcb_get_property_reply_t> wmClass(xcb_get_property_reply(c, r.wmClass, nullptr));
        Reply<xcb_get_property_reply_t> pid(xcb_get_property_reply(c, r.pid, nullptr));
        Reply<xcb_get_property_reply_t> type(xcb_get_property_reply(c, r.type, nullptr));
        Reply<xcb_get_property_reply_t> extents(xcb_get_property_reply(c, r.extents, nullptr));
        Reply<xcb_get_property_reply_t> state(xcb_get_property_reply(c, r.state, nullptr));
        if (!attributes || !geometry || !position) {
            continue; // gone meanwhile
        }
        if (attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
            continue;
        }
        const std::vector<xcb_atom_t> states = values<xcb_atom_t>(state.get(), 32);
        const bool hidden = std::find(states.begin(), states.end(), atoms.hidden) != states.end();
        if (onScreenWindowsOnly && (attributes->map_state != XCB_MAP_STATE_VIEWABLE || hidden)) {
            continue;
        }
        const std::vector<xcb_atom_t> types = values<xcb_atom_t>(type.get(), 32);
        if (excludingDesktopWindows &&
            std::find(types.begin(), types.end(), atoms.typeDesktop) != types.end()) {
            continue;
        }

        ShareableWindowEntry entry;
        entry.windowID = windows[i];
        entry.windowLayer = layerOf(atoms, types, attributes->override_redirect != 0);
        QString title = text(netName.get(), true);
        if (title.isEmpty()) {
            title = text(name.get(), name && name->type == atoms.utf8String);
        }
        entry.title = title;

        // The client area, grown by the window manager's frame around it.
        QRectF frame(position->dst_x, position->dst_y, geometry->width, geometry->height);
        const std::vector<std::uint32_t> frameExtents = values<std::uint32_t>(extents.get(), 32);
        if (frameExtents.size() == 4) { // left, right, top, bottom
            frame.adjust(-double(frameExtents[0]), -double(frameExtents[2]),
                         double(frameExtents[1]), double(frameExtents[3]));
        }
        entry.frame = qtRectFromRootPixels(frame, monitors);

        // WM_CLASS holds the instance name, then the class name.
        const QString classHint = text(wmClass.get(), false);
        const QStringList classParts = classHint.split(QChar(0));
        const QString className = classParts.size() > 1 ? classParts.at(1) : classParts.value(0);
        const std::vector<std::uint32_t> pids = values<std::uint32_t>(pid.get(), 32);
        ShareableApplication application;
        application.processID = pids.empty() ? 0 : pids.front();
        application.applicationName = className;
        application.bundleIdentifier = className;
        entry.owningApplication = application;
        if (pids.empty()) {
            withoutPid.push_back(entries.size());
        }
        entries.push_back(std::move(entry));
    }

    // Windows that do not tell their process: ask the server which client made them.
    if (connection.extensions().res.present && !withoutPid.empty()) {
        std::vector<xcb_res_query_client_ids_cookie_t> cookies;
        for (std::size_t index : withoutPid) {
            const xcb_res_client_id_spec_t spec{entries[index].windowID,
                                                XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
            cookies.push_back(xcb_res_query_client_ids(c, 1, &spec));
        }
        for (std::size_t k = 0; k < withoutPid.size(); ++k) {
            Reply<xcb_res_query_client_ids_reply_t> reply(
                xcb_res_query_client_ids_reply(c, cookies[k], nullptr));
            if (!reply) {
                continue;
            }
            auto it = xcb_res_query_client_ids_ids_iterator(reply.get());
            if (it.rem && xcb_res_client_id_value_value_length(it.data) >= 1) {
                entries[withoutPid[k]].owningApplication->processID =
                    *xcb_res_client_id_value_value(it.data);
            }
        }
    }
    // A window whose process is unknown has no owning application to name.
    for (ShareableWindowEntry &entry : entries) {
        if (entry.owningApplication->processID == 0) {
            entry.owningApplication.reset();
        }
    }
    return entries;
}

} // namespace lookpane::x11
