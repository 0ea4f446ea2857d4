#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"
#include "model/BlurStrength.h"
#include "model/FrameRatio.h"
#include "model/KeyCombo.h"
#include "model/ShareMode.h"
#include "model/ShortcutAction.h"
#include "model/SystemColors.h"

#include <gtest/gtest.h>

#include <QStringList>

using namespace lookpane;

namespace {

template <typename E> QStringList rawValues()
{
    QStringList values;
    for (const E value : allCases<E>()) {
        values << rawValue(value);
    }
    return values;
}

template <typename E> void expectRawValuesRoundTrip()
{
    for (const E value : allCases<E>()) {
        EXPECT_EQ(fromRawValue<E>(rawValue(value)), value) << rawValue(value).toStdString();
        EXPECT_EQ(fromRawValue<E>(rawValue(value).toUpper()), std::nullopt)
            << rawValue(value).toStdString();
    }
}

} // namespace

TEST(FrameRatio, OnlyTheExactStringMacYieldsTheSixteenByTenLock)
{
    EXPECT_EQ(fromRawValue<FrameRatio>(u"mac"), FrameRatio::mac);
    for (const QString &near : {QStringLiteral("Mac"), QStringLiteral("MAC"), QStringLiteral("mAc"),
                                QStringLiteral("16:10"), QStringLiteral("mac "),
                                QStringLiteral(" mac"), QStringLiteral("mac\n"), QString()}) {
        EXPECT_EQ(fromRawValue<FrameRatio>(near), std::nullopt) << near.toStdString();
    }
}

TEST(FrameRatio, MenuTitlesAreNotRawValues)
{
    for (const FrameRatio ratio : allCases<FrameRatio>()) {
        if (menuTitle(ratio) != rawValue(ratio).toLower()) {
            EXPECT_EQ(fromRawValue<FrameRatio>(menuTitle(ratio)), std::nullopt)
                << menuTitle(ratio).toStdString();
        }
    }
    EXPECT_EQ(fromRawValue<FrameRatio>(u"Free"), std::nullopt);
    EXPECT_EQ(fromRawValue<FrameRatio>(u"16:9"), std::nullopt);
}

TEST(FrameRatio, FreeNeverProducesANumericRatio)
{
    EXPECT_EQ(ratioValue(FrameRatio::free), std::nullopt);
    EXPECT_EQ(aspect(FrameRatio::free), std::nullopt);
}

TEST(FrameRatio, LockedRatiosAreWidthOverHeightOfTheirAspectPair)
{
    EXPECT_EQ(aspect(FrameRatio::widescreen), QSize(16, 9));
    EXPECT_EQ(aspect(FrameRatio::mac), QSize(16, 10));
    EXPECT_EQ(aspect(FrameRatio::classic), QSize(4, 3));
    EXPECT_EQ(aspect(FrameRatio::square), QSize(1, 1));
    EXPECT_DOUBLE_EQ(*ratioValue(FrameRatio::widescreen), 16.0 / 9.0);
    EXPECT_DOUBLE_EQ(*ratioValue(FrameRatio::mac), 1.6);
    EXPECT_DOUBLE_EQ(*ratioValue(FrameRatio::classic), 4.0 / 3.0);
    EXPECT_DOUBLE_EQ(*ratioValue(FrameRatio::square), 1.0);
}

TEST(FrameRatio, RawValuesMenuTitlesAndOrder)
{
    EXPECT_EQ(rawValues<FrameRatio>(),
              (QStringList{"free", "widescreen", "mac", "classic", "square"}));
    QStringList titles;
    for (const FrameRatio ratio : allCases<FrameRatio>()) {
        titles << menuTitle(ratio);
    }
    EXPECT_EQ(titles, (QStringList{"Free", "16:9", "16:10", "4:3", "1:1"}));
    expectRawValuesRoundTrip<FrameRatio>();
}

TEST(ValueTypes, EnumerationsListTheirCasesInDeclarationOrder)
{
    EXPECT_EQ(rawValues<ShareMode>(), (QStringList{"overlay", "detached"}));
    EXPECT_EQ(rawValues<BlurStrength>(), (QStringList{"light", "strong"}));
    EXPECT_EQ(rawValues<AnnotationTool>(),
              (QStringList{"freehand", "line", "arrow", "rectangle", "ellipse"}));
    EXPECT_EQ(rawValues<AnnotationColor>(),
              (QStringList{"red", "yellow", "green", "blue", "white"}));
    EXPECT_EQ(rawValues<ShortcutAction>(),
              (QStringList{"privacyBlur", "drawingMode", "clearAnnotations"}));
}

