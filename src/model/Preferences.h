#pragma once

#include <QSettings>
#include <QString>
#include <QVariant>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace lookpane {

// The user's settings: QSettings in its native format (organisation and application
// "Lookpane", so $XDG_CONFIG_HOME/Lookpane/Lookpane.conf), plus an in-memory table of
// registered defaults that answers reads of keys the user never set. Defaults are never
// written to the file. One instance, owned by the application; the preference groups
// (FramePreferences, ShortcutPreferences, ...) read and write through it.
//
// A settings file that cannot be Lookpane's (not UTF-8 text, or control characters in it) is
// set aside as "<file>.corrupt", replacing an older one, with a warning, and Lookpane starts
// from its defaults: kept in place it would be read as defaults anyway and then written back
// with every piece of its garbage at the next change.
class Preferences
{
public:
    Preferences();
    // A settings file of its own, for tools and tests that must not share the user's.
    explicit Preferences(const QString &filePath);
    ~Preferences();

    Preferences(const Preferences &) = delete;
    Preferences &operator=(const Preferences &) = delete;

    // The six launch-time defaults: "ShowGuideOnLaunch", "ClickThroughEnabled",
    // "AlwaysOnTopEnabled" true; "ShareMode" "overlay", "FrameRatio" "free",
    // "BlurStrength" "light".
    void registerDefaults();
    // Adds (or replaces) registered defaults; other groups register theirs through this.
    void registerDefaults(const std::map<QString, QVariant> &defaults);

    bool contains(const QString &key) const;
    // The stored value, else the registered default, else an invalid QVariant.
    QVariant value(const QString &key) const;
    // The registered default alone.
    QVariant registeredDefault(const QString &key) const;

    // Typed reads. A stored value that does not read as the type gives the registered
    // default's reading instead (and, with no default, false or nothing).
    bool boolValue(const QString &key) const;
    std::optional<QString> stringValue(const QString &key) const;

    // Writes and flushes at once, so a crash or a kill loses nothing.
    void setValue(const QString &key, const QVariant &value);

    QString fileName() const;

    // Where an unreadable settings file `filePath` is set aside.
    static QString setAsidePath(const QString &filePath);

private:
    explicit Preferences(const std::function<std::unique_ptr<QSettings>()> &openSettings);

    std::unique_ptr<QSettings> m_settings;
    std::map<QString, QVariant> m_defaults;
};

// Reads "true", "false", "1", "0", "yes", "no" (any case) and real booleans; anything else
// reads as nothing.
std::optional<bool> readBool(const QVariant &value);

} // namespace lookpane
