#include "shortcuts/ToolShortcutPreferences.h"
#include "model/Preferences.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

using namespace lookpane;

namespace {

class ToolShortcutPreferencesTest : public ::testing::Test
{
protected:
    void SetUp() override { tools.registerDefaults(); }

    QString filePath() const { return QDir(directory.path()).filePath("Lookpane.conf"); }
    std::optional<AnnotationTool> toolFor(std::uint16_t keyCode, std::uint64_t modifiers = 0) const
    {
        return tools.tool(KeyPress{keyCode, modifiers});
    }

    QTemporaryDir directory;
    Preferences preferences{filePath()};
    ToolShortcutPreferences tools{preferences};
};

} // namespace

TEST_F(ToolShortcutPreferencesTest, DefaultsArePLAROWithoutModifiers)
{
    EXPECT_EQ(tools.combo(AnnotationTool::freehand), (KeyCombo{35, 0}));
    EXPECT_EQ(tools.combo(AnnotationTool::line), (KeyCombo{37, 0}));
    EXPECT_EQ(tools.combo(AnnotationTool::arrow), (KeyCombo{0, 0}));
    EXPECT_EQ(tools.combo(AnnotationTool::rectangle), (KeyCombo{15, 0}));
    EXPECT_EQ(tools.combo(AnnotationTool::ellipse), (KeyCombo{31, 0}));
    EXPECT_TRUE(QSettings(filePath(), QSettings::NativeFormat).allKeys().isEmpty());
}

TEST_F(ToolShortcutPreferencesTest, KeysAreNamedAfterTheRawValues)
{
    tools.setCombo(KeyCombo{VirtualKeyCode::e, 0}, AnnotationTool::ellipse);
    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("ToolShortcut.ellipse.keyCode").toInt(), VirtualKeyCode::e);
    EXPECT_EQ(file.value("ToolShortcut.ellipse.enabled").toString(), QStringLiteral("true"));
    EXPECT_EQ(file.value("ToolShortcut.ellipse.modifiers").toInt(), 0);
}

TEST_F(ToolShortcutPreferencesTest, DefaultKeysSelectTheirToolsAndShiftedOnesNothing)
{
    EXPECT_EQ(toolFor(35), AnnotationTool::freehand);
    EXPECT_EQ(toolFor(37), AnnotationTool::line);
    EXPECT_EQ(toolFor(0), AnnotationTool::arrow);
    EXPECT_EQ(toolFor(15), AnnotationTool::rectangle);
    EXPECT_EQ(toolFor(31), AnnotationTool::ellipse);
    EXPECT_EQ(toolFor(35, ModifierFlag::shift), std::nullopt);
    EXPECT_EQ(toolFor(35, ModifierFlag::command), std::nullopt);
    EXPECT_EQ(toolFor(VirtualKeyCode::b), std::nullopt);
}

TEST_F(ToolShortcutPreferencesTest, CapsLockFunctionAndKeypadFlagsTakeNoPartInMatching)
{
    EXPECT_EQ(toolFor(35, ModifierFlag::capsLock), AnnotationTool::freehand);
    EXPECT_EQ(toolFor(35, ModifierFlag::function | ModifierFlag::numericPad | 0x1),
              AnnotationTool::freehand);
}

TEST_F(ToolShortcutPreferencesTest, OptionPMatchesOnlyWhenOptionIsHeld)
{
    tools.setCombo(KeyCombo{35, ModifierFlag::option}, AnnotationTool::freehand);
    EXPECT_EQ(toolFor(35, ModifierFlag::option), AnnotationTool::freehand);
    EXPECT_EQ(toolFor(35), std::nullopt);
    EXPECT_EQ(toolFor(35, ModifierFlag::option | ModifierFlag::shift), std::nullopt);
    EXPECT_EQ(toolFor(35, ModifierFlag::control), std::nullopt);
}

TEST_F(ToolShortcutPreferencesTest, DisabledToolsAreSkippedAndTheFirstMatchInOrderWins)
{
    // Line and ellipse both on L: line comes first.
    tools.setCombo(KeyCombo{37, 0}, AnnotationTool::ellipse);
    EXPECT_EQ(toolFor(37), AnnotationTool::line);
    tools.setCombo(std::nullopt, AnnotationTool::line);
    EXPECT_EQ(toolFor(37), AnnotationTool::ellipse);
    tools.setCombo(std::nullopt, AnnotationTool::ellipse);
    EXPECT_EQ(toolFor(37), std::nullopt);
}