TEST(ValueTypes, RawValuesRoundTripAndAreCaseSensitive)
{
    expectRawValuesRoundTrip<ShareMode>();
    expectRawValuesRoundTrip<BlurStrength>();
    expectRawValuesRoundTrip<AnnotationTool>();
    expectRawValuesRoundTrip<AnnotationColor>();
    expectRawValuesRoundTrip<ShortcutAction>();
    EXPECT_EQ(fromRawValue<ShortcutAction>(u"privacyblur"), std::nullopt);
    EXPECT_EQ(fromRawValue<BlurStrength>(u"Strong"), std::nullopt);
}

TEST(ShareMode, TogglingFlipsBetweenTheTwoModes)
{
    EXPECT_EQ(toggled(ShareMode::overlay), ShareMode::detached);
    EXPECT_EQ(toggled(ShareMode::detached), ShareMode::overlay);
}

TEST(BlurStrength, SettingsTitles)
{
    EXPECT_EQ(settingsTitle(BlurStrength::light),
              QStringLiteral("Light — text unreadable, layout visible"));
    EXPECT_EQ(settingsTitle(BlurStrength::strong), QStringLiteral("Strong — nothing legible"));
}

TEST(AnnotationColor, SwatchesUseTheDesktopPalette)
{
    EXPECT_EQ(color(AnnotationColor::red), QColor(0xFF, 0x3B, 0x30));
    EXPECT_EQ(color(AnnotationColor::yellow), QColor(0xFF, 0xCC, 0x00));
    EXPECT_EQ(color(AnnotationColor::green), QColor(0x34, 0xC7, 0x59));
    EXPECT_EQ(color(AnnotationColor::blue), QColor(0x00, 0x7A, 0xFF));
    EXPECT_EQ(color(AnnotationColor::white), QColor(0xFF, 0xFF, 0xFF));
    EXPECT_EQ(color(AnnotationColor::red), SystemColors::red);
}

TEST(ShortcutAction, HotKeyIdentifiersArePositionPlusOne)
{
    EXPECT_EQ(hotKeyIdentifier(ShortcutAction::privacyBlur), 1u);
    EXPECT_EQ(hotKeyIdentifier(ShortcutAction::drawingMode), 2u);
    EXPECT_EQ(hotKeyIdentifier(ShortcutAction::clearAnnotations), 3u);
}

TEST(KeyCombo, AnExtraNonMeaningfulFlagBitMakesCombosUnequal)
{
    const KeyCombo plain{11, ModifierFlag::hotKeyMask};
    const KeyCombo withCapsLock{11, ModifierFlag::hotKeyMask | ModifierFlag::capsLock};
    const KeyCombo withLowBit{11, ModifierFlag::hotKeyMask | 0x1};
    EXPECT_NE(plain, withCapsLock);
    EXPECT_NE(plain, withLowBit);
    // Stripped to the four meaningful bits they are the same combination.
    EXPECT_EQ(plain,
              (KeyCombo{withCapsLock.keyCode, withCapsLock.modifiers & ModifierFlag::matchMask}));
}

TEST(KeyCombo, EqualityComparesKeyCodeAndWholeWord)
{
    EXPECT_EQ((KeyCombo{35, 0}), (KeyCombo{35, 0}));
    EXPECT_NE((KeyCombo{35, 0}), (KeyCombo{36, 0}));
    EXPECT_NE((KeyCombo{35, 0}), (KeyCombo{35, 1ull << 63}));
}

TEST(KeyCombo, ModifierMasks)
{
    EXPECT_EQ(ModifierFlag::shift | ModifierFlag::control | ModifierFlag::option |
                  ModifierFlag::command,
              ModifierFlag::matchMask);
    EXPECT_EQ(ModifierFlag::control | ModifierFlag::option | ModifierFlag::command,
              ModifierFlag::hotKeyMask);
    EXPECT_EQ(ModifierFlag::matchMask, 0x1E0000u);
    EXPECT_EQ(ModifierFlag::deviceIndependentMask, 0xFFFF0000u);
}
