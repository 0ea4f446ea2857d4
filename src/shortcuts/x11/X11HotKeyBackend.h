#pragma once

#include "shortcuts/HotKeyBackend.h"
#include "shortcuts/ModifierMapping.h"

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace lookpane::x11 {

// The desktop's hot-key service on X11: each combination is a passive key grab on the root
// window (XGrabKey), once for every state of Caps Lock, Num Lock and Scroll Lock, so it reaches
// Lookpane whichever window has the focus. The grabs are made on Qt's own connection, and the
// presses are read from Qt's event stream by a native event filter: they arrive on the main
// thread, in the event loop. Holding a combination down reports it once, not at every
// auto-repeat.
//
// Keys are physical positions: the grab uses the X keycode of the virtual key code
// (PhysicalKeys), never a lookup of a symbol in the current layout, so a binding stays on the
// same key whatever layout is active. The lock bits are read from the keyboard's modifier map
// and read again after every change of the keyboard map, when all grabs are renewed.
class X11HotKeyBackend : public QObject, public HotKeyBackend, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    // On the connection Qt reads this application's events from. Without one (no X11
    // display, or no QGuiApplication yet) the backend says so in a warning and refuses every
    // registration.
    X11HotKeyBackend();
    // On `connection`, which must be the one whose events reach Qt's native event filters
    // (Qt's own), or none.
    explicit X11HotKeyBackend(xcb_connection_t *connection);
    ~X11HotKeyBackend() override;

    X11HotKeyBackend(const X11HotKeyBackend &) = delete;
    X11HotKeyBackend &operator=(const X11HotKeyBackend &) = delete;

    // Whether there is a display to grab keys on.
    bool isAvailable() const { return m_connection != nullptr; }
    // The lock modifiers the grabs cover now.
    LockModifiers lockModifiers() const { return m_locks; }

    std::optional<HotKeyHandle> registerHotKey(std::uint16_t keyCode, std::uint16_t x11Modifiers,
                                               HotKeyId id) override;
    void unregisterHotKey(HotKeyHandle handle) override;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    // The keyboard map changed and every grab was made again for the lock bits it has now.
    void grabsRenewed();

private:
    struct Grab
    {
        xcb_keycode_t keycode = 0;
        std::uint16_t mask = 0;
        HotKeyId id;
        // The masks held now, the lock variants of `mask`; empty when a renewal failed.
        std::vector<std::uint16_t> variants;
    };

    void readLockModifiers();
    // Grabs `keycode` with each of `variants`, all or nothing: when the server refuses one,
    // the others are released again and the refusal is logged.
    bool grabAll(xcb_keycode_t keycode, std::uint16_t mask,
                 const std::vector<std::uint16_t> &variants);
    void ungrabAll(xcb_keycode_t keycode, const std::vector<std::uint16_t> &variants);
    bool keyPressed(const xcb_key_press_event_t &event);
    bool keyReleased(const xcb_key_release_event_t &event);
    void scheduleRenewal();
    void renewGrabs();

    xcb_connection_t *m_connection = nullptr; // Qt's; never closed here
    xcb_window_t m_root = XCB_WINDOW_NONE;
    std::uint8_t m_xkbFirstEvent = 0; // 0 without XKB
    LockModifiers m_locks;
    std::map<std::uint64_t, Grab> m_grabs; // by handle value
    std::uint64_t m_nextHandle = 1;
    // Keys whose grab fired and that are still down: their auto-repeats and their release
    // belong to the grab.
    std::set<xcb_keycode_t> m_held;
    // The last release of such a key: a press at the same time is its auto-repeat.
    struct Release
    {
        xcb_keycode_t keycode = 0;
        xcb_timestamp_t time = 0;
    };
    std::optional<Release> m_lastRelease;
    bool m_renewalPending = false;
};

} // namespace lookpane::x11
