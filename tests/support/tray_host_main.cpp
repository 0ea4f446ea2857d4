// A small XEmbed system tray of its own process, as a desktop's panel provides one, for tests.
//
//   lookpane_tray_host [--geometry WxH+X+Y] [--announce-later]
//
// It owns the _NET_SYSTEM_TRAY_S0 selection with a window of its own (override-redirect, at
// the top-right corner unless --geometry says otherwise), announces itself to the screen's
// clients with the MANAGER message (with --announce-later only on SIGUSR1, as a slow tray
// would), and takes every icon that asks to dock
// (SYSTEM_TRAY_REQUEST_DOCK): the icon's window is reparented into the tray's window, mapped
// and told it is embedded (XEMBED_EMBEDDED_NOTIFY). Icons sit side by side, 24 points apart.
//
// Prints on standard output:
//   "tray 0x..."      once it owns the selection and has announced itself
//   "docked 0x..."    when an icon's window is in the tray and mapped
//   "undocked 0x..."  when a docked icon's window was destroyed or taken out of the tray
// It exits on SIGTERM, when another tray takes the selection, or when the server goes.
#include <xcb/xcb.h>

#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

volatile sig_atomic_t stopRequested = 0;
volatile sig_atomic_t announceRequested = 0;

constexpr std::uint32_t systemTrayRequestDock = 0;
constexpr std::uint32_t xembedEmbeddedNotify = 0;
constexpr int iconSpacing = 24;
constexpr std::uint32_t trayBackground = 0x3A3A3A;

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void say(const char *what, xcb_window_t window)
{
    std::printf("%s 0x%x\n", what, window);
    std::fflush(stdout);
}

void sendClientMessage(xcb_connection_t *c, xcb_window_t destination, xcb_window_t window,
                       xcb_atom_t type, const std::uint32_t (&data)[5], std::uint32_t eventMask)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    std::memcpy(event.data.data32, data, sizeof data);
    xcb_send_event(c, 0, destination, eventMask, reinterpret_cast<const char *>(&event));
}

class Tray
{
public:
    Tray(xcb_connection_t *c, xcb_screen_t *screen) : m_c(c), m_screen(screen)
    {
        m_selection = atom(c, "_NET_SYSTEM_TRAY_S0");
        m_manager = atom(c, "MANAGER");
        m_opcode = atom(c, "_NET_SYSTEM_TRAY_OPCODE");
        m_xembed = atom(c, "_XEMBED");
    }