TEST_F(ToolShortcutPreferencesTest, FunctionFlagKeyStillMatchesButIsNotADuplicateOfThePlainKey)
{
    // An arrow key recorded with the flags its events carry.
    const std::uint64_t arrowFlags = ModifierFlag::function | ModifierFlag::numericPad;
    tools.setCombo(KeyCombo{VirtualKeyCode::leftArrow, arrowFlags}, AnnotationTool::arrow);
    EXPECT_EQ(tools.combo(AnnotationTool::arrow),
              (KeyCombo{VirtualKeyCode::leftArrow, arrowFlags}));
    EXPECT_EQ(toolFor(VirtualKeyCode::leftArrow, arrowFlags), AnnotationTool::arrow);
    EXPECT_EQ(toolFor(VirtualKeyCode::leftArrow), AnnotationTool::arrow);

    // The same key without the flags, given to another tool, clears nothing.
    const KeyCombo plainLeft{VirtualKeyCode::leftArrow, 0};
    tools.setCombo(plainLeft, AnnotationTool::line);
    EXPECT_TRUE(tools.clearDuplicates(plainLeft, AnnotationTool::line).empty());
    EXPECT_TRUE(tools.combo(AnnotationTool::arrow).has_value());
}

TEST_F(ToolShortcutPreferencesTest, ClearDuplicatesDisablesExactMatchesInOrderAndNeverTheKeptTool)
{
    const KeyCombo r{15, 0};
    tools.setCombo(r, AnnotationTool::freehand);
    tools.setCombo(r, AnnotationTool::ellipse);
    // Rectangle holds R by default; the line holds it too but is switched off.
    tools.setCombo(r, AnnotationTool::line);
    tools.setCombo(std::nullopt, AnnotationTool::line);

    const std::vector<AnnotationTool> cleared = tools.clearDuplicates(r, AnnotationTool::ellipse);
    EXPECT_EQ(cleared, (std::vector{AnnotationTool::freehand, AnnotationTool::rectangle}));
    EXPECT_EQ(tools.combo(AnnotationTool::ellipse), r);
    EXPECT_EQ(tools.combo(AnnotationTool::freehand), std::nullopt);
    EXPECT_EQ(tools.combo(AnnotationTool::rectangle), std::nullopt);
    EXPECT_EQ(tools.combo(AnnotationTool::arrow), (KeyCombo{0, 0}));
}

TEST_F(ToolShortcutPreferencesTest, ClearDuplicatesComparesTheWholeModifierWord)
{
    tools.setCombo(KeyCombo{35, ModifierFlag::option | ModifierFlag::capsLock},
                   AnnotationTool::line);
    EXPECT_TRUE(tools.clearDuplicates(KeyCombo{35, ModifierFlag::option}, AnnotationTool::freehand)
                    .empty());
    EXPECT_EQ(tools.clearDuplicates(KeyCombo{35, ModifierFlag::option | ModifierFlag::capsLock},
                                    AnnotationTool::freehand),
              std::vector{AnnotationTool::line});
}

TEST_F(ToolShortcutPreferencesTest, ToolClearedAsDuplicateHasNoComboButKeepsItsKeyCodeStored)
{
    const KeyCombo p{35, 0};
    tools.setCombo(p, AnnotationTool::rectangle);
    ASSERT_EQ(tools.clearDuplicates(p, AnnotationTool::rectangle),
              std::vector{AnnotationTool::freehand});
    EXPECT_EQ(tools.combo(AnnotationTool::freehand), std::nullopt);
    EXPECT_EQ(toolFor(35), AnnotationTool::rectangle);

    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("ToolShortcut.freehand.enabled").toString(), QStringLiteral("false"));
    // Never written by the user, so the registered default still answers.
    EXPECT_FALSE(file.contains("ToolShortcut.freehand.keyCode"));
    EXPECT_EQ(preferences.value("ToolShortcut.freehand.keyCode").toInt(), 35);
}

TEST_F(ToolShortcutPreferencesTest, ClearedToolStoredByTheUserKeepsItsOwnKeyCodeInTheFile)
{
    const KeyCombo k{40, 0};
    tools.setCombo(k, AnnotationTool::line);
    tools.setCombo(k, AnnotationTool::arrow);
    ASSERT_EQ(tools.clearDuplicates(k, AnnotationTool::arrow), std::vector{AnnotationTool::line});
    EXPECT_EQ(tools.combo(AnnotationTool::line), std::nullopt);
    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("ToolShortcut.line.keyCode").toInt(), 40);
}

TEST_F(ToolShortcutPreferencesTest, ShiftBackspaceStoredAsAToolKeyMatchesOnlyWithShift)
{
    const KeyCombo shiftBackspace{VirtualKeyCode::backspace, ModifierFlag::shift};
    tools.setCombo(shiftBackspace, AnnotationTool::rectangle);
    EXPECT_EQ(tools.combo(AnnotationTool::rectangle), shiftBackspace);
    EXPECT_EQ(toolFor(VirtualKeyCode::backspace, ModifierFlag::shift), AnnotationTool::rectangle);
    EXPECT_EQ(toolFor(VirtualKeyCode::backspace), std::nullopt);
}
