#include "shortcuts/KeyComboText.h"

#include "shortcuts/VirtualKeyCode.h"

#include <array>
#include <string_view>
#include <utility>

namespace lookpane {

namespace {

using KeyNameEntry = std::pair<std::uint16_t, std::string_view>;

constexpr auto specialKeyNames = std::to_array<KeyNameEntry>({
    {VirtualKeyCode::space, "Space"},
    {VirtualKeyCode::returnKey, "Return"},
    {VirtualKeyCode::tab, "Tab"},
    {VirtualKeyCode::escape, "Esc"},
    {VirtualKeyCode::backspace, "Backspace"},
    {VirtualKeyCode::forwardDelete, "Delete"},
    {VirtualKeyCode::home, "Home"},
    {VirtualKeyCode::end, "End"},
    {VirtualKeyCode::pageUp, "Page Up"},
    {VirtualKeyCode::pageDown, "Page Down"},
    {VirtualKeyCode::leftArrow, "Left"},
    {VirtualKeyCode::rightArrow, "Right"},
    {VirtualKeyCode::upArrow, "Up"},
    {VirtualKeyCode::downArrow, "Down"},
    {VirtualKeyCode::f1, "F1"},
    {VirtualKeyCode::f2, "F2"},
    {VirtualKeyCode::f3, "F3"},
    {VirtualKeyCode::f4, "F4"},
    {VirtualKeyCode::f5, "F5"},
    {VirtualKeyCode::f6, "F6"},
    {VirtualKeyCode::f7, "F7"},
    {VirtualKeyCode::f8, "F8"},
    {VirtualKeyCode::f9, "F9"},
    {VirtualKeyCode::f10, "F10"},
    {VirtualKeyCode::f11, "F11"},
    {VirtualKeyCode::f12, "F12"},
});
static_assert(specialKeyNames.size() == 26);

// The US ANSI legends, whatever layout the user actually has.
constexpr auto characterKeyNames = std::to_array<KeyNameEntry>({
    {0, "A"},  {11, "B"}, {8, "C"},  {2, "D"},  {14, "E"}, {3, "F"},  {5, "G"},  {4, "H"},
    {34, "I"}, {38, "J"}, {40, "K"}, {37, "L"}, {46, "M"}, {45, "N"}, {31, "O"}, {35, "P"},
    {12, "Q"}, {15, "R"}, {1, "S"},  {17, "T"}, {32, "U"}, {9, "V"},  {13, "W"}, {7, "X"},
    {16, "Y"}, {6, "Z"},  {29, "0"}, {18, "1"}, {19, "2"}, {20, "3"}, {21, "4"}, {23, "5"},
    {22, "6"}, {26, "7"}, {28, "8"}, {25, "9"}, {27, "-"}, {24, "="}, {44, "/"}, {42, "\\"},
    {43, ","}, {47, "."}, {41, ";"}, {39, "'"}, {33, "["}, {30, "]"}, {50, "`"},
});
static_assert(characterKeyNames.size() == 47);

template <std::size_t N>
std::string_view lookUp(const std::array<KeyNameEntry, N> &table, std::uint16_t keyCode)
{
    for (const auto &[code, name] : table) {
        if (code == keyCode) {
            return name;
        }
    }
    return {};
}

QString fromView(std::string_view text)
{
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

QString keyName(std::uint16_t keyCode)
{
    if (const std::string_view name = lookUp(specialKeyNames, keyCode); !name.empty()) {
        return fromView(name);
    }
    if (const std::string_view name = lookUp(characterKeyNames, keyCode); !name.empty()) {
        return fromView(name);
    }
    return QStringLiteral("Key %1").arg(keyCode);
}

QString displayString(const KeyCombo &combo)
{
    QString text;
    if (combo.modifiers & ModifierFlag::command) {
        text += QStringLiteral("Ctrl+");
    }
    if (combo.modifiers & ModifierFlag::option) {
        text += QStringLiteral("Alt+");
    }
    if (combo.modifiers & ModifierFlag::shift) {
        text += QStringLiteral("Shift+");
    }
    if (combo.modifiers & ModifierFlag::control) {
        text += QStringLiteral("Super+");
    }
    return text + keyName(combo.keyCode);
}

} // namespace lookpane
