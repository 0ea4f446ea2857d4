#pragma once

#include "model/KeyCombo.h"
#include "model/ShortcutAction.h"

#include <QString>

#include <optional>

namespace lookpane {

class Preferences;
class StoredKeyCombo;

// The persisted global shortcuts, one per action, under "Shortcut.<action>.enabled",
// ".keyCode" and ".modifiers". No state of its own beyond the settings.
class ShortcutPreferences
{
public:
    explicit ShortcutPreferences(Preferences &preferences);

    // The shipped bindings: Ctrl+Alt+Super with B (privacy blur), D (drawing mode) and
    // E (clear annotations).
    static KeyCombo defaultCombo(ShortcutAction action);
    // Registers the defaults of all three actions in one call; nothing is written.
    void registerDefaults();

    // None when the action's shortcut is switched off. A corrupt stored key code or modifier
    // word ends the program (see StoredKeyCombo).
    std::optional<KeyCombo> combo(ShortcutAction action) const;
    // Stores the binding, or switches it off with none (keeping the old key in the file).
    void setCombo(std::optional<KeyCombo> combo, ShortcutAction action);

    static QString keyPrefix(ShortcutAction action);

private:
    StoredKeyCombo stored(ShortcutAction action) const;

    Preferences &m_preferences;
};

} // namespace lookpane
