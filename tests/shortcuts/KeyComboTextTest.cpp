#include "shortcuts/KeyComboText.h"

#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {
constexpr std::uint64_t controlOptionCommand =
    ModifierFlag::control | ModifierFlag::option | ModifierFlag::command;
} // namespace

TEST(KeyComboText, DefaultBlurShortcutDisplaysAsCtrlAltSuperB)
{
    EXPECT_EQ(displayString(KeyCombo{11, controlOptionCommand}),
              QStringLiteral("Ctrl+Alt+Super+B"));
}

TEST(KeyComboText, KeyCode105DisplaysAsKey105)
{
    EXPECT_EQ(keyName(105), QStringLiteral("Key 105"));
    EXPECT_EQ(displayString(KeyCombo{105, ModifierFlag::command}), QStringLiteral("Ctrl+Key 105"));
}

TEST(KeyComboText, KeyCode42DisplaysAsABackslash)
{
    EXPECT_EQ(keyName(42), QStringLiteral("\\"));
    EXPECT_EQ(displayString(KeyCombo{42, 0}), QStringLiteral("\\"));
}

TEST(KeyComboText, ModifiersReadCtrlAltShiftSuperInThatOrder)
{
    const std::uint64_t all = ModifierFlag::shift | controlOptionCommand;
    EXPECT_EQ(displayString(KeyCombo{VirtualKeyCode::a, all}),
              QStringLiteral("Ctrl+Alt+Shift+Super+A"));
    EXPECT_EQ(displayString(KeyCombo{VirtualKeyCode::a, ModifierFlag::command}),
              QStringLiteral("Ctrl+A"));
    EXPECT_EQ(displayString(KeyCombo{VirtualKeyCode::a, ModifierFlag::option}),
              QStringLiteral("Alt+A"));
    EXPECT_EQ(displayString(KeyCombo{VirtualKeyCode::a, ModifierFlag::shift}),
              QStringLiteral("Shift+A"));
    EXPECT_EQ(displayString(KeyCombo{VirtualKeyCode::a, ModifierFlag::control}),
              QStringLiteral("Super+A"));
    EXPECT_EQ(
        displayString(KeyCombo{VirtualKeyCode::p, ModifierFlag::shift | ModifierFlag::control}),
        QStringLiteral("Shift+Super+P"));
}

TEST(KeyComboText, OtherFlagBitsAddNothingToTheText)
{
    const std::uint64_t noise = ModifierFlag::capsLock | ModifierFlag::numericPad |
                                ModifierFlag::function | 0x1 | 0x100 | 0x1000000;
    EXPECT_EQ(displayString(KeyCombo{VirtualKeyCode::upArrow, noise}), QStringLiteral("Up"));
}

TEST(KeyComboText, ShippedShortcutsDisplayTheirLinuxText)
{
    EXPECT_EQ(displayString(KeyCombo{2, controlOptionCommand}), QStringLiteral("Ctrl+Alt+Super+D"));
    EXPECT_EQ(displayString(KeyCombo{14, controlOptionCommand}),
              QStringLiteral("Ctrl+Alt+Super+E"));
    EXPECT_EQ(displayString(KeyCombo{6, ModifierFlag::command}), QStringLiteral("Ctrl+Z"));
    EXPECT_EQ(displayString(KeyCombo{43, ModifierFlag::command}), QStringLiteral("Ctrl+,"));
}

TEST(KeyComboText, SpecialKeysHaveTheirLinuxNames)
{
    const std::vector<std::pair<std::uint16_t, QString>> expected{
        {49, "Space"},   {36, "Return"}, {48, "Tab"},  {53, "Esc"},      {51, "Backspace"},
        {117, "Delete"}, {115, "Home"},  {119, "End"}, {116, "Page Up"}, {121, "Page Down"},
        {123, "Left"},   {124, "Right"}, {126, "Up"},  {125, "Down"},    {122, "F1"},
        {120, "F2"},     {99, "F3"},     {118, "F4"},  {96, "F5"},       {97, "F6"},
        {98, "F7"},      {100, "F8"},    {101, "F9"},  {109, "F10"},     {103, "F11"},
        {111, "F12"},
    };
    ASSERT_EQ(expected.size(), 26u);
    for (const auto &[code, name] : expected) {
        EXPECT_EQ(keyName(code), name) << "key code " << code;
    }
}

TEST(KeyComboText, CharacterKeysHaveTheirUsAnsiLegends)
{
    const std::vector<std::pair<std::uint16_t, QString>> expected{
        {0, "A"},  {11, "B"}, {8, "C"},  {2, "D"},  {14, "E"}, {3, "F"},  {5, "G"},  {4, "H"},
        {34, "I"}, {38, "J"}, {40, "K"}, {37, "L"}, {46, "M"}, {45, "N"}, {31, "O"}, {35, "P"},
        {12, "Q"}, {15, "R"}, {1, "S"},  {17, "T"}, {32, "U"}, {9, "V"},  {13, "W"}, {7, "X"},
        {16, "Y"}, {6, "Z"},  {29, "0"}, {18, "1"}, {19, "2"}, {20, "3"}, {21, "4"}, {23, "5"},
        {22, "6"}, {26, "7"}, {28, "8"}, {25, "9"}, {27, "-"}, {24, "="}, {44, "/"}, {42, "\\"},
        {43, ","}, {47, "."}, {41, ";"}, {39, "'"}, {33, "["}, {30, "]"}, {50, "`"},
    };
    ASSERT_EQ(expected.size(), 47u);
    for (const auto &[code, name] : expected) {
        EXPECT_EQ(keyName(code), name) << "key code " << code;
    }
}

TEST(KeyComboText, UnknownCodesReadKeyAndTheDecimalCode)
{
    // 10 (the ISO section key), 52, keypad and F13+ codes have no name.
    for (const std::uint16_t code : {10, 52, 54, 65, 105, 127, 1000, 65535}) {
        EXPECT_EQ(keyName(code), QStringLiteral("Key %1").arg(code));
    }
}
