#include "shortcuts/ToolShortcutPreferences.h"

#include "shortcuts/VirtualKeyCode.h"

namespace lookpane {

KeyCombo ToolShortcutPreferences::defaultCombo(AnnotationTool tool)
{
    switch (tool) {
    case AnnotationTool::freehand:
        return {VirtualKeyCode::p, 0};
    case AnnotationTool::line:
        return {VirtualKeyCode::l, 0};
    case AnnotationTool::arrow:
        return {VirtualKeyCode::a, 0};
    case AnnotationTool::rectangle:
        return {VirtualKeyCode::r, 0};
    case AnnotationTool::ellipse:
        return {VirtualKeyCode::o, 0};
    }
    return {};
}

std::optional<AnnotationTool> ToolShortcutPreferences::tool(const KeyPress &press) const
{
    for (const AnnotationTool candidate : allCases<AnnotationTool>()) {
        const std::optional<KeyCombo> bound = combo(candidate);
        if (bound && bound->keyCode == press.keyCode &&
            (bound->modifiers & ModifierFlag::matchMask) ==
                (press.modifiers & ModifierFlag::matchMask)) {
            return candidate;
        }
    }
    return std::nullopt;
}

std::vector<AnnotationTool> ToolShortcutPreferences::clearDuplicates(const KeyCombo &combo,
                                                                     AnnotationTool keeping)
{
    std::vector<AnnotationTool> cleared;
    for (const AnnotationTool other : allCases<AnnotationTool>()) {
        if (other == keeping) {
            continue;
        }
        StoredKeyCombo storedCombo = stored(other);
        // The whole word counts here, unlike in tool(): a key stored with its keypad or
        // function flag is not the same binding as that key stored without.
        if (storedCombo.combo() == combo) {
            storedCombo.setEnabled(false);
            cleared.push_back(other);
        }
    }
    return cleared;
}

} // namespace lookpane
