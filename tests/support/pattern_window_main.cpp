// A small X client of its own process that shows a known pattern, for tests and benchmarks.
//
//   lookpane_pattern_window --geometry WxH+X+Y [--pattern bars|checker|solid|text]
//       [--color RRGGBB] [--title TEXT] [--class NAME] [--override-redirect] [--animate]
//
// Prints the window id ("0x...") on standard output once the window is mapped and painted.
// With --animate it repaints 60 times a second: the pattern scrolls one pixel a frame and the
// top-left 8 × 8 pixels hold the frame counter (red = counter & 0xFF, green = counter >> 8).
// Each button press inside the window prints "click X Y" (window coordinates).
// It exits on SIGTERM or when its window is destroyed.
#include "Patterns.h"

#include <xcb/xcb.h>

#include <poll.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace lookpane::testing;

namespace {

volatile sig_atomic_t stopRequested = 0;

struct Options
{
    int width = 400, height = 300, x = 0, y = 0;
    Pattern pattern = Pattern::bars;
    std::uint32_t color = 0x336699;
    std::string title = "Pattern";
    std::string windowClass = "lookpane-pattern";
    bool overrideRedirect = false;
    bool animate = false;
};

bool parse(int argc, char **argv, Options &o)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--geometry" && hasValue) {
            if (std::sscanf(argv[++i], "%dx%d+%d+%d", &o.width, &o.height, &o.x, &o.y) != 4) {
                return false;
            }
        } else if (arg == "--pattern" && hasValue) {
            if (!parsePattern(argv[++i], o.pattern)) {
                return false;
            }
        } else if (arg == "--color" && hasValue) {
            o.color = static_cast<std::uint32_t>(std::strtoul(argv[++i], nullptr, 16));
        } else if (arg == "--title" && hasValue) {
            o.title = argv[++i];
        } else if (arg == "--class" && hasValue) {
            o.windowClass = argv[++i];
        } else if (arg == "--override-redirect") {
            o.overrideRedirect = true;
        } else if (arg == "--animate") {
            o.animate = true;
        } else {
            return false;
        }
    }
    return o.width > 0 && o.height > 0;
}

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(
            c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr),
        &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void paint(xcb_connection_t *c, xcb_window_t window, xcb_gcontext_t gc, const Options &o,
           unsigned frame, std::vector<std::uint32_t> &pixels)
{
    const int shift = o.animate ? static_cast<int>(frame % 64) : 0;
    for (int y = 0; y < o.height; ++y) {
        for (int x = 0; x < o.width; ++x) {
            pixels[static_cast<std::size_t>(y) * o.width + x] =
                patternPixel(o.pattern, (x + shift) % o.width, y, o.width, o.height, o.color);
        }
    }
    if (o.animate) {
        const std::uint32_t stamp = ((frame & 0xFF) << 16) | (((frame >> 8) & 0xFF) << 8);
        for (int y = 0; y < std::min(8, o.height); ++y) {
            for (int x = 0; x < std::min(8, o.width); ++x) {
                pixels[static_cast<std::size_t>(y) * o.width + x] = stamp;
            }
        }
    }
    const int stripRows = std::max(1, (1 << 18) / (o.width * 4));
    for (int y = 0; y < o.height; y += stripRows) {
        const int rows = std::min(stripRows, o.height - y);
        xcb_put_image(
            c, XCB_IMAGE_FORMAT_Z_PIXMAP, window, gc, static_cast<uint16_t>(o.width),
            static_cast<uint16_t>(rows), 0, static_cast<int16_t>(y), 0, 24,
            static_cast<uint32_t>(o.width * rows * 4),
            reinterpret_cast<const uint8_t *>(&pixels[static_cast<std::size_t>(y) * o.width]));
    }
    xcb_flush(c);
}

} // namespace

int main(int argc, char **argv)
{
    Options o;
    if (!parse(argc, argv, o)) {
        std::fprintf(stderr, "usage: lookpane_pattern_window --geometry WxH+X+Y [options]\n");
        return 2;
    }
    signal(SIGTERM, [](int) { stopRequested = 1; });
    signal(SIGINT, [](int) { stopRequested = 1; });

    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "lookpane_pattern_window: cannot open the display\n");
        return 1;
    }
    xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {screen->black_pixel, o.overrideRedirect ? 1u : 0u,
                               XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                   XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, static_cast<int16_t>(o.x),
                      static_cast<int16_t>(o.y), static_cast<uint16_t>(o.width),
                      static_cast<uint16_t>(o.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom(c, "_NET_WM_NAME"),
                        atom(c, "UTF8_STRING"), 8, static_cast<uint32_t>(o.title.size()),
                        o.title.data());
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<uint32_t>(o.title.size()), o.title.data());
    std::string classHint = o.windowClass + '\0' + o.windowClass + '\0';
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        static_cast<uint32_t>(classHint.size()), classHint.data());
    const uint32_t pid = static_cast<uint32_t>(getpid());
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom(c, "_NET_WM_PID"), XCB_ATOM_CARDINAL,
                        32, 1, &pid);
    // Ask the window manager to keep the requested position (USPosition | USSize).
    uint32_t hints[18] = {};
    hints[0] = 1u | 2u;
    hints[1] = static_cast<uint32_t>(o.x);
    hints[2] = static_cast<uint32_t>(o.y);
    hints[3] = static_cast<uint32_t>(o.width);
    hints[4] = static_cast<uint32_t>(o.height);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
    const xcb_gcontext_t gc = xcb_generate_id(c);
    xcb_create_gc(c, gc, window, 0, nullptr);
    xcb_map_window(c, window);
    xcb_flush(c);

    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(o.width) * o.height);
    bool announced = false;
    unsigned frame = 0;
    timespec last{};
    clock_gettime(CLOCK_MONOTONIC, &last);
    const int fd = xcb_get_file_descriptor(c);
    while (!stopRequested) {
        pollfd pfd{fd, POLLIN, 0};
        poll(&pfd, 1, o.animate ? 2 : 100);
        while (xcb_generic_event_t *event = xcb_poll_for_event(c)) {
            const uint8_t type = event->response_type & 0x7F;
            if (type == XCB_EXPOSE) {
                paint(c, window, gc, o, frame, pixels);
                if (!announced) {
                    std::printf("0x%x\n", window);
                    std::fflush(stdout);
                    announced = true;
                }
            } else if (type == XCB_BUTTON_PRESS) {
                // Tests check that clicks reach this window (or do not).
                const auto *press = reinterpret_cast<xcb_button_press_event_t *>(event);
                std::printf("click %d %d\n", press->event_x, press->event_y);
                std::fflush(stdout);
            } else if (type == XCB_DESTROY_NOTIFY) {
                stopRequested = 1;
            }
            std::free(event);
        }
        if (xcb_connection_has_error(c)) {
            break;
        }
        if (o.animate && announced) {
            timespec now{};
            clock_gettime(CLOCK_MONOTONIC, &now);
            const long elapsedNs =
                (now.tv_sec - last.tv_sec) * 1000000000L + (now.tv_nsec - last.tv_nsec);
            if (elapsedNs >= 1000000000L / 60) {
                last = now;
                ++frame;
                paint(c, window, gc, o, frame, pixels);
            }
        }
    }
    xcb_disconnect(c);
    return 0;
}
