#include "shortcuts/ShortcutPreferences.h"
#include "model/Preferences.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

using namespace lookpane;

namespace {

constexpr std::uint64_t controlOptionCommand = 0x1C0000;

class ShortcutPreferencesTest : public ::testing::Test
{
protected:
    QString filePath() const { return QDir(directory.path()).filePath("Lookpane.conf"); }
    QStringList storedKeys() const
    {
        return QSettings(filePath(), QSettings::NativeFormat).allKeys();
    }

    QTemporaryDir directory;
    Preferences preferences{filePath()};
    ShortcutPreferences shortcuts{preferences};
};

} // namespace

TEST_F(ShortcutPreferencesTest, DefaultsAreCtrlAltSuperBDE)
{
    shortcuts.registerDefaults();
    EXPECT_EQ(shortcuts.combo(ShortcutAction::privacyBlur), (KeyCombo{11, controlOptionCommand}));
    EXPECT_EQ(shortcuts.combo(ShortcutAction::drawingMode), (KeyCombo{2, controlOptionCommand}));
    EXPECT_EQ(shortcuts.combo(ShortcutAction::clearAnnotations),
              (KeyCombo{14, controlOptionCommand}));
    EXPECT_EQ(displayString(*shortcuts.combo(ShortcutAction::privacyBlur)),
              QStringLiteral("Ctrl+Alt+Super+B"));
    EXPECT_EQ(displayString(*shortcuts.combo(ShortcutAction::drawingMode)),
              QStringLiteral("Ctrl+Alt+Super+D"));
    EXPECT_EQ(displayString(*shortcuts.combo(ShortcutAction::clearAnnotations)),
              QStringLiteral("Ctrl+Alt+Super+E"));
}

TEST_F(ShortcutPreferencesTest, RegisteredDefaultsAreNeverWrittenToTheFile)
{
    shortcuts.registerDefaults();
    EXPECT_EQ(preferences.registeredDefault("Shortcut.privacyBlur.keyCode").toInt(), 11);
    EXPECT_EQ(preferences.registeredDefault("Shortcut.clearAnnotations.modifiers").toULongLong(),
              controlOptionCommand);
    EXPECT_TRUE(preferences.registeredDefault("Shortcut.drawingMode.enabled").toBool());
    EXPECT_FALSE(preferences.contains("Shortcut.privacyBlur.enabled"));
    EXPECT_TRUE(storedKeys().isEmpty());
}

TEST_F(ShortcutPreferencesTest, SetComboWritesTheThreeKeys)
{
    shortcuts.registerDefaults();
    const KeyCombo ctrlShiftF5{VirtualKeyCode::f5, ModifierFlag::command | ModifierFlag::shift};
    shortcuts.setCombo(ctrlShiftF5, ShortcutAction::drawingMode);
    EXPECT_EQ(shortcuts.combo(ShortcutAction::drawingMode), ctrlShiftF5);

    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("Shortcut.drawingMode.enabled").toString(), QStringLiteral("true"));
    EXPECT_EQ(file.value("Shortcut.drawingMode.keyCode").toInt(), 96);
    EXPECT_EQ(file.value("Shortcut.drawingMode.modifiers").toULongLong(), 0x120000u);
    EXPECT_EQ(file.allKeys().size(), 3);

    // Another reader of the same file sees the same binding.
    Preferences reopened(filePath());
    EXPECT_EQ(ShortcutPreferences(reopened).combo(ShortcutAction::drawingMode), ctrlShiftF5);
}

TEST_F(ShortcutPreferencesTest, SetNoComboWritesOnlyEnabledFalseAndKeepsTheOldKey)
{
    shortcuts.registerDefaults();
    const KeyCombo altF8{VirtualKeyCode::f8, ModifierFlag::option};
    shortcuts.setCombo(altF8, ShortcutAction::clearAnnotations);
    shortcuts.setCombo(std::nullopt, ShortcutAction::clearAnnotations);
    EXPECT_EQ(shortcuts.combo(ShortcutAction::clearAnnotations), std::nullopt);

    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("Shortcut.clearAnnotations.enabled").toString(), QStringLiteral("false"));
    EXPECT_EQ(file.value("Shortcut.clearAnnotations.keyCode").toInt(), VirtualKeyCode::f8);
    EXPECT_EQ(file.value("Shortcut.clearAnnotations.modifiers").toULongLong(),
              ModifierFlag::option);
}

TEST_F(ShortcutPreferencesTest, SwitchingOffADefaultWritesNothingButTheFlag)
{
    shortcuts.registerDefaults();
    shortcuts.setCombo(std::nullopt, ShortcutAction::privacyBlur);
    EXPECT_EQ(shortcuts.combo(ShortcutAction::privacyBlur), std::nullopt);
    EXPECT_EQ(storedKeys(), QStringList{"Shortcut.privacyBlur.enabled"});
    // The others keep their defaults.
    EXPECT_EQ(shortcuts.combo(ShortcutAction::drawingMode), (KeyCombo{2, controlOptionCommand}));
}

TEST_F(ShortcutPreferencesTest, ModifierWordIsStoredWhole)
{
    const KeyCombo withFlags{VirtualKeyCode::f5, ModifierFlag::command | ModifierFlag::function |
                                                     ModifierFlag::numericPad |
                                                     ModifierFlag::capsLock | 0xFFFF0000'00000000};
    shortcuts.setCombo(withFlags, ShortcutAction::privacyBlur);
    Preferences reopened(filePath());
    EXPECT_EQ(ShortcutPreferences(reopened).combo(ShortcutAction::privacyBlur), withFlags);
}

TEST_F(ShortcutPreferencesTest, KeysAreNamedAfterTheRawValues)
{
    EXPECT_EQ(ShortcutPreferences::keyPrefix(ShortcutAction::privacyBlur),
              QStringLiteral("Shortcut.privacyBlur"));
    EXPECT_EQ(ShortcutPreferences::keyPrefix(ShortcutAction::drawingMode),
              QStringLiteral("Shortcut.drawingMode"));
    EXPECT_EQ(ShortcutPreferences::keyPrefix(ShortcutAction::clearAnnotations),
              QStringLiteral("Shortcut.clearAnnotations"));
}

TEST_F(ShortcutPreferencesTest, WithoutRegisteredDefaultsAnUnsetShortcutIsOff)
{
    EXPECT_EQ(shortcuts.combo(ShortcutAction::privacyBlur), std::nullopt);
}
