// A small X client of its own process that shows a known pattern, for tests and benchmarks.
//
//   lookpane_pattern_window --geometry WxH+X+Y [--pattern bars|checker|solid|text]
//       [--color RRGGBB] [--title TEXT] [--class NAME] [--override-redirect] [--animate]
//       [--shape left-half] [--input-shape empty] [--argb AA] [--undecorated]
//       [--window-type NORMAL|DOCK|DESKTOP|...] [--nest N] [--churn-children RATE]
//   lookpane_pattern_window --churn SECONDS --geometry WxH+X+Y
//
// --shape left-half limits the window's bounding shape to its left half; --input-shape empty
// lets every click through; --argb AA uses a 32-bit visual and paints the pattern with alpha
// AA (hex, premultiplied); --undecorated asks the window manager for no decorations;
// --nest N fills the window with N windows nested one in the other (as embedders and window
// managers' frames do), for tests that put a window of theirs at the bottom.
// --churn-children RATE keeps changing the windows inside and over the window, RATE times a
// second: it creates a child window (up to 12 at a time), moves and resizes another, and destroys
// the oldest; every third change it does the same with a small top-level override-redirect window
// over the window (up to 4), as tooltips and popups of an application come and go.
// --churn creates, maps, paints, resizes, moves, unmaps and destroys windows inside the
// rectangle as fast as the server takes them, for SECONDS, then prints "done" and exits.
//
// Prints the window id ("0x...") on standard output once the window is mapped and painted.
// With --animate it repaints 60 times a second: the pattern scrolls one pixel a frame and the
// top-left 8 × 8 pixels (--stamp-size N: N × N) hold the frame counter (red = counter & 0xFF, green
// = counter >> 8). Each button press inside the window prints "click X Y" (window coordinates). It
// exits on SIGTERM or when its window is destroyed.
#include "Patterns.h"

#include <xcb/shape.h>
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
    int stampSize = 8;
    bool shapeLeftHalf = false;
    bool inputShapeEmpty = false;
    int argbAlpha = -1; // -1: the root's 24-bit visual
    bool undecorated = false;
    int nest = 0;
    std::string windowType;
    double churnSeconds = 0;
    double churnChildrenRate = 0;
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
        } else if (arg == "--stamp-size" && hasValue) {
            o.stampSize = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--shape" && hasValue && std::string(argv[i + 1]) == "left-half") {
            o.shapeLeftHalf = true;
            ++i;
        } else if (arg == "--input-shape" && hasValue && std::string(argv[i + 1]) == "empty") {
            o.inputShapeEmpty = true;
            ++i;
        } else if (arg == "--argb" && hasValue) {
            o.argbAlpha = static_cast<int>(std::strtoul(argv[++i], nullptr, 16)) & 0xFF;
        } else if (arg == "--undecorated") {
            o.undecorated = true;
        } else if (arg == "--nest" && hasValue) {
            o.nest = std::atoi(argv[++i]);
        } else if (arg == "--window-type" && hasValue) {
            o.windowType = argv[++i];
        } else if (arg == "--churn-children" && hasValue) {
            o.churnChildrenRate = std::strtod(argv[++i], nullptr);
        } else if (arg == "--churn" && hasValue) {
            o.churnSeconds = std::strtod(argv[++i], nullptr);
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

// Premultiplied ARGB for 32-bit windows; the alpha byte is ignored at depth 24.
std::uint32_t withAlpha(std::uint32_t rgb, int alpha)
{
    if (alpha < 0) {
        return rgb;
    }
    const auto channel = [&](int shift) {
        return (((rgb >> shift) & 0xFFu) * static_cast<std::uint32_t>(alpha) + 127) / 255;
    };
    return (static_cast<std::uint32_t>(alpha) << 24) | (channel(16) << 16) | (channel(8) << 8) |
           channel(0);
}

void paint(xcb_connection_t *c, xcb_window_t window, xcb_gcontext_t gc, const Options &o,
           unsigned frame, std::vector<std::uint32_t> &pixels)
{
    // The pattern is computed once, 64 pixels wider than the window, and scrolled by copying
    // rows, so an animating window costs its painter little and the X server the same.
    static std::vector<std::uint32_t> base;
    const int baseWidth = o.width + 64;
    if (base.empty()) {
        base.resize(static_cast<std::size_t>(baseWidth) * o.height);
        for (int y = 0; y < o.height; ++y) {
            for (int x = 0; x < baseWidth; ++x) {
                base[static_cast<std::size_t>(y) * baseWidth + x] =
                    withAlpha(patternPixel(o.pattern, x % o.width, y, o.width, o.height, o.color),
                              o.argbAlpha);
            }
        }
    }
    const int shift = o.animate ? static_cast<int>(frame % 64) : 0;
    for (int y = 0; y < o.height; ++y) {
        std::memcpy(&pixels[static_cast<std::size_t>(y) * o.width],
                    &base[static_cast<std::size_t>(y) * baseWidth + shift],
                    static_cast<std::size_t>(o.width) * sizeof(std::uint32_t));
    }
    if (o.animate) {
        const std::uint32_t stamp =
            withAlpha(((frame & 0xFF) << 16) | (((frame >> 8) & 0xFF) << 8), o.argbAlpha);
        for (int y = 0; y < std::min(o.stampSize, o.height); ++y) {
            for (int x = 0; x < std::min(o.stampSize, o.width); ++x) {
                pixels[static_cast<std::size_t>(y) * o.width + x] = stamp;
            }
        }
    }
    const int stripRows = std::max(1, (1 << 18) / (o.width * 4));
    for (int y = 0; y < o.height; y += stripRows) {
        const int rows = std::min(stripRows, o.height - y);
        xcb_put_image(
            c, XCB_IMAGE_FORMAT_Z_PIXMAP, window, gc, static_cast<uint16_t>(o.width),
            static_cast<uint16_t>(rows), 0, static_cast<int16_t>(y), 0, o.argbAlpha >= 0 ? 32 : 24,
            static_cast<uint32_t>(o.width * rows * 4),
            reinterpret_cast<const uint8_t *>(&pixels[static_cast<std::size_t>(y) * o.width]));
    }
    xcb_flush(c);
}

xcb_visualid_t findArgbVisual(const xcb_screen_t *screen)
{
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem;
         xcb_depth_next(&depths)) {
        if (depths.data->depth != 32) {
            continue;
        }
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem;
             xcb_visualtype_next(&visuals)) {
            if (visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR) {
                return visuals.data->visual_id;
            }
        }
    }
    return 0;
}

