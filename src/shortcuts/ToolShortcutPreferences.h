#pragma once

#include "model/AnnotationTool.h"
#include "model/KeyCombo.h"
#include "shortcuts/KeyPress.h"

#include <QString>

#include <optional>
#include <vector>

namespace lookpane {

class Preferences;
class StoredKeyCombo;

// The persisted single-key shortcuts of the drawing tools, under
// "ToolShortcut.<tool>.enabled", ".keyCode" and ".modifiers". No state of its own beyond
// the settings.
class ToolShortcutPreferences
{
public:
    explicit ToolShortcutPreferences(Preferences &preferences);

    // The shipped keys: P, L, A, R, O without modifiers.
    static KeyCombo defaultCombo(AnnotationTool tool);
    // Registers the defaults of all five tools in one call; nothing is written.
    void registerDefaults();

    // None when the tool's shortcut is switched off. A corrupt stored key code or modifier
    // word ends the program (see StoredKeyCombo).
    std::optional<KeyCombo> combo(AnnotationTool tool) const;
    void setCombo(std::optional<KeyCombo> combo, AnnotationTool tool);

    // The first enabled tool, in declaration order, whose key is the pressed key and whose
    // Shift, Ctrl, Alt and Super are exactly the pressed ones; other flags (Caps Lock, the
    // function and keypad flags) take no part.
    std::optional<AnnotationTool> tool(const KeyPress &press) const;

    // Switches off every other enabled tool stored with exactly `combo` (key code and whole
    // modifier word) and returns them in declaration order. `keeping` is never examined.
    std::vector<AnnotationTool> clearDuplicates(const KeyCombo &combo, AnnotationTool keeping);

    static QString keyPrefix(AnnotationTool tool);

private:
    StoredKeyCombo stored(AnnotationTool tool) const;

    Preferences &m_preferences;
};

} // namespace lookpane
