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

TEST(ModifierMapping, HotKeysAreGrabbedForEveryCapsLockAndNumLockState)
{
    const std::uint16_t ctrlAltSuper = 0x04 | 0x08 | 0x40;
    EXPECT_EQ(x11LockVariants(ctrlAltSuper),
              (std::array<std::uint16_t, 4>{ctrlAltSuper, ctrlAltSuper | 0x02, ctrlAltSuper | 0x10,
                                            ctrlAltSuper | 0x02 | 0x10}));
    // A keyboard map that puts Num Lock on Mod3.
    EXPECT_EQ(x11LockVariants(0x04, 0x20), (std::array<std::uint16_t, 4>{0x04, 0x06, 0x24, 0x26}));
}

TEST(ModifierMapping, PressesAreToldApartByShiftControlAltSuperOnly)
{
    // Ctrl+Alt+Super with Caps Lock, Num Lock and the first pointer button down.
    EXPECT_EQ(x11SignificantModifiers(0x04 | 0x08 | 0x40 | 0x02 | 0x10 | 0x100), 0x4C);
    EXPECT_EQ(x11SignificantModifiers(0x01 | 0x20 | 0x80), 0x01);
    for (const std::uint16_t lockState : x11LockVariants(0x4C)) {
        EXPECT_EQ(x11SignificantModifiers(lockState), 0x4C);
    }
}