    bool start(int x, int y, int width, int height, bool announceNow)
    {
        m_window = xcb_generate_id(m_c);
        const std::uint32_t values[] = {trayBackground, 1,
                                        XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                            XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
        xcb_create_window(m_c, XCB_COPY_FROM_PARENT, m_window, m_screen->root,
                          static_cast<int16_t>(x), static_cast<int16_t>(y),
                          static_cast<uint16_t>(width), static_cast<uint16_t>(height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, m_screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        const char title[] = "Lookpane test tray";
        xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                            8, sizeof title - 1, title);
        // Icons lie side by side.
        const std::uint32_t horizontal = 0;
        xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, m_window,
                            atom(m_c, "_NET_SYSTEM_TRAY_ORIENTATION"), XCB_ATOM_CARDINAL, 32, 1,
                            &horizontal);
        xcb_map_window(m_c, m_window);

        xcb_set_selection_owner(m_c, m_window, m_selection, XCB_CURRENT_TIME);
        std::unique_ptr<xcb_get_selection_owner_reply_t, FreeDeleter> owner(
            xcb_get_selection_owner_reply(m_c, xcb_get_selection_owner(m_c, m_selection), nullptr));
        if (!owner || owner->owner != m_window) {
            return false;
        }
        if (announceNow) {
            announce();
        }
        say("tray", m_window);
        return true;
    }

    // Clients that started before the tray learn of it from this message on the root.
    void announce()
    {
        const std::uint32_t announcement[5] = {XCB_CURRENT_TIME, m_selection, m_window, 0, 0};
        sendClientMessage(m_c, m_screen->root, m_screen->root, m_manager, announcement,
                          XCB_EVENT_MASK_STRUCTURE_NOTIFY);
        xcb_flush(m_c);
    }

    // False when the tray has to end.
    bool handle(const xcb_generic_event_t *event)
    {
        switch (event->response_type & 0x7F) {
        case XCB_CLIENT_MESSAGE: {
            const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
            if (message->type == m_opcode && message->format == 32 &&
                message->data.data32[1] == systemTrayRequestDock) {
                dock(message->data.data32[2]);
            }
            return true;
        }
        case XCB_DESTROY_NOTIFY:
            forget(reinterpret_cast<const xcb_destroy_notify_event_t *>(event)->window);
            return true;
        case XCB_REPARENT_NOTIFY: {
            const auto *reparent = reinterpret_cast<const xcb_reparent_notify_event_t *>(event);
            if (reparent->parent != m_window) {
                forget(reparent->window);
            }
            return true;
        }
        case XCB_SELECTION_CLEAR:
            return reinterpret_cast<const xcb_selection_clear_event_t *>(event)->selection !=
                   m_selection;
        default:
            return true;
        }
    }

private:
    void dock(xcb_window_t icon)
    {
        if (icon == XCB_WINDOW_NONE ||
            std::find(m_icons.begin(), m_icons.end(), icon) != m_icons.end()) {
            return;
        }
        // The icon survives the tray: it goes back to the root if the tray dies.
        xcb_change_save_set(m_c, XCB_SET_MODE_INSERT, icon);
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_c, icon, XCB_CW_EVENT_MASK, &mask);
        const int slot = static_cast<int>(m_icons.size());
        xcb_reparent_window(m_c, icon, m_window, static_cast<int16_t>(4 + slot * iconSpacing), 4);
        const std::uint32_t size[] = {22, 22};
        xcb_configure_window(m_c, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
        xcb_map_window(m_c, icon);
        const std::uint32_t embedded[5] = {XCB_CURRENT_TIME, xembedEmbeddedNotify, 0, m_window, 0};
        sendClientMessage(m_c, icon, icon, m_xembed, embedded, XCB_EVENT_MASK_NO_EVENT);
        xcb_flush(m_c);
        m_icons.push_back(icon);
        say("docked", icon);
    }

    void forget(xcb_window_t icon)
    {
        const auto found = std::find(m_icons.begin(), m_icons.end(), icon);
        if (found != m_icons.end()) {
            m_icons.erase(found);
            say("undocked", icon);
        }
    }

    xcb_connection_t *m_c;
    xcb_screen_t *m_screen;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    xcb_atom_t m_selection, m_manager, m_opcode, m_xembed;
    std::vector<xcb_window_t> m_icons;
};

} // namespace

int main(int argc, char **argv)
{
    int width = 160, height = 30, x = -1, y = 0;
    bool announceNow = true;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--geometry" && i + 1 < argc) {
            if (std::sscanf(argv[++i], "%dx%d+%d+%d", &width, &height, &x, &y) != 4) {
                std::fprintf(stderr, "bad geometry\n");
                return 2;
            }
        } else if (arg == "--announce-later") {
            announceNow = false;
        } else {
            std::fprintf(stderr,
                         "usage: lookpane_tray_host [--geometry WxH+X+Y] [--announce-later]\n");
            return 2;
        }
    }
    struct sigaction action = {};
    action.sa_handler = [](int) { stopRequested = 1; };
    sigaction(SIGTERM, &action, nullptr);
    struct sigaction announceAction = {};
    announceAction.sa_handler = [](int) { announceRequested = 1; };
    sigaction(SIGUSR1, &announceAction, nullptr);

    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "cannot connect to the X server\n");
        return 1;
    }
    xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    if (x < 0) {
        x = screen->width_in_pixels - width;
    }
    Tray tray(c, screen);
    if (!tray.start(x, y, width, height, announceNow)) {
        std::fprintf(stderr, "another tray owns the selection\n");
        return 1;
    }
    while (!stopRequested) {
        pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
        poll(&fd, 1, 100);
        if (announceRequested) {
            announceRequested = 0;
            tray.announce();
        }
        while (xcb_generic_event_t *event = xcb_poll_for_event(c)) {
            const bool goOn = tray.handle(event);
            std::free(event);
            if (!goOn) {
                stopRequested = 1;
            }
        }
        if (xcb_connection_has_error(c)) {
            break;
        }
    }
    xcb_disconnect(c);
    return 0;
}