void applyShapeAndHints(xcb_connection_t *c, xcb_window_t window, const Options &o)
{
    if (o.shapeLeftHalf) {
        const xcb_rectangle_t half{0, 0, static_cast<uint16_t>(o.width / 2),
                                   static_cast<uint16_t>(o.height)};
        xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED,
                             window, 0, 0, 1, &half);
    }
    if (o.inputShapeEmpty) {
        xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                             window, 0, 0, 0, nullptr);
    }
    if (o.undecorated) {
        // _MOTIF_WM_HINTS: flags = decorations, decorations = none.
        const uint32_t motif[5] = {2, 0, 0, 0, 0};
        const xcb_atom_t hints = atom(c, "_MOTIF_WM_HINTS");
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, hints, hints, 32, 5, motif);
    }
    if (!o.windowType.empty()) {
        const std::string name = "_NET_WM_WINDOW_TYPE_" + o.windowType;
        const xcb_atom_t type = atom(c, name.c_str());
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom(c, "_NET_WM_WINDOW_TYPE"),
                            XCB_ATOM_ATOM, 32, 1, &type);
    }
}

// Windows that come and go inside the rectangle as fast as the server takes them.
int churn(xcb_connection_t *c, const xcb_screen_t *screen, const Options &o)
{
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    unsigned seed = 12345;
    const auto next = [&seed](int range) {
        seed = seed * 1103515245u + 12345u;
        return range > 0 ? static_cast<int>((seed >> 8) % static_cast<unsigned>(range)) : 0;
    };
    const xcb_gcontext_t gc = xcb_generate_id(c);
    xcb_create_gc(c, gc, screen->root, 0, nullptr);
    std::vector<std::uint32_t> pixels(64 * 64, 0x00FF8800);
    long iterations = 0;
    std::vector<xcb_window_t> live;
    for (;;) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const double elapsed =
            double(now.tv_sec - start.tv_sec) + double(now.tv_nsec - start.tv_nsec) / 1e9;
        if (elapsed >= o.churnSeconds || stopRequested) {
            break;
        }
        const xcb_window_t window = xcb_generate_id(c);
        const int w = 16 + next(std::max(1, o.width - 16));
        const int h = 16 + next(std::max(1, o.height - 16));
        const uint32_t values[] = {static_cast<uint32_t>(0x202020 + next(0xC0C0C0)),
                                   (iterations % 3 == 0) ? 1u : 0u};
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root,
                          static_cast<int16_t>(o.x + next(std::max(1, o.width - w))),
                          static_cast<int16_t>(o.y + next(std::max(1, o.height - h))),
                          static_cast<uint16_t>(w), static_cast<uint16_t>(h), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(c, window);
        xcb_put_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, window, gc, 64, 64, 0, 0, 0, 24,
                      static_cast<uint32_t>(pixels.size() * 4),
                      reinterpret_cast<const uint8_t *>(pixels.data()));
        live.push_back(window);
        // Resize and move one of the live windows, remap another, destroy the oldest.
        const xcb_window_t resized = live[static_cast<std::size_t>(next(int(live.size())))];
        const uint32_t geometry[] = {static_cast<uint32_t>(o.x + next(o.width / 2)),
                                     static_cast<uint32_t>(o.y + next(o.height / 2)),
                                     static_cast<uint32_t>(8 + next(o.width / 2)),
                                     static_cast<uint32_t>(8 + next(o.height / 2))};
        xcb_configure_window(c, resized,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             geometry);
        const xcb_window_t remapped = live[static_cast<std::size_t>(next(int(live.size())))];
        xcb_unmap_window(c, remapped);
        if (iterations % 2 == 0) {
            xcb_map_window(c, remapped);
        }
        if (live.size() > 8) {
            xcb_unmap_window(c, live.front());
            xcb_destroy_window(c, live.front());
            live.erase(live.begin());
        }
        ++iterations;
        // Keep the request queue short: wait for the server every few windows.
        if (iterations % 8 == 0) {
            std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
        }
        if (xcb_connection_has_error(c)) {
            return 1;
        }
    }
    for (xcb_window_t window : live) {
        xcb_destroy_window(c, window);
    }
    xcb_free_gc(c, gc);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    std::printf("done %ld\n", iterations);
    std::fflush(stdout);
    return 0;
}

