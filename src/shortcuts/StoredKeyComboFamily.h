#pragma once

#include "model/KeyCombo.h"
#include "model/Preferences.h"
#include "model/RawEnum.h"
#include "shortcuts/StoredKeyCombo.h"

#include <QString>
#include <QVariant>

#include <map>
#include <optional>

namespace lookpane {

// The persisted bindings of every case of the enumeration `Binding`, one StoredKeyCombo each,
// under "<family>.<raw value>.enabled", ".keyCode" and ".modifiers". `Family` derives from
// this and names the first part of the keys (`keyFamily`) and the shipped binding of each
// case (`defaultCombo`). No state of its own beyond the settings.
template <typename Family, typename Binding> class StoredKeyComboFamily
{
public:
    explicit StoredKeyComboFamily(Preferences &preferences) : m_preferences(preferences) {}

    // Registers the defaults of every case in one call; nothing is written.
    void registerDefaults()
    {
        std::map<QString, QVariant> defaults;
        for (const Binding binding : allCases<Binding>()) {
            defaults.merge(stored(binding).defaults(Family::defaultCombo(binding)));
        }
        m_preferences.registerDefaults(defaults);
    }

    // None when the binding is switched off. A corrupt stored key code or modifier word ends
    // the program (see StoredKeyCombo).
    std::optional<KeyCombo> combo(Binding binding) const { return stored(binding).combo(); }
    // Stores the binding, or switches it off with none (keeping the old key in the file).
    void setCombo(std::optional<KeyCombo> combo, Binding binding)
    {
        stored(binding).setCombo(combo);
    }

    static QString keyPrefix(Binding binding)
    {
        return QString::fromLatin1(Family::keyFamily) + QLatin1Char('.') + rawValue(binding);
    }

protected:
    StoredKeyCombo stored(Binding binding) const
    {
        return StoredKeyCombo(m_preferences, keyPrefix(binding));
    }

private:
    Preferences &m_preferences;
};

} // namespace lookpane
