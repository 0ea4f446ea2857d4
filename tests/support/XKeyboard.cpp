#include "XKeyboard.h"

#include <xcb/xtest.h>

#include <cstdlib>

namespace lookpane::testing {

XKeyboard::XKeyboard(const std::string &display)
{
    int screenNumber = 0;
    m_owned.reset(xcb_connect(display.c_str(), &screenNumber));
    if (!m_owned || xcb_connection_has_error(m_owned.get()) != 0) {
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_owned.get()));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        return;
    }
    m_root = screens.data->root;
    m_connection = m_owned.get();
}

XKeyboard::~XKeyboard() = default;

bool XKeyboard::sync() const
{
    // A round trip: everything sent before has been carried out.
    xcb_get_input_focus_reply_t *reply =
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr);
    const bool answered = reply != nullptr;
    std::free(reply);
    return answered;
}

bool XKeyboard::fake(std::uint8_t type, std::uint8_t keycode, std::uint32_t delayMs)
{
    if (!m_connection) {
        return false;
    }
    xcb_generic_error_t *error = xcb_request_check(
        m_connection, xcb_test_fake_input_checked(m_connection, type, keycode, delayMs,
                                                  XCB_WINDOW_NONE, 0, 0, 0));
    const bool done = error == nullptr;
    std::free(error);
    return done && sync();
}

bool XKeyboard::keyDown(std::uint8_t keycode, std::uint32_t delayMs)
{
    return fake(XCB_KEY_PRESS, keycode, delayMs);
}

bool XKeyboard::keyUp(std::uint8_t keycode)
{
    return fake(XCB_KEY_RELEASE, keycode);
}

bool XKeyboard::pressCombo(const std::vector<std::uint8_t> &modifiers, std::uint8_t key)
{
    bool done = true;
    for (const std::uint8_t modifier : modifiers) {
        done = keyDown(modifier) && done;
    }
    // A millisecond apart from what came before: a press in the millisecond of the same key's
    // release reads as a repeat of a held key.
    done = keyDown(key, 2) && keyUp(key) && done;
    for (auto modifier = modifiers.rbegin(); modifier != modifiers.rend(); ++modifier) {
        done = keyUp(*modifier) && done;
    }
    return done;
}

std::optional<std::uint16_t> XKeyboard::modifierState() const
{
    if (!m_connection) {
        return std::nullopt;
    }
    xcb_query_pointer_reply_t *reply =
        xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, m_root), nullptr);
    if (!reply) {
        return std::nullopt;
    }
    const auto state = static_cast<std::uint16_t>(reply->mask & 0xFF);
    std::free(reply);
    return state;
}

std::uint32_t XKeyboard::keysym(std::uint8_t keycode) const
{
    if (!m_connection) {
        return 0;
    }
    xcb_get_keyboard_mapping_reply_t *reply = xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, keycode, 1), nullptr);
    if (!reply) {
        return 0;
    }
    const std::uint32_t symbol = xcb_get_keyboard_mapping_keysyms_length(reply) > 0
                                     ? xcb_get_keyboard_mapping_keysyms(reply)[0]
                                     : 0;
    std::free(reply);
    return symbol;
}

bool XKeyboard::grabKey(std::uint8_t keycode, std::uint16_t modifiers)
{
    if (!m_connection) {
        return false;
    }
    xcb_generic_error_t *error = xcb_request_check(
        m_connection, xcb_grab_key_checked(m_connection, 1, m_root, modifiers, keycode,
                                           XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    const bool granted = error == nullptr;
    std::free(error);
    return granted;
}

int XKeyboard::grabbedPresses()
{
    if (!m_connection) {
        return m_grabbedPresses;
    }
    while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
        if ((event->response_type & 0x7F) == XCB_KEY_PRESS) {
            ++m_grabbedPresses;
        }
        std::free(event);
    }
    return m_grabbedPresses;
}

void XKeyboard::ungrabKey(std::uint8_t keycode, std::uint16_t modifiers)
{
    if (!m_connection) {
        return;
    }
    xcb_ungrab_key(m_connection, keycode, m_root, modifiers);
    sync();
}

std::string keyGrabberExecutable()
{
    return LOOKPANE_KEY_GRABBER_PATH;
}

} // namespace lookpane::testing
