#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct xcb_connection_t;

namespace lookpane::testing {

// Counts the bells the X server rings (XKB BellNotify events), over a connection of its own:
// a test tells that a program really beeped (QApplication::beep rings the server's bell), not
// that it meant to.
class BellCounter
{
public:
    explicit BellCounter(const std::string &display);
    ~BellCounter();

    BellCounter(const BellCounter &) = delete;
    BellCounter &operator=(const BellCounter &) = delete;

    // Whether the server offers XKB and the counter listens.
    bool isListening() const { return m_listening; }
    // The bells rung since the counter was made, reading what the server has sent so far.
    int count();

private:
    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t *)> m_connection;
    std::uint8_t m_xkbEventBase = 0;
    bool m_listening = false;
    int m_count = 0;
};

} // namespace lookpane::testing
