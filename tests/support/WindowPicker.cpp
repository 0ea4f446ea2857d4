#include "WindowPicker.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace lookpane::testing {

namespace {

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;
using ConnectionPtr = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

// ICCCM's WM_STATE values.
constexpr std::uint32_t withdrawnState = 0;
constexpr std::uint32_t normalState = 1;
constexpr std::uint32_t iconicState = 3;

class Picker
{
public:
    explicit Picker(xcb_connection_t *c)
        : m_c(c), m_wmState(atom("WM_STATE")), m_windowType(atom("_NET_WM_WINDOW_TYPE")),
          m_typeNormal(atom("_NET_WM_WINDOW_TYPE_NORMAL")), m_role(atom("WM_WINDOW_ROLE")),
          m_pid(atom("_NET_WM_PID"))
    {}

    PickerListing list()
    {
        PickerListing listing;
        for (xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_c)); it.rem;
             xcb_screen_next(&it)) {
            const std::vector<xcb_window_t> topLevels = children(it.data->root);
            // The tree lists children bottom to top; pickers show the front-most first.
            for (auto child = topLevels.rbegin(); child != topLevels.rend(); ++child) {
                if (const xcb_window_t window = applicationWindow(*child)) {
                    listing.applicationWindows.push_back(describe(window));
                }
            }
        }
        return listing;
    }

    QStringList typeNames(xcb_window_t window)
    {
        QStringList names;
        for (const xcb_atom_t type : atoms(window, m_windowType)) {
            names.append(atomName(type));
        }
        return names;
    }

private:
    xcb_atom_t atom(const char *name)
    {
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            m_c, xcb_intern_atom(m_c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    QString atomName(xcb_atom_t atom)
    {
        Reply<xcb_get_atom_name_reply_t> reply(
            xcb_get_atom_name_reply(m_c, xcb_get_atom_name(m_c, atom), nullptr));
        if (!reply) {
            return {};
        }
        return QString::fromLatin1(xcb_get_atom_name_name(reply.get()),
                                   xcb_get_atom_name_name_length(reply.get()));
    }

    std::vector<xcb_window_t> children(xcb_window_t window)
    {
        Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_c, xcb_query_tree(m_c, window), nullptr));
        if (!tree) {
            return {};
        }
        const xcb_window_t *first = xcb_query_tree_children(tree.get());
        return {first, first + xcb_query_tree_children_length(tree.get())};
    }

    Reply<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                                             uint32_t length = 1024)
    {
        return Reply<xcb_get_property_reply_t>(xcb_get_property_reply(
            m_c, xcb_get_property(m_c, 0, window, name, type, 0, length), nullptr));
    }

    std::vector<xcb_atom_t> atoms(xcb_window_t window, xcb_atom_t name)
    {
        const Reply<xcb_get_property_reply_t> reply = property(window, name, XCB_ATOM_ATOM);
        if (!reply || reply->format != 32) {
            return {};
        }
        const auto *first = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
        return {first, first + xcb_get_property_value_length(reply.get()) / 4};
    }

    QString text(xcb_window_t window, xcb_atom_t name)
    {
        const Reply<xcb_get_property_reply_t> reply = property(window, name, XCB_ATOM_ANY);
        if (!reply || reply->format != 8) {
            return {};
        }
        return QString::fromUtf8(static_cast<const char *>(xcb_get_property_value(reply.get())),
                                 xcb_get_property_value_length(reply.get()));
    }

    std::uint32_t windowState(xcb_window_t window)
    {
        const Reply<xcb_get_property_reply_t> reply = property(window, m_wmState, m_wmState, 2);
        if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
            return withdrawnState;
        }
        return *static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    }

    xcb_window_t applicationWindow(xcb_window_t window)
    {
        const std::uint32_t state = windowState(window);
        if (state == normalState) {
            return window;
        }
        if (state == iconicState) {
            return XCB_WINDOW_NONE;
        }
        for (const xcb_window_t child : children(window)) {
            if (const xcb_window_t found = applicationWindow(child)) {
                return found;
            }
        }
        return XCB_WINDOW_NONE;
    }

    bool isDesktopElement(xcb_window_t window)
    {
        const std::vector<xcb_atom_t> types = atoms(window, m_windowType);
        if (!types.empty()) {
            return std::find(types.begin(), types.end(), m_typeNormal) == types.end();
        }
        // WM_CLASS: the instance name, a NUL, the class name.
        const Reply<xcb_get_property_reply_t> reply =
            property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
        if (!reply || reply->format != 8) {
            return false;
        }
        const char *data = static_cast<const char *>(xcb_get_property_value(reply.get()));
        const std::string instance(
            data,
            strnlen(data, static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))));
        return instance == "gnome-panel" || instance == "desktop_window";
    }

    PickerWindow describe(xcb_window_t window)
    {
        PickerWindow found;
        found.id = window;
        found.title = text(window, XCB_ATOM_WM_NAME);
        found.role = text(window, m_role);
        found.types = typeNames(window);
        const Reply<xcb_get_property_reply_t> pid = property(window, m_pid, XCB_ATOM_CARDINAL, 1);
        if (pid && pid->format == 32 && xcb_get_property_value_length(pid.get()) == 4) {
            found.pid = static_cast<int>(
                *static_cast<const std::uint32_t *>(xcb_get_property_value(pid.get())));
        }
        found.offered = !isDesktopElement(window) && !found.title.isEmpty();
        return found;
    }

    xcb_connection_t *m_c;
    xcb_atom_t m_wmState;
    xcb_atom_t m_windowType;
    xcb_atom_t m_typeNormal;
    xcb_atom_t m_role;
    xcb_atom_t m_pid;
};

} // namespace

std::vector<PickerWindow> PickerListing::offered() const
{
    std::vector<PickerWindow> result;
    for (const PickerWindow &window : applicationWindows) {
        if (window.offered) {
            result.push_back(window);
        }
    }
    return result;
}

std::optional<PickerListing> listPickerWindows(const std::string &display)
{
    const ConnectionPtr c(xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(c.get())) {
        return std::nullopt;
    }
    return Picker(c.get()).list();
}

QStringList windowTypeNames(const std::string &display, std::uint32_t window)
{
    const ConnectionPtr c(xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(c.get())) {
        return {};
    }
    return Picker(c.get()).typeNames(window);
}

} // namespace lookpane::testing
