// Settings files damaged by hand, by other programs or by older versions: nothing may crash,
// everything that is not a usable value reads as its fallback, and only a shortcut
// key code or modifier word that is a number out of range stops the program, saying why.
#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/ToolShortcutPreferences.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QPoint>
#include <QRect>
#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

#include <cstdlib>
#include <random>

using namespace lookpane;

namespace {

const QStringList frameKeys{
    "ShowGuideOnLaunch", "ClickThroughEnabled", "AlwaysOnTopEnabled", "ShareMode",
    "FrameRatio",        "BlurStrength",        "FrameWindowFrame",   "DetachedShareWindowFrame"};

QStringList shortcutKeys()
{
    QStringList keys;
    QStringList prefixes;
    for (const ShortcutAction action : allCases<ShortcutAction>()) {
        prefixes << ShortcutPreferences::keyPrefix(action);
    }
    for (const AnnotationTool tool : allCases<AnnotationTool>()) {
        prefixes << ToolShortcutPreferences::keyPrefix(tool);
    }
    for (const QString &prefix : prefixes) {
        keys << prefix + ".enabled" << prefix + ".keyCode" << prefix + ".modifiers";
    }
    return keys;
}

QString escapedForRegex(const QString &text)
{
    QString escaped;
    for (const QChar c : text) {
        if (QStringLiteral(".[]{}()\\*+?^$|").contains(c)) {
            escaped += QLatin1Char('\\');
        }
        escaped += c;
    }
    return escaped;
}

const KeyCombo defaultBlur{11, 0x1C0000};

class CorruptShortcutSettingsTest : public ::testing::Test
{
protected:
    // The death tests fork from this very process, so the child reads the file written here
    // and its message names this file's path.
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "fast"); }

    QString filePath() const { return QDir(directory.path()).filePath("Lookpane.conf"); }

    void write(const std::map<QString, QVariant> &values) const
    {
        QSettings file(filePath(), QSettings::NativeFormat);
        for (const auto &[key, value] : values) {
            file.setValue(key, value);
        }
        file.sync();
        ASSERT_EQ(file.status(), QSettings::NoError);
    }

    // A fresh reader of the file, with every default registered as at launch.
    struct Reader
    {
        explicit Reader(const QString &path) : preferences(path)
        {
            preferences.registerDefaults();
            shortcuts.registerDefaults();
            tools.registerDefaults();
        }
        Preferences preferences;
        FramePreferences frame{preferences, [] {
                                   ScreenLayout layout;
                                   layout.screens.push_back({ScreenRect(0, 0, 1920, 1080),
                                                             ScreenRect(0, 0, 1920, 1050)});
                                   layout.mainIndex = 0;
                                   return layout;
                               }};
        ShortcutPreferences shortcuts{preferences};
        ToolShortcutPreferences tools{preferences};
    };

    // Everything reads as it would with no file at all.
    static void expectFallbacks(Reader &reader, const std::string &context)
    {
        SCOPED_TRACE(context);
        EXPECT_TRUE(reader.preferences.boolValue("ShowGuideOnLaunch"));
        EXPECT_TRUE(reader.preferences.boolValue("ClickThroughEnabled"));
        EXPECT_TRUE(reader.preferences.boolValue("AlwaysOnTopEnabled"));
        EXPECT_EQ(reader.frame.mode(), ShareMode::overlay);
        EXPECT_EQ(reader.frame.ratio(), FrameRatio::free);
        EXPECT_EQ(reader.frame.blurStrength(), BlurStrength::light);
        EXPECT_EQ(reader.frame.restoredFrame(), ScreenRect(560, 300, 800, 450));
        EXPECT_EQ(reader.frame.restoredDetachedFrame(), std::nullopt);
        for (const ShortcutAction action : allCases<ShortcutAction>()) {
            EXPECT_EQ(reader.shortcuts.combo(action), ShortcutPreferences::defaultCombo(action))
                << rawValue(action).toStdString();
        }
        for (const AnnotationTool tool : allCases<AnnotationTool>()) {
            EXPECT_EQ(reader.tools.combo(tool), ToolShortcutPreferences::defaultCombo(tool))
                << rawValue(tool).toStdString();
        }
        EXPECT_EQ(reader.tools.tool(KeyPress{35, 0}), AnnotationTool::freehand);
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(CorruptShortcutSettingsTest, RandomTextInEveryKeyReadsAsTheDefaults)
{
    std::mt19937 random(20261122);
    // No digits: text that happens to be a number is not garbage but a (possibly fatal) value.
    const QString alphabet = QStringLiteral(
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ{}[](),.;:-+ _\"'\\/@#");
    std::uniform_int_distribution<int> length(6, 40);
    std::uniform_int_distribution<qsizetype> pick(0, alphabet.size() - 1);
    const QStringList keys = frameKeys + shortcutKeys();
    for (int round = 0; round < 40; ++round) {
        std::map<QString, QVariant> values;
        for (const QString &key : keys) {
            QString text;
            for (int n = length(random); n > 0; --n) {
                text += alphabet[pick(random)];
            }
            values[key] = text;
        }
        write(values);
        Reader reader(filePath());
        expectFallbacks(reader, "round " + std::to_string(round));
    }
}

TEST_F(CorruptShortcutSettingsTest, WrongTypesReadAsTheDefaults)
{
    std::map<QString, QVariant> values{
        {"ShowGuideOnLaunch", QStringList{"true", "false"}},
        {"ClickThroughEnabled", QPoint(1, 2)},
        {"AlwaysOnTopEnabled", 42},
        {"ShareMode", 5},
        {"FrameRatio", QRect(0, 0, 16, 9)},
        {"BlurStrength", true},
        {"FrameWindowFrame", 42},
        {"DetachedShareWindowFrame", QStringList{"{{0, 0}, {800, 450}}"}},
    };
    const QStringList keys = shortcutKeys();
    for (qsizetype i = 0; i < keys.size(); ++i) {
        switch (i % 4) {
        case 0:
            values[keys[i]] = QStringList{"11", "12"};
            break;
        case 1:
            values[keys[i]] = QPoint(3, 4);
            break;
        case 2:
            values[keys[i]] = QVariantMap{{"keyCode", 11}};
            break;
        default:
            values[keys[i]] = QByteArray("\x01\x02\xff", 3);
            break;
        }
    }
    // Booleans where numbers belong.
    values["Shortcut.privacyBlur.keyCode"] = true;
    values["ToolShortcut.line.modifiers"] = false;
    write(values);
    Reader reader(filePath());
    expectFallbacks(reader, "wrong types");
}

TEST_F(CorruptShortcutSettingsTest, HugeNumbersAndUnparsableRectanglesReadAsTheDefaults)
{
    write({
        {"ShowGuideOnLaunch", "99999999999999999999999"},
        {"ClickThroughEnabled", "1e999"},
        {"AlwaysOnTopEnabled", "-7"},
        {"ShareMode", "1e308"},
        {"FrameRatio", "340282366920938463463374607431768211456"},
        {"BlurStrength", "-0"},
        {"FrameWindowFrame", "{{1e300, 1e300}, {1e300, 1e300}}"},
        {"DetachedShareWindowFrame", "{{0, 0}, {1e999, 450}}"},
    });
    Reader reader(filePath());
    expectFallbacks(reader, "huge numbers");

    for (const char *rect :
         {"", "{}", "{{,}, {,}}", "{{0, 0}, {800}}", "{{0, 0}, {800, 450, 3}}",
          "{{nan, 0}, {800, 450}}", "{{0, 0}, {inf, 450}}", "0 0 800", "{{x, y}, {w, h}}"}) {
        write({{"FrameWindowFrame", QString::fromLatin1(rect)},
               {"DetachedShareWindowFrame", QString::fromLatin1(rect)}});
        Reader rectReader(filePath());
        EXPECT_EQ(rectReader.frame.restoredFrame(), ScreenRect(560, 300, 800, 450)) << rect;
        EXPECT_EQ(rectReader.frame.restoredDetachedFrame(), std::nullopt) << rect;
    }
}

TEST_F(CorruptShortcutSettingsTest, NumbersWrittenAsTextWithBlanksStillRead)
{
    write({{"Shortcut.privacyBlur.keyCode", " 96 "},
           {"Shortcut.privacyBlur.modifiers", "+1179648"},
           {"ToolShortcut.line.keyCode", "40.0"}});
    Reader reader(filePath());
    EXPECT_EQ(reader.shortcuts.combo(ShortcutAction::privacyBlur), (KeyCombo{96, 0x120000}));
    EXPECT_EQ(reader.tools.combo(AnnotationTool::line), (KeyCombo{40, 0}));
}

TEST_F(CorruptShortcutSettingsTest, KeyCodeBoundsAndTheLargestModifierWordAreAccepted)
{
    write({{"Shortcut.privacyBlur.keyCode", 65535},
           {"Shortcut.privacyBlur.modifiers", "18446744073709551615"},
           {"Shortcut.drawingMode.keyCode", 0},
           {"Shortcut.drawingMode.modifiers", 0}});
    Reader reader(filePath());
    EXPECT_EQ(reader.shortcuts.combo(ShortcutAction::privacyBlur),
              (KeyCombo{65535, 0xFFFFFFFFFFFFFFFF}));
    EXPECT_EQ(reader.shortcuts.combo(ShortcutAction::drawingMode), (KeyCombo{0, 0}));
}

TEST_F(CorruptShortcutSettingsTest, DisabledShortcutIgnoresItsStoredKeyCode)
{
    write({{"Shortcut.privacyBlur.enabled", false},
           {"Shortcut.privacyBlur.keyCode", 70000},
           {"Shortcut.privacyBlur.modifiers", -1}});
    Reader reader(filePath());
    EXPECT_EQ(reader.shortcuts.combo(ShortcutAction::privacyBlur), std::nullopt);
}

TEST_F(CorruptShortcutSettingsTest, KeyCodeAbove65535StopsTheProgramNamingKeyValueAndFile)
{
    write({{"Shortcut.privacyBlur.keyCode", 70000}});
    const std::string message =
        ("^Lookpane: the setting \"Shortcut\\.privacyBlur\\.keyCode\" in " +
         escapedForRegex(filePath()) +
         " holds 70000, which is not a key code \\(0\\.\\.\\.65535\\)\\.\n$")
            .toStdString();
    EXPECT_EXIT(
        {
            Reader reader(filePath());
            reader.shortcuts.combo(ShortcutAction::privacyBlur);
        },
        ::testing::ExitedWithCode(EXIT_FAILURE), message);
}

TEST_F(CorruptShortcutSettingsTest, NegativeKeyCodeStopsTheProgram)
{
    write({{"Shortcut.drawingMode.keyCode", "-1"}});
    EXPECT_DEATH(
        {
            Reader reader(filePath());
            reader.shortcuts.combo(ShortcutAction::drawingMode);
        },
        "\"Shortcut\\.drawingMode\\.keyCode\" in .*Lookpane\\.conf holds -1, which is not a key "
        "code");
}

TEST_F(CorruptShortcutSettingsTest, KeyCodePastSixtyFourBitsStopsTheProgram)
{
    write({{"Shortcut.clearAnnotations.keyCode", "99999999999999999999999"}});
    EXPECT_DEATH(
        {
            Reader reader(filePath());
            reader.shortcuts.combo(ShortcutAction::clearAnnotations);
        },
        "\"Shortcut\\.clearAnnotations\\.keyCode\" in .* holds 99999999999999999999999, which "
        "is not a key code");
}

TEST_F(CorruptShortcutSettingsTest, FractionalKeyCodeStopsTheProgram)
{
    write({{"Shortcut.privacyBlur.keyCode", 12.5}});
    EXPECT_DEATH(
        {
            Reader reader(filePath());
            reader.shortcuts.combo(ShortcutAction::privacyBlur);
        },
        "holds 12\\.5, which is not a key code");
}

TEST_F(CorruptShortcutSettingsTest, NegativeModifierWordStopsTheProgramNamingKeyValueAndFile)
{
    write({{"Shortcut.drawingMode.modifiers", -1835008}});
    const std::string message =
        ("^Lookpane: the setting \"Shortcut\\.drawingMode\\.modifiers\" in " +
         escapedForRegex(filePath()) + " holds -1835008, which is not a modifier word")
            .toStdString();
    EXPECT_EXIT(
        {
            Reader reader(filePath());
            reader.shortcuts.combo(ShortcutAction::drawingMode);
        },
        ::testing::ExitedWithCode(EXIT_FAILURE), message);
}

TEST_F(CorruptShortcutSettingsTest, ModifierWordPastSixtyFourBitsStopsTheProgram)
{
    write({{"ToolShortcut.arrow.modifiers", "18446744073709551616"}});
    EXPECT_DEATH(
        {
            Reader reader(filePath());
            reader.tools.combo(AnnotationTool::arrow);
        },
        "\"ToolShortcut\\.arrow\\.modifiers\" in .* holds 18446744073709551616, which is not a "
        "modifier word");
}

TEST_F(CorruptShortcutSettingsTest, CorruptToolKeyCodeStopsTheProgramWhenAKeyIsMatched)
{
    write({{"ToolShortcut.ellipse.keyCode", 65536}});
    EXPECT_DEATH(
        {
            Reader reader(filePath());
            // Freehand to rectangle do not match, so the ellipse's key code is read.
            reader.tools.tool(KeyPress{7, 0});
        },
        "\"ToolShortcut\\.ellipse\\.keyCode\" in .* holds 65536, which is not a key code "
        "\\(0\\.\\.\\.65535\\)");
}

TEST_F(CorruptShortcutSettingsTest, CorruptToolModifierWordStopsTheProgramInClearDuplicates)
{
    write({{"ToolShortcut.line.modifiers", "-5"}});
    EXPECT_DEATH(
        {
            Reader reader(filePath());
            reader.tools.clearDuplicates(KeyCombo{35, 0}, AnnotationTool::freehand);
        },
        "\"ToolShortcut\\.line\\.modifiers\" in .* holds -5, which is not a modifier word");
}
