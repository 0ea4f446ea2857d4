#include "shortcuts/x11/X11KeyboardMap.h"

#include "platform/x11/XReply.h"

#include <array>
#include <vector>

namespace lookpane::x11 {

std::optional<LockModifiers> readLockModifiers(xcb_connection_t *connection, QString *failure)
{
    const xcb_setup_t *setup = xcb_get_setup(connection);
    const xcb_keycode_t firstKeycode = setup->min_keycode;
    const int keycodeCount = setup->max_keycode - setup->min_keycode + 1;
    const xcb_get_modifier_mapping_cookie_t modifiersCookie = xcb_get_modifier_mapping(connection);
    const xcb_get_keyboard_mapping_cookie_t keysymsCookie =
        xcb_get_keyboard_mapping(connection, firstKeycode, static_cast<std::uint8_t>(keycodeCount));

    xcb_generic_error_t *modifiersError = nullptr;
    const Reply<xcb_get_modifier_mapping_reply_t> modifiers(
        xcb_get_modifier_mapping_reply(connection, modifiersCookie, &modifiersError));
    const Reply<xcb_generic_error_t> ownedModifiersError(modifiersError);
    xcb_generic_error_t *keysymsError = nullptr;
    const Reply<xcb_get_keyboard_mapping_reply_t> keysyms(
        xcb_get_keyboard_mapping_reply(connection, keysymsCookie, &keysymsError));
    const Reply<xcb_generic_error_t> ownedKeysymsError(keysymsError);
    if (!modifiers || !keysyms) {
        if (failure) {
            *failure = !modifiers ? QStringLiteral("the server did not send its modifier map")
                                  : QStringLiteral("the server did not send its keyboard map");
        }
        return std::nullopt;
    }

    const xcb_keycode_t *modifierKeys = xcb_get_modifier_mapping_keycodes(modifiers.get());
    const int keysPerModifier = modifiers->keycodes_per_modifier;
    const xcb_keysym_t *symbols = xcb_get_keyboard_mapping_keysyms(keysyms.get());
    const int symbolCount = xcb_get_keyboard_mapping_keysyms_length(keysyms.get());
    const int symbolsPerKey = keysyms->keysyms_per_keycode;

    std::array<std::vector<std::uint32_t>, 8> keysymsOfModifier;
    for (std::size_t modifier = 0; modifier < keysymsOfModifier.size(); ++modifier) {
        for (int slot = 0; slot < keysPerModifier; ++slot) {
            const xcb_keycode_t key =
                modifierKeys[static_cast<int>(modifier) * keysPerModifier + slot];
            if (key < firstKeycode) {
                continue; // an empty slot is 0
            }
            const int first = (key - firstKeycode) * symbolsPerKey;
            for (int index = first; index < first + symbolsPerKey && index < symbolCount; ++index) {
                if (symbols[index] != 0) {
                    keysymsOfModifier[modifier].push_back(symbols[index]);
                }
            }
        }
    }
    return lockModifiersFromMap(keysymsOfModifier);
}

} // namespace lookpane::x11
