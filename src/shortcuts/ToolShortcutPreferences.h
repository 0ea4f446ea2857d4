#pragma once

#include "model/AnnotationTool.h"
#include "model/KeyCombo.h"
#include "shortcuts/KeyPress.h"
#include "shortcuts/StoredKeyComboFamily.h"

#include <optional>
#include <vector>

namespace lookpane {

// The persisted single-key shortcuts of the drawing tools, under
// "ToolShortcut.<tool>.enabled", ".keyCode" and ".modifiers". No state of its own beyond
// the settings.
class ToolShortcutPreferences : public StoredKeyComboFamily<ToolShortcutPreferences, AnnotationTool>
{
public:
    static constexpr char keyFamily[] = "ToolShortcut";

    using StoredKeyComboFamily::StoredKeyComboFamily;

    // The shipped keys: P, L, A, R, O without modifiers.
    static KeyCombo defaultCombo(AnnotationTool tool);

    // The first enabled tool, in declaration order, whose key is the pressed key and whose
    // Shift, Ctrl, Alt and Super are exactly the pressed ones; other flags (Caps Lock, the
    // function and keypad flags) take no part.
    std::optional<AnnotationTool> tool(const KeyPress &press) const;

    // Switches off every other enabled tool stored with exactly `combo` (key code and whole
    // modifier word) and returns them in declaration order. `keeping` is never examined.
    std::vector<AnnotationTool> clearDuplicates(const KeyCombo &combo, AnnotationTool keeping);
};

} // namespace lookpane
