#include "shortcuts/ShortcutPreferences.h"

#include "shortcuts/VirtualKeyCode.h"

namespace lookpane {

KeyCombo ShortcutPreferences::defaultCombo(ShortcutAction action)
{
    switch (action) {
    case ShortcutAction::privacyBlur:
        return {VirtualKeyCode::b, ModifierFlag::hotKeyMask};
    case ShortcutAction::drawingMode:
        return {VirtualKeyCode::d, ModifierFlag::hotKeyMask};
    case ShortcutAction::clearAnnotations:
        return {VirtualKeyCode::e, ModifierFlag::hotKeyMask};
    }
    return {};
}

} // namespace lookpane
