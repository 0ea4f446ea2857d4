#include "shortcuts/PhysicalKeys.h"

#include "shortcuts/KeyComboText.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

#include <set>

using namespace lookpane;

TEST(PhysicalKeys, LettersMapByPosition)
{
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_A), 0);
    EXPECT_EQ(virtualKeyCodeFromEvdev(30), 0);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_B), 11);
    EXPECT_EQ(virtualKeyCodeFromEvdev(48), 11);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_P), VirtualKeyCode::p);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_Z), 6);
    EXPECT_EQ(evdevFromVirtualKeyCode(0), KEY_A);
    EXPECT_EQ(evdevFromVirtualKeyCode(11), KEY_B);
}

TEST(PhysicalKeys, XKeycodesAreEvdevCodesPlusEight)
{
    EXPECT_EQ(virtualKeyCodeFromXKeycode(38), 0);  // A
    EXPECT_EQ(virtualKeyCodeFromXKeycode(56), 11); // B
    EXPECT_EQ(xKeycodeFromVirtualKeyCode(0), 38);
    EXPECT_EQ(xKeycodeFromVirtualKeyCode(VirtualKeyCode::escape), 9);
    EXPECT_EQ(virtualKeyCodeFromXKeycode(0), std::nullopt);
    EXPECT_EQ(virtualKeyCodeFromXKeycode(7), std::nullopt);
    EXPECT_EQ(virtualKeyCodeFromXKeycode(256), std::nullopt);
}

TEST(PhysicalKeys, SpecialKeysMapToTheirVirtualCodes)
{
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_ENTER), VirtualKeyCode::returnKey);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_TAB), VirtualKeyCode::tab);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_SPACE), VirtualKeyCode::space);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_BACKSPACE), 51);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_ESC), 53);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_DELETE), 117);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_HOME), 115);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_END), 119);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_PAGEUP), 116);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_PAGEDOWN), 121);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_LEFT), 123);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_RIGHT), 124);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_DOWN), 125);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_UP), 126);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_F1), 122);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_F5), 96);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_F10), 109);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_F11), 103);
    EXPECT_EQ(virtualKeyCodeFromEvdev(KEY_F12), 111);
}

TEST(PhysicalKeys, EveryNamedKeyHasAPositionAndComesBackUnchanged)
{
    int named = 0;
    for (std::uint16_t code = 0; code < 256; ++code) {
        if (keyName(code).startsWith(QStringLiteral("Key "))) {
            EXPECT_EQ(evdevFromVirtualKeyCode(code), std::nullopt) << "unnamed code " << code;
            continue;
        }
        ++named;
        const std::optional<std::uint16_t> evdev = evdevFromVirtualKeyCode(code);
        ASSERT_TRUE(evdev.has_value()) << "no key position for " << keyName(code).toStdString();
        EXPECT_EQ(virtualKeyCodeFromEvdev(*evdev), code);
    }
    EXPECT_EQ(named, 26 + 47);
}

TEST(PhysicalKeys, NoTwoPositionsShareAVirtualCode)
{
    std::set<std::uint16_t> seen;
    for (std::uint16_t evdev = 0; evdev < 248; ++evdev) {
        if (const std::optional<std::uint16_t> code = virtualKeyCodeFromEvdev(evdev)) {
            EXPECT_TRUE(seen.insert(*code).second) << "virtual code " << *code << " twice";
            EXPECT_EQ(evdevFromVirtualKeyCode(*code), evdev);
        }
    }
    EXPECT_EQ(seen.size(), 73u);
}

TEST(PhysicalKeys, ModifierAndKeypadKeysHaveNoVirtualCode)
{
    for (const std::uint16_t evdev : {KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_LEFTALT, KEY_LEFTMETA,
                                      KEY_CAPSLOCK, KEY_KP1, KEY_KPENTER, KEY_F13, KEY_RESERVED}) {
        EXPECT_EQ(virtualKeyCodeFromEvdev(evdev), std::nullopt) << "evdev " << evdev;
    }
}
