#include "shortcuts/KeyEventFlags.h"

#include "model/KeyCombo.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/PhysicalKeys.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

#include <set>

using namespace lookpane;

namespace {

constexpr std::uint64_t functionAndKeypad = ModifierFlag::function | ModifierFlag::numericPad;

} // namespace

TEST(KeyEventFlags, ArrowsCarryTheFunctionAndTheNumericPadFlag)
{
    for (const std::uint16_t key : {KEY_LEFT, KEY_RIGHT, KEY_UP, KEY_DOWN}) {
        EXPECT_EQ(keyEventFlags(key), functionAndKeypad) << "evdev " << key;
    }
}

TEST(KeyEventFlags, FunctionKeysCarryOnlyTheFunctionFlag)
{
    for (const std::uint16_t key : {KEY_F1, KEY_F2, KEY_F3, KEY_F4, KEY_F5, KEY_F6, KEY_F7, KEY_F8,
                                    KEY_F9, KEY_F10, KEY_F11, KEY_F12, KEY_F13, KEY_F24}) {
        EXPECT_EQ(keyEventFlags(key), ModifierFlag::function) << "evdev " << key;
    }
}

TEST(KeyEventFlags, NavigationKeysCarryOnlyTheFunctionFlag)
{
    for (const std::uint16_t key :
         {KEY_HOME, KEY_END, KEY_PAGEUP, KEY_PAGEDOWN, KEY_DELETE, KEY_INSERT, KEY_HELP}) {
        EXPECT_EQ(keyEventFlags(key), ModifierFlag::function) << "evdev " << key;
    }
}

TEST(KeyEventFlags, KeypadKeysCarryOnlyTheNumericPadFlag)
{
    for (const std::uint16_t key :
         {KEY_KP0, KEY_KP1, KEY_KP5, KEY_KP9, KEY_KPDOT, KEY_KPENTER, KEY_KPPLUS, KEY_KPMINUS,
          KEY_KPASTERISK, KEY_KPSLASH, KEY_KPEQUAL, KEY_KPCOMMA, KEY_NUMLOCK}) {
        EXPECT_EQ(keyEventFlags(key), ModifierFlag::numericPad) << "evdev " << key;
    }
}

TEST(KeyEventFlags, CharacterEditingAndModifierKeysCarryNoFlag)
{
    for (const std::uint16_t key :
         {KEY_A, KEY_B, KEY_Z, KEY_1, KEY_0, KEY_MINUS, KEY_GRAVE, KEY_BACKSLASH, KEY_ENTER,
          KEY_TAB, KEY_SPACE, KEY_BACKSPACE, KEY_ESC, KEY_LEFTSHIFT, KEY_LEFTCTRL, KEY_LEFTALT,
          KEY_LEFTMETA, KEY_CAPSLOCK}) {
        EXPECT_EQ(keyEventFlags(key), 0u) << "evdev " << key;
    }
}

// Every key that has a stored code is decided: those with special names other than the
// typing keys (Space, Return, Tab, Esc, Backspace) carry the function flag, the others none.
TEST(KeyEventFlags, EveryKeyWithAStoredCodeIsDecided)
{
    const std::set<std::uint16_t> typingKeys{VirtualKeyCode::space, VirtualKeyCode::returnKey,
                                             VirtualKeyCode::tab, VirtualKeyCode::escape,
                                             VirtualKeyCode::backspace};
    int named = 0;
    for (std::uint16_t evdev = 0; evdev < 248; ++evdev) {
        const std::optional<std::uint16_t> code = virtualKeyCodeFromEvdev(evdev);
        if (!code) {
            continue;
        }
        const bool special = keyName(*code).size() > 1 && !typingKeys.contains(*code);
        if (special) {
            ++named;
            EXPECT_TRUE(keyEventFlags(evdev) & ModifierFlag::function)
                << keyName(*code).toStdString();
        } else {
            EXPECT_EQ(keyEventFlags(evdev), 0u) << keyName(*code).toStdString();
        }
    }
    // Delete, Home, End, Page Up, Page Down, four arrows, F1 to F12.
    EXPECT_EQ(named, 21);
}

TEST(KeyEventFlags, XKeycodesAreEvdevCodesPlusEight)
{
    EXPECT_EQ(keyEventFlagsFromXKeycode(KEY_LEFT + 8), functionAndKeypad);
    EXPECT_EQ(keyEventFlagsFromXKeycode(KEY_F5 + 8), ModifierFlag::function);
    EXPECT_EQ(keyEventFlagsFromXKeycode(KEY_KP1 + 8), ModifierFlag::numericPad);
    EXPECT_EQ(keyEventFlagsFromXKeycode(KEY_B + 8), 0u);
    EXPECT_EQ(keyEventFlagsFromXKeycode(KEY_LEFT), 0u); // X keycode 105 is evdev 97, Right Ctrl
    EXPECT_EQ(keyEventFlagsFromXKeycode(0), 0u);
    EXPECT_EQ(keyEventFlagsFromXKeycode(7), 0u);
    EXPECT_EQ(keyEventFlagsFromXKeycode(256 + KEY_LEFT + 8), 0u);
}

TEST(KeyEventFlags, KeyPressJoinsTheStateModifiersAndTheKeysOwnFlags)
{
    // Ctrl+Shift+Left: Control (0x04) and Shift (0x01) held.
    const std::optional<KeyPress> left = keyPressFromX11(KEY_LEFT + 8, 0x05);
    ASSERT_TRUE(left);
    EXPECT_EQ(left->keyCode, VirtualKeyCode::leftArrow);
    EXPECT_EQ(left->modifiers, ModifierFlag::command | ModifierFlag::shift |
                                   ModifierFlag::function | ModifierFlag::numericPad);

    // Alt+F5 with Num Lock on (Mod2, which has no flag).
    const std::optional<KeyPress> f5 = keyPressFromX11(KEY_F5 + 8, 0x08 | 0x10);
    ASSERT_TRUE(f5);
    EXPECT_EQ(f5->keyCode, VirtualKeyCode::f5);
    EXPECT_EQ(f5->modifiers, ModifierFlag::option | ModifierFlag::function);

    // B with Caps Lock and Super.
    const std::optional<KeyPress> b = keyPressFromX11(KEY_B + 8, 0x02 | 0x40);
    ASSERT_TRUE(b);
    EXPECT_EQ(b->keyCode, VirtualKeyCode::b);
    EXPECT_EQ(b->modifiers, ModifierFlag::capsLock | ModifierFlag::control);
}

TEST(KeyEventFlags, AKeyWithoutAStoredCodeMakesNoKeyPress)
{
    EXPECT_EQ(keyPressFromX11(KEY_KP1 + 8, 0), std::nullopt);
    EXPECT_EQ(keyPressFromX11(KEY_LEFTCTRL + 8, 0x04), std::nullopt);
    EXPECT_EQ(keyPressFromX11(0, 0), std::nullopt);
}