// The windows that --churn-children creates, moves and destroys inside and over the pattern
// window.
class WindowChurn
{
public:
    WindowChurn(xcb_connection_t *c, const xcb_screen_t *screen, xcb_window_t window,
                const Options &o)
        : m_c(c), m_screen(screen), m_window(window), m_o(o)
    {}

    // One change: a new child, another moved and resized, the oldest gone; every third change
    // the same for a top-level window over the pattern window.
    void step()
    {
        ++m_steps;
        change(m_children, m_window, 0, 0, 12, false);
        if (m_steps % 3 == 0) {
            change(m_popups, m_screen->root, m_o.x, m_o.y, 4, true);
        }
    }

private:
    int next(int range)
    {
        m_seed = m_seed * 1103515245u + 12345u;
        return range > 0 ? static_cast<int>((m_seed >> 8) % static_cast<unsigned>(range)) : 0;
    }

    void change(std::vector<xcb_window_t> &live, xcb_window_t parent, int originX, int originY,
                std::size_t most, bool overrideRedirect)
    {
        const xcb_window_t created = xcb_generate_id(m_c);
        const int w = 24 + next(std::max(1, m_o.width / 4));
        const int h = 24 + next(std::max(1, m_o.height / 4));
        const uint32_t values[] = {static_cast<uint32_t>(0x202020 + next(0xC0C0C0)),
                                   overrideRedirect ? 1u : 0u};
        xcb_create_window(m_c, XCB_COPY_FROM_PARENT, created, parent,
                          static_cast<int16_t>(originX + next(std::max(1, m_o.width - w))),
                          static_cast<int16_t>(originY + next(std::max(1, m_o.height - h))),
                          static_cast<uint16_t>(w), static_cast<uint16_t>(h), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, m_screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(m_c, created);
        live.push_back(created);
        const xcb_window_t moved = live[static_cast<std::size_t>(next(int(live.size())))];
        const uint32_t geometry[] = {static_cast<uint32_t>(originX + next(m_o.width * 3 / 4)),
                                     static_cast<uint32_t>(originY + next(m_o.height * 3 / 4)),
                                     static_cast<uint32_t>(16 + next(m_o.width / 4)),
                                     static_cast<uint32_t>(16 + next(m_o.height / 4))};
        xcb_configure_window(m_c, moved,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             geometry);
        if (live.size() > most) {
            xcb_destroy_window(m_c, live.front());
            live.erase(live.begin());
        }
    }

    xcb_connection_t *m_c;
    const xcb_screen_t *m_screen;
    xcb_window_t m_window;
    const Options &m_o;
    std::vector<xcb_window_t> m_children;
    std::vector<xcb_window_t> m_popups;
    unsigned m_seed = 4242;
    long m_steps = 0;
};

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
    if (o.churnSeconds > 0) {
        const int result = churn(c, screen, o);
        xcb_disconnect(c);
        return result;
    }
    const xcb_window_t window = xcb_generate_id(c);
    const xcb_visualid_t argbVisual = o.argbAlpha >= 0 ? findArgbVisual(screen) : 0;
    if (o.argbAlpha >= 0 && argbVisual == 0) {
        std::fprintf(stderr, "lookpane_pattern_window: no 32-bit visual\n");
        return 1;
    }
    if (argbVisual != 0) {
        // Another depth than the root's needs a colormap and border pixel of its own.
        const xcb_colormap_t colormap = xcb_generate_id(c);
        xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colormap, screen->root, argbVisual);
        const uint32_t argbValues[] = {0, 0, o.overrideRedirect ? 1u : 0u,
                                       XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                           XCB_EVENT_MASK_BUTTON_PRESS,
                                       colormap};
        xcb_create_window(c, 32, window, screen->root, static_cast<int16_t>(o.x),
                          static_cast<int16_t>(o.y), static_cast<uint16_t>(o.width),
                          static_cast<uint16_t>(o.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          argbVisual,
                          XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                              XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                          argbValues);
    } else {
        const uint32_t values[] = {screen->black_pixel, o.overrideRedirect ? 1u : 0u,
                                   XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                       XCB_EVENT_MASK_BUTTON_PRESS};
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, static_cast<int16_t>(o.x),
                          static_cast<int16_t>(o.y), static_cast<uint16_t>(o.width),
                          static_cast<uint16_t>(o.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    }
    applyShapeAndHints(c, window, o);
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
    xcb_window_t parent = window;
    for (int level = 0; level < o.nest; ++level) {
        const xcb_window_t child = xcb_generate_id(c);
        // Their exposure stands for the window's, which they cover.
        const uint32_t childValues[] = {screen->black_pixel, XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(c, XCB_COPY_FROM_PARENT, child, parent, 0, 0,
                          static_cast<uint16_t>(o.width), static_cast<uint16_t>(o.height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, childValues);
        xcb_map_window(c, child);
        parent = child;
    }
    const xcb_gcontext_t gc = xcb_generate_id(c);
    xcb_create_gc(c, gc, window, 0, nullptr);
    xcb_map_window(c, window);
    xcb_flush(c);

    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(o.width) * o.height);
    bool announced = false;
    unsigned frame = 0;
    timespec last{};
    clock_gettime(CLOCK_MONOTONIC, &last);
    WindowChurn windowChurn(c, screen, window, o);
    timespec lastChurn = last;
    const int fd = xcb_get_file_descriptor(c);
    while (!stopRequested) {
        pollfd pfd{fd, POLLIN, 0};
        poll(&pfd, 1, o.animate || o.churnChildrenRate > 0 ? 2 : 100);
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
        if (o.churnChildrenRate > 0 && announced) {
            timespec now{};
            clock_gettime(CLOCK_MONOTONIC, &now);
            const double elapsed = double(now.tv_sec - lastChurn.tv_sec) +
                                   double(now.tv_nsec - lastChurn.tv_nsec) / 1e9;
            if (elapsed >= 1.0 / o.churnChildrenRate) {
                lastChurn = now;
                windowChurn.step();
                xcb_flush(c);
            }
        }
    }
    xcb_disconnect(c);
    return 0;
}
