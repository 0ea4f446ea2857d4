#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct xcb_connection_t;

namespace lookpane::testing {

// Another program's system-wide hot key: a connection of its own that grabs one key with
// exactly one modifier mask on the root window (a passive grab, as desktop shortcut daemons
// and Lookpane's own hot keys hold them) and counts the presses it is given.
class ForeignHotKey
{
public:
    ForeignHotKey(const std::string &display, std::uint8_t xKeycode, std::uint16_t modifiers);
    ~ForeignHotKey();

    ForeignHotKey(const ForeignHotKey &) = delete;
    ForeignHotKey &operator=(const ForeignHotKey &) = delete;

    // Whether the server granted the grab.
    bool isGrabbed() const { return m_grabbed; }
    // The presses delivered to the grab so far.
    int presses();

private:
    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t *)> m_connection;
    bool m_grabbed = false;
    int m_presses = 0;
};

} // namespace lookpane::testing
