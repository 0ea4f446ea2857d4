#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lookpane::testing {

// Physical keys of a test's X server, over a connection of its own (to the server, another
// client). Keys are pressed by keycode through XTEST, so a test presses the key at a position
// whatever layout is active; and the connection grabs keys as another application would.
class XKeyboard
{
public:
    // Keycodes of the evdev keyboard that Xvfb and every current X server use.
    static constexpr std::uint8_t shiftL = 50;
    static constexpr std::uint8_t controlL = 37;
    static constexpr std::uint8_t altL = 64;
    static constexpr std::uint8_t superL = 133;
    static constexpr std::uint8_t capsLock = 66;
    static constexpr std::uint8_t numLock = 77;
    static constexpr std::uint8_t scrollLock = 78;
    // The keys of the shipped global shortcuts' positions (B, D, E) and two that differ
    // between layouts: A (Q in French) and Z (Y in German).
    static constexpr std::uint8_t keyA = 38;
    static constexpr std::uint8_t keyB = 56;
    static constexpr std::uint8_t keyD = 40;
    static constexpr std::uint8_t keyE = 26;
    static constexpr std::uint8_t keyZ = 52;

    // The X11 modifier mask of Ctrl+Alt+Super.
    static constexpr std::uint16_t ctrlAltSuperMask = 0x04 | 0x08 | 0x40;

    explicit XKeyboard(const std::string &display);
    ~XKeyboard();

    XKeyboard(const XKeyboard &) = delete;
    XKeyboard &operator=(const XKeyboard &) = delete;

    bool isConnected() const { return m_connection != nullptr; }
    xcb_window_t root() const { return m_root; }

    // Holds `modifiers` down in order, presses and releases `key` (a few milliseconds later,
    // so that it never reads as a repeat of the press before), lets the modifiers go in
    // reverse order; returns once the server has carried it out.
    bool pressCombo(const std::vector<std::uint8_t> &modifiers, std::uint8_t key);
    // Ctrl+Alt+Super and `key`.
    bool pressCtrlAltSuper(std::uint8_t key) { return pressCombo({controlL, altL, superL}, key); }
    // One key down or up, carried out when this returns. `delayMs`: the server carries it out
    // that much later (XTEST's delay), so that it does not share the millisecond of what came
    // before, as a repeat of a held key does.
    bool keyDown(std::uint8_t keycode, std::uint32_t delayMs = 0);
    bool keyUp(std::uint8_t keycode);
    // Down and up: a lock key switches its lock.
    bool tap(std::uint8_t keycode) { return keyDown(keycode) && keyUp(keycode); }

    // The modifier state the server holds now (Shift ... Mod5, locks included); none when the
    // server does not answer.
    std::optional<std::uint16_t> modifierState() const;
    // The first keysym of `keycode` in the current layout (0x61 for "a").
    std::uint32_t keysym(std::uint8_t keycode) const;

    // Grabs `keycode` with exactly `modifiers` on the root window, as another application
    // would; false when the server refuses (someone holds it: BadAccess).
    bool grabKey(std::uint8_t keycode, std::uint16_t modifiers);
    void ungrabKey(std::uint8_t keycode, std::uint16_t modifiers);
    // The key presses the server has delivered to this connection's grabs so far.
    int grabbedPresses();

private:
    bool fake(std::uint8_t type, std::uint8_t keycode, std::uint32_t delayMs = 0);
    bool sync() const;

    struct Closer
    {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Closer> m_owned;
    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    int m_grabbedPresses = 0;
};

// The helper program that holds a key grab for the end-to-end tests (lookpane_key_grabber):
// `lookpane_key_grabber KEYCODE MASK...` grabs the key with every mask on $DISPLAY's root
// window, prints "grabbed" (or "refused" and exits 1) and keeps the grabs until it ends.
std::string keyGrabberExecutable();

} // namespace lookpane::testing
