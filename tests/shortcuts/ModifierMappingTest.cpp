#include "shortcuts/ModifierMapping.h"

#include <gtest/gtest.h>

using namespace lookpane;

TEST(ModifierMapping, EachFlagMapsToItsX11Modifier)
{
    EXPECT_EQ(x11Modifiers(KeyCombo{0, ModifierFlag::shift}), 0x01);   // ShiftMask
    EXPECT_EQ(x11Modifiers(KeyCombo{0, ModifierFlag::command}), 0x04); // ControlMask
    EXPECT_EQ(x11Modifiers(KeyCombo{0, ModifierFlag::option}), 0x08);  // Mod1Mask
    EXPECT_EQ(x11Modifiers(KeyCombo{0, ModifierFlag::control}), 0x40); // Mod4Mask
    EXPECT_EQ(x11Modifiers(KeyCombo{0, 0}), 0);
}

TEST(ModifierMapping, DefaultBlurShortcutGrabsControlAltSuper)
{
    const KeyCombo blur{11, ModifierFlag::control | ModifierFlag::option | ModifierFlag::command};
    EXPECT_EQ(x11Modifiers(blur), 0x04 | 0x08 | 0x40);
}

TEST(ModifierMapping, OtherBitsOfTheWordAreIgnored)
{
    const std::uint64_t noise = ModifierFlag::capsLock | ModifierFlag::numericPad |
                                ModifierFlag::function | 0xFFFF | 0xFF000000ull | (1ull << 40);
    EXPECT_EQ(x11Modifiers(KeyCombo{0, noise}), 0);
    EXPECT_EQ(x11Modifiers(KeyCombo{0, noise | ModifierFlag::shift}), 0x01);
}

TEST(ModifierMapping, X11StateMapsBackToTheSameFlags)
{
    EXPECT_EQ(modifierFlagsFromX11State(0x01), ModifierFlag::shift);
    EXPECT_EQ(modifierFlagsFromX11State(0x04), ModifierFlag::command);
    EXPECT_EQ(modifierFlagsFromX11State(0x08), ModifierFlag::option);
    EXPECT_EQ(modifierFlagsFromX11State(0x40), ModifierFlag::control);
    EXPECT_EQ(modifierFlagsFromX11State(0x02), ModifierFlag::capsLock);
    // Num Lock (Mod2), Mod3, Mod5 and the button bits carry no flag.
    EXPECT_EQ(modifierFlagsFromX11State(0x10 | 0x20 | 0x80 | 0x100 | 0x400), 0u);
    for (const std::uint64_t flags :
         {ModifierFlag::shift, ModifierFlag::control | ModifierFlag::option,
          ModifierFlag::matchMask}) {
        EXPECT_EQ(modifierFlagsFromX11State(x11Modifiers(KeyCombo{0, flags})), flags);
    }
}

TEST(ModifierMapping, HotKeysAreGrabbedForEveryCapsLockNumLockAndScrollLockState)
{
    const std::uint16_t ctrlAltSuper = 0x04 | 0x08 | 0x40;
    // Num Lock on Mod2, Scroll Lock on Mod3: all eight states.
    EXPECT_EQ(x11LockVariants(ctrlAltSuper, LockModifiers{0x10, 0x20}),
              (std::vector<std::uint16_t>{ctrlAltSuper, ctrlAltSuper | 0x02, ctrlAltSuper | 0x10,
                                          ctrlAltSuper | 0x02 | 0x10, ctrlAltSuper | 0x20,
                                          ctrlAltSuper | 0x02 | 0x20, ctrlAltSuper | 0x10 | 0x20,
                                          ctrlAltSuper | 0x02 | 0x10 | 0x20}));
}

TEST(ModifierMapping, LockVariantsFollowWhereTheMapPutsNumLock)
{
    // A keyboard map that puts Num Lock on Mod3 and has no Scroll Lock modifier.
    EXPECT_EQ(x11LockVariants(0x04, LockModifiers{0x20, 0}),
              (std::vector<std::uint16_t>{0x04, 0x06, 0x24, 0x26}));
}

TEST(ModifierMapping, LockVariantsAreEachGrabbedOnce)
{
    // No Num Lock and no Scroll Lock modifier: the combination with and without Caps Lock.
    EXPECT_EQ(x11LockVariants(0x4C, LockModifiers{}), (std::vector<std::uint16_t>{0x4C, 0x4E}));
    // Both locks on one bit.
    EXPECT_EQ(x11LockVariants(0x4C, LockModifiers{0x80, 0x80}),
              (std::vector<std::uint16_t>{0x4C, 0x4E, 0xCC, 0xCE}));
}

TEST(ModifierMapping, LockBitsAreReadFromTheModifierMap)
{
    std::array<std::vector<std::uint32_t>, 8> map;
    map[0] = {0xffe1, 0xffe2};         // Shift_L, Shift_R
    map[1] = {0xffe5};                 // Caps_Lock
    map[2] = {0xffe3, 0xffe4};         // Control_L, Control_R
    map[3] = {0xffe9, 0xffe7};         // Alt_L, Meta_L
    map[4] = {X11Keysym::numLock};     // Mod2
    map[6] = {0xffeb, 0xffec, 0xffed}; // Super_L, Super_R, Hyper_L
    EXPECT_EQ(lockModifiersFromMap(map), (LockModifiers{0x10, 0}));

    map[4].clear();
    map[7] = {0xfe03, X11Keysym::numLock}; // ISO_Level3_Shift and Num Lock on Mod5
    map[5] = {X11Keysym::scrollLock};      // Mod3
    EXPECT_EQ(lockModifiersFromMap(map), (LockModifiers{0x80, 0x20}));
}

TEST(ModifierMapping, LocksOnShiftControlAltOrSuperAreLeftOut)
{
    std::array<std::vector<std::uint32_t>, 8> map;
    map[0] = {X11Keysym::numLock};
    map[2] = {X11Keysym::scrollLock};
    EXPECT_EQ(lockModifiersFromMap(map), (LockModifiers{0, 0}));
    map[3] = {X11Keysym::numLock};
    map[6] = {X11Keysym::scrollLock};
    EXPECT_EQ(lockModifiersFromMap(map), (LockModifiers{0, 0}));
    // Found further down on a bit of its own.
    map[5] = {X11Keysym::numLock};
    EXPECT_EQ(lockModifiersFromMap(map), (LockModifiers{0x20, 0}));
}

TEST(ModifierMapping, PressesAreToldApartByShiftControlAltSuperOnly)
{
    // Ctrl+Alt+Super with Caps Lock, Num Lock and the first pointer button down.
    EXPECT_EQ(x11SignificantModifiers(0x04 | 0x08 | 0x40 | 0x02 | 0x10 | 0x100), 0x4C);
    EXPECT_EQ(x11SignificantModifiers(0x01 | 0x20 | 0x80), 0x01);
    for (const std::uint16_t lockState : x11LockVariants(0x4C, LockModifiers{0x10, 0x20})) {
        EXPECT_EQ(x11SignificantModifiers(lockState), 0x4C);
    }
}
