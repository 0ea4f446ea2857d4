// lookpane_key_grabber KEYCODE MASK...: another application that holds a key combination.
// Grabs KEYCODE with each modifier MASK (decimal or 0x hex) on the root window of $DISPLAY,
// prints "grabbed" once the server has granted every grab, or "refused" and exits 1, and keeps
// the grabs until it is ended.
#include <xcb/xcb.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s KEYCODE MASK...\n", argv[0]);
        return 2;
    }
    int screenNumber = 0;
    xcb_connection_t *connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        std::fprintf(stderr, "cannot open the display\n");
        return 1;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    const xcb_window_t root = screens.data->root;
    const auto keycode = static_cast<xcb_keycode_t>(std::strtoul(argv[1], nullptr, 0));
    for (int index = 2; index < argc; ++index) {
        const auto mask = static_cast<std::uint16_t>(std::strtoul(argv[index], nullptr, 0));
        xcb_generic_error_t *error = xcb_request_check(
            connection, xcb_grab_key_checked(connection, 1, root, mask, keycode,
                                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (error != nullptr) {
            std::free(error);
            std::puts("refused");
            std::fflush(stdout);
            return 1;
        }
    }
    std::puts("grabbed");
    std::fflush(stdout);
    // Read the connection until the test ends the program (or the server goes).
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection)) {
        std::free(event);
    }
    xcb_disconnect(connection);
    return 0;
}
