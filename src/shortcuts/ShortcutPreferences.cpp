#include "shortcuts/ShortcutPreferences.h"

#include "model/Preferences.h"
#include "shortcuts/StoredKeyCombo.h"
#include "shortcuts/VirtualKeyCode.h"

namespace lookpane {

ShortcutPreferences::ShortcutPreferences(Preferences &preferences) : m_preferences(preferences) {}

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

QString ShortcutPreferences::keyPrefix(ShortcutAction action)
{
    return QStringLiteral("Shortcut.") + rawValue(action);
}

StoredKeyCombo ShortcutPreferences::stored(ShortcutAction action) const
{
    return StoredKeyCombo(m_preferences, keyPrefix(action));
}

void ShortcutPreferences::registerDefaults()
{
    std::map<QString, QVariant> defaults;
    for (const ShortcutAction action : allCases<ShortcutAction>()) {
        defaults.merge(stored(action).defaults(defaultCombo(action)));
    }
    m_preferences.registerDefaults(defaults);
}

std::optional<KeyCombo> ShortcutPreferences::combo(ShortcutAction action) const
{
    return stored(action).combo();
}

void ShortcutPreferences::setCombo(std::optional<KeyCombo> combo, ShortcutAction action)
{
    stored(action).setCombo(combo);
}

} // namespace lookpane
