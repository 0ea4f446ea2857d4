#pragma once

#include "model/KeyCombo.h"

#include <QString>
#include <QVariant>

#include <map>
#include <optional>

namespace lookpane {

class Preferences;

// One key combination kept in the settings under three keys: prefix + ".enabled",
// ".keyCode" and ".modifiers" (e.g. "Shortcut.privacyBlur.keyCode"). Both shortcut
// families store theirs this way.
class StoredKeyCombo
{
public:
    StoredKeyCombo(Preferences &preferences, QString prefix);

    // The three defaults of a shipped binding: enabled, its key code, its modifier word.
    std::map<QString, QVariant> defaults(const KeyCombo &combo) const;

    bool isEnabled() const;
    // The stored key code. A stored number outside 0...65535 ends the program with a message
    // naming the setting, its value and the settings file; anything that is not a number
    // reads as the registered default.
    std::uint16_t keyCode() const;
    // The stored modifier word. A negative number (or one past 64 bits) ends the program like
    // a bad key code; anything that is not a number reads as the registered default.
    std::uint64_t modifiers() const;
    // None when disabled; otherwise the stored key code and modifier word.
    std::optional<KeyCombo> combo() const;

    // Enabled with the combo's key code and modifier word, or just disabled with none (the
    // old key code and modifiers stay in the file).
    void setCombo(std::optional<KeyCombo> combo);
    void setEnabled(bool enabled);

private:
    QString key(const char *suffix) const;
    // The stored whole number under prefix + `suffix`, or the registered default where the
    // stored value is not a number. A number that is negative, not whole or above `largest`
    // ends the program with a message saying it is not `expectation`.
    std::uint64_t storedWord(const char *suffix, std::uint64_t largest,
                             const char *expectation) const;

    Preferences &m_preferences;
    QString m_prefix;
};

} // namespace lookpane
