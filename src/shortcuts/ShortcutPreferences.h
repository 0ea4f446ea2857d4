#pragma once

#include "model/KeyCombo.h"
#include "model/ShortcutAction.h"
#include "shortcuts/StoredKeyComboFamily.h"

namespace lookpane {

// The persisted global shortcuts, one per action, under "Shortcut.<action>.enabled",
// ".keyCode" and ".modifiers". No state of its own beyond the settings.
class ShortcutPreferences : public StoredKeyComboFamily<ShortcutPreferences, ShortcutAction>
{
public:
    static constexpr char keyFamily[] = "Shortcut";

    using StoredKeyComboFamily::StoredKeyComboFamily;

    // The shipped bindings: Ctrl+Alt+Super with B (privacy blur), D (drawing mode) and
    // E (clear annotations).
    static KeyCombo defaultCombo(ShortcutAction action);
};

} // namespace lookpane
