// The X11 hot-key backend on a private X server: grabs pressed through XTEST by keycode (and
// through xdotool, as a user's keyboard would), other clients holding keys, lock keys on, the
// modifier map and the keyboard layout changing while the grabs are held.
#include "ChildProcess.h"
#include "LoggedMessages.h"
#include "PatternWindow.h"
#include "QtWait.h"
#include "TestDisplay.h"
#include "XInput.h"
#include "XKeyboard.h"

#include "shortcuts/GlobalHotKeyCenter.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/ModifierMapping.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/VirtualKeyCode.h"
#include "shortcuts/x11/X11HotKeyBackend.h"

#include <gtest/gtest.h>

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QSignalSpy>

#include <sys/wait.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr std::uint16_t ctrlAltSuper = XKeyboard::ctrlAltSuperMask;
constexpr std::uint64_t controlOptionCommand =
    ModifierFlag::control | ModifierFlag::option | ModifierFlag::command;

// Runs a command-line tool on the test's display and waits for it.
bool runOnDisplay(std::vector<std::string> argv)
{
    ChildProcess::Options options;
    options.environment["DISPLAY"] = testDisplay().displayName();
    ChildProcess process(argv, options);
    const std::optional<int> status = process.waitForExit(std::chrono::seconds(30));
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

class X11HotKeyBackendTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(keyboard.isConnected());
        backend = std::make_unique<x11::X11HotKeyBackend>();
        ASSERT_TRUE(backend->isAvailable());
        backend->onHotKeyPressed = [this](const HotKeyId &id) {
            pressed.push_back(id);
            return true;
        };
    }

    std::string display() const { return testDisplay().displayName(); }

    // Waits until the backend has reported `count` presses in all.
    bool waitForPresses(std::size_t count)
    {
        return waitUntil([&] { return pressed.size() >= count; }, 5000) && pressed.size() == count;
    }

    // Whether another client could grab `keycode` with `mask` now (and lets it go again).
    bool freeForOthers(std::uint8_t keycode, std::uint16_t mask)
    {
        XKeyboard other(display());
        const bool granted = other.grabKey(keycode, mask);
        if (granted) {
            other.ungrabKey(keycode, mask);
        }
        return granted;
    }

    // Waits until the keyboard-map change made just before has reached the backend and its
    // grabs are renewed.
    bool waitForRenewal(QSignalSpy &renewed)
    {
        return waitUntil([&] { return renewed.count() > 0; }, 10000);
    }

    XKeyboard keyboard{testDisplay().displayName()};
    std::unique_ptr<x11::X11HotKeyBackend> backend;
    std::vector<HotKeyId> pressed;
};

const HotKeyId blurId{GlobalHotKeyCenter::signature, 1};
const HotKeyId drawingId{GlobalHotKeyCenter::signature, 2};
const HotKeyId clearId{GlobalHotKeyCenter::signature, 3};

} // namespace

TEST_F(X11HotKeyBackendTest, GrabFiresOnAnXdotoolPressWhileAnotherWindowHasFocus)
{
    PatternWindow other(display(), PatternWindow::at(QRect(100, 100, 300, 200), Pattern::bars,
                                                     "Another application"));
    ASSERT_TRUE(other.isShown());
    ASSERT_TRUE(xdotool(display(), {"windowfocus", "--sync", std::to_string(other.window())}));

    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::b, ctrlAltSuper, blurId));
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+b"}));
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed.front(), blurId);

    // Without Super it is another combination, and B alone is the focused window's.
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+b"}));
    ASSERT_TRUE(xdotool(display(), {"key", "b"}));
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+b"}));
    ASSERT_TRUE(waitForPresses(2));
}

TEST_F(X11HotKeyBackendTest, CentreRunsTheActionsHandlerForARealPress)
{
    int blurToggles = 0;
    int drawingToggles = 0;
    GlobalHotKeyCenter center(std::move(backend));
    center.setHandler(1, [&] { ++blurToggles; });
    center.setHandler(2, [&] { ++drawingToggles; });
    ASSERT_TRUE(center.registerCombo(KeyCombo{VirtualKeyCode::b, controlOptionCommand},
                                     ShortcutAction::privacyBlur));
    ASSERT_TRUE(center.registerCombo(KeyCombo{VirtualKeyCode::d, controlOptionCommand},
                                     ShortcutAction::drawingMode));
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyD));
    EXPECT_TRUE(waitUntil([&] { return drawingToggles == 1; }, 5000));
    EXPECT_EQ(blurToggles, 0);
}

TEST_F(X11HotKeyBackendTest, EveryLockVariantIsGrabbed)
{
    const LockModifiers locks = backend->lockModifiers();
    EXPECT_EQ(locks.numLock, X11Modifier::mod2) << "Xvfb's keyboard map has Num Lock on Mod2";
    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::b, ctrlAltSuper, blurId));
    const std::vector<std::uint16_t> variants = x11LockVariants(ctrlAltSuper, locks);
    EXPECT_GE(variants.size(), 4u);
    for (const std::uint16_t variant : variants) {
        EXPECT_FALSE(freeForOthers(XKeyboard::keyB, variant))
            << "the variant 0x" << std::hex << variant << " is not held";
    }
    // Other modifiers are left to others.
    EXPECT_TRUE(freeForOthers(XKeyboard::keyB, ctrlAltSuper | X11Modifier::shift));
}

TEST_F(X11HotKeyBackendTest, CapsLockAndNumLockOnStillFire)
{
    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::e, ctrlAltSuper, clearId));

    ASSERT_TRUE(keyboard.tap(XKeyboard::capsLock));
    ASSERT_EQ(keyboard.modifierState().value_or(0) & X11Modifier::lock, X11Modifier::lock);
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyE));
    ASSERT_TRUE(waitForPresses(1)) << "no press with Caps Lock on";

    ASSERT_TRUE(keyboard.tap(XKeyboard::numLock));
    const std::uint16_t numLock = backend->lockModifiers().numLock;
    ASSERT_NE(numLock, 0);
    ASSERT_EQ(keyboard.modifierState().value_or(0) & numLock, numLock);
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyE));
    ASSERT_TRUE(waitForPresses(2)) << "no press with Caps Lock and Num Lock on";

    ASSERT_TRUE(keyboard.tap(XKeyboard::capsLock));
    ASSERT_EQ(keyboard.modifierState().value_or(0) & X11Modifier::lock, 0);
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyE));
    ASSERT_TRUE(waitForPresses(3)) << "no press with Num Lock on";
    ASSERT_TRUE(keyboard.tap(XKeyboard::numLock));
    EXPECT_EQ(pressed.back(), clearId);
}

TEST_F(X11HotKeyBackendTest, ScrollLockOnAModifierOfItsOwnAddsTheOtherFourVariants)
{
    QSignalSpy renewed(backend.get(), &x11::X11HotKeyBackend::grabsRenewed);
    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::d, ctrlAltSuper, drawingId));
    ASSERT_TRUE(runOnDisplay({"xmodmap", "-e", "add mod3 = Scroll_Lock"}));
    ASSERT_TRUE(waitForRenewal(renewed));
    ASSERT_EQ(backend->lockModifiers(), (LockModifiers{X11Modifier::mod2, X11Modifier::mod3}));

    const std::vector<std::uint16_t> variants =
        x11LockVariants(ctrlAltSuper, backend->lockModifiers());
    ASSERT_EQ(variants.size(), 8u);
    for (const std::uint16_t variant : variants) {
        EXPECT_FALSE(freeForOthers(XKeyboard::keyD, variant))
            << "the variant 0x" << std::hex << variant << " is not held";
    }

    ASSERT_TRUE(keyboard.tap(XKeyboard::scrollLock));
    ASSERT_EQ(keyboard.modifierState().value_or(0) & X11Modifier::mod3, X11Modifier::mod3)
        << "Scroll Lock did not lock Mod3";
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyD));
    ASSERT_TRUE(waitForPresses(1)) << "no press with Scroll Lock on";
    ASSERT_TRUE(keyboard.tap(XKeyboard::scrollLock));
    ASSERT_TRUE(runOnDisplay({"xmodmap", "-e", "remove mod3 = Scroll_Lock"}));
}

TEST_F(X11HotKeyBackendTest, CombinationHeldByAnotherClientFailsAndLeavesNoVariantGrabbed)
{
    LoggedMessages log;
    // The other application holds only the combination with Num Lock on.
    const std::uint16_t numLock = backend->lockModifiers().numLock;
    ASSERT_NE(numLock, 0);
    XKeyboard holder(display());
    ASSERT_TRUE(holder.grabKey(XKeyboard::keyB, ctrlAltSuper | numLock));

    GlobalHotKeyCenter center(std::move(backend));
    EXPECT_FALSE(
        center.registerCombo(ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur),
                             ShortcutAction::privacyBlur));
    EXPECT_FALSE(center.isRegistered(ShortcutAction::privacyBlur));

    // Every other variant was let go again: a third application can have each of them.
    for (const std::uint16_t variant : x11LockVariants(ctrlAltSuper, LockModifiers{numLock, 0})) {
        if (variant != (ctrlAltSuper | numLock)) {
            EXPECT_TRUE(freeForOthers(XKeyboard::keyB, variant))
                << "the variant 0x" << std::hex << variant << " stayed grabbed";
        }
    }
    bool explained = false;
    for (const LoggedMessages::Message &message : log.ofType(QtWarningMsg)) {
        explained =
            explained || (message.text.contains(QStringLiteral("Ctrl+Alt+Super+B")) &&
                          message.text.contains(QStringLiteral("another application holds it")));
    }
    EXPECT_TRUE(explained) << "no warning names the combination and why";
}

TEST_F(X11HotKeyBackendTest, UnregisterReleasesTheCombinationForOthers)
{
    GlobalHotKeyCenter center(std::move(backend));
    const KeyCombo blur = ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur);
    ASSERT_TRUE(center.registerCombo(blur, ShortcutAction::privacyBlur));
    EXPECT_FALSE(freeForOthers(XKeyboard::keyB, ctrlAltSuper));

    ASSERT_TRUE(center.registerCombo(std::nullopt, ShortcutAction::privacyBlur));
    XKeyboard other(display());
    EXPECT_TRUE(other.grabKey(XKeyboard::keyB, ctrlAltSuper));
    EXPECT_TRUE(other.grabKey(XKeyboard::keyB, ctrlAltSuper | X11Modifier::lock));
    EXPECT_TRUE(other.grabKey(XKeyboard::keyB, ctrlAltSuper | X11Modifier::mod2));
    // Now the other application holds it, Lookpane cannot have it back.
    EXPECT_FALSE(center.registerCombo(blur, ShortcutAction::privacyBlur));
}

TEST_F(X11HotKeyBackendTest, DestructionReleasesEveryGrab)
{
    const std::vector<std::uint16_t> variants =
        x11LockVariants(ctrlAltSuper, backend->lockModifiers());
    {
        GlobalHotKeyCenter center(std::move(backend));
        for (const ShortcutAction action : allCases<ShortcutAction>()) {
            ASSERT_TRUE(center.registerCombo(ShortcutPreferences::defaultCombo(action), action));
        }
        EXPECT_FALSE(freeForOthers(XKeyboard::keyE, ctrlAltSuper));
    }
    for (const std::uint8_t key : {XKeyboard::keyB, XKeyboard::keyD, XKeyboard::keyE}) {
        for (const std::uint16_t variant : variants) {
            EXPECT_TRUE(freeForOthers(key, variant))
                << "keycode " << int(key) << " with 0x" << std::hex << variant << " still grabbed";
        }
    }
}

TEST_F(X11HotKeyBackendTest, SuspendedCentreLetsTheFocusedWindowHaveTheCombination)
{
    GlobalHotKeyCenter center(std::move(backend));
    ASSERT_TRUE(center.registerCombo(ShortcutPreferences::defaultCombo(ShortcutAction::drawingMode),
                                     ShortcutAction::drawingMode));
    center.setSuspended(true);
    EXPECT_TRUE(freeForOthers(XKeyboard::keyD, ctrlAltSuper));
    center.setSuspended(false);
    EXPECT_FALSE(freeForOthers(XKeyboard::keyD, ctrlAltSuper));
}

TEST_F(X11HotKeyBackendTest, GrabsFollowNumLockToAnotherModifier)
{
    QSignalSpy renewed(backend.get(), &x11::X11HotKeyBackend::grabsRenewed);
    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::b, ctrlAltSuper, blurId));
    ASSERT_FALSE(freeForOthers(XKeyboard::keyB, ctrlAltSuper | X11Modifier::mod2));

    ASSERT_TRUE(runOnDisplay({"xmodmap", "-e", "clear mod2", "-e", "add mod3 = Num_Lock"}));
    ASSERT_TRUE(waitForRenewal(renewed));
    ASSERT_EQ(backend->lockModifiers().numLock, X11Modifier::mod3);
    EXPECT_TRUE(freeForOthers(XKeyboard::keyB, ctrlAltSuper | X11Modifier::mod2))
        << "the variant for Num Lock's old bit stayed grabbed";
    EXPECT_FALSE(freeForOthers(XKeyboard::keyB, ctrlAltSuper | X11Modifier::mod3));

    ASSERT_TRUE(keyboard.tap(XKeyboard::numLock));
    ASSERT_EQ(keyboard.modifierState().value_or(0) & X11Modifier::mod3, X11Modifier::mod3)
        << "Num Lock did not lock Mod3";
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyB));
    ASSERT_TRUE(waitForPresses(1)) << "no press with Num Lock on its new modifier";
    ASSERT_TRUE(keyboard.tap(XKeyboard::numLock));
    ASSERT_TRUE(runOnDisplay({"xmodmap", "-e", "clear mod3", "-e", "add mod2 = Num_Lock"}));
}

TEST_F(X11HotKeyBackendTest, HoldingACombinationDownFiresOnce)
{
    // Counts the presses of B that reach the application, the repeats of a held key included,
    // before the backend sees them (the filter installed last runs first).
    struct PressCounter : QAbstractNativeEventFilter
    {
        bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
        {
            const auto *event = static_cast<const xcb_generic_event_t *>(message);
            if (type == "xcb_generic_event_t" && (event->response_type & 0x7f) == XCB_KEY_PRESS &&
                reinterpret_cast<const xcb_key_press_event_t *>(event)->detail == XKeyboard::keyB) {
                ++presses;
            }
            return false;
        }
        int presses = 0;
    } counter;
    // The keyboard repeats a held key after 100 ms, 50 times a second.
    ASSERT_TRUE(runOnDisplay({"xset", "r", "rate", "100", "50"}));
    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::b, ctrlAltSuper, blurId));
    QCoreApplication::instance()->installNativeEventFilter(&counter);

    for (const std::uint8_t modifier : {XKeyboard::controlL, XKeyboard::altL, XKeyboard::superL}) {
        ASSERT_TRUE(keyboard.keyDown(modifier));
    }
    ASSERT_TRUE(keyboard.keyDown(XKeyboard::keyB));
    const bool repeated = waitUntil([&] { return counter.presses >= 5; }, 10000);
    ASSERT_TRUE(keyboard.keyUp(XKeyboard::keyB));
    ASSERT_TRUE(repeated) << "the held key did not repeat";
    // A new press after the release fires again (a repeat reads as a release and a press in
    // the same millisecond; a person's next press comes later).
    const int before = counter.presses;
    ASSERT_TRUE(keyboard.keyDown(XKeyboard::keyB, 20));
    ASSERT_TRUE(keyboard.keyUp(XKeyboard::keyB));
    for (const std::uint8_t modifier : {XKeyboard::superL, XKeyboard::altL, XKeyboard::controlL}) {
        ASSERT_TRUE(keyboard.keyUp(modifier));
    }
    EXPECT_TRUE(waitUntil([&] { return counter.presses > before; }, 5000));
    QCoreApplication::instance()->removeNativeEventFilter(&counter);
    EXPECT_EQ(pressed, (std::vector<HotKeyId>{blurId, blurId}))
        << "the held combination fired at its repeats";
}

TEST_F(X11HotKeyBackendTest, ForeignSignatureIsPassedOnAndTriggersNothing)
{
    // A press the listener does not take (not the centre's) is left for Qt and anyone else.
    backend->onHotKeyPressed = [this](const HotKeyId &id) {
        pressed.push_back(id);
        return id.signature == GlobalHotKeyCenter::signature;
    };
    const HotKeyId foreign{0x4F544852 /* "OTHR" */, 1};
    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::d, ctrlAltSuper, foreign));
    ASSERT_TRUE(backend->registerHotKey(VirtualKeyCode::e, ctrlAltSuper, clearId));

    // The events as the server reports a grabbed key, handed to the filter as Qt would.
    const auto filter = [&](std::uint8_t type, std::uint8_t keycode, xcb_window_t window) {
        xcb_key_press_event_t event{};
        event.response_type = type;
        event.detail = keycode;
        event.root = keyboard.root();
        event.event = window;
        event.state = ctrlAltSuper | X11Modifier::mod2;
        return backend->nativeEventFilter(QByteArrayLiteral("xcb_generic_event_t"), &event,
                                          nullptr);
    };
    EXPECT_FALSE(filter(XCB_KEY_PRESS, XKeyboard::keyD, keyboard.root()));
    EXPECT_FALSE(filter(XCB_KEY_RELEASE, XKeyboard::keyD, keyboard.root()));
    ASSERT_EQ(pressed.size(), 1u);
    EXPECT_EQ(pressed.back(), foreign);

    EXPECT_TRUE(filter(XCB_KEY_PRESS, XKeyboard::keyE, keyboard.root()));
    EXPECT_TRUE(filter(XCB_KEY_RELEASE, XKeyboard::keyE, keyboard.root()));
    ASSERT_EQ(pressed.size(), 2u);
    EXPECT_EQ(pressed.back(), clearId);

    // Keys nobody registered, and key events of ordinary windows, are none of the backend's.
    EXPECT_FALSE(filter(XCB_KEY_PRESS, XKeyboard::keyB, keyboard.root()));
    EXPECT_FALSE(filter(XCB_KEY_PRESS, XKeyboard::keyE, keyboard.root() + 1));
    EXPECT_EQ(pressed.size(), 2u);

    // And through the server: the foreign press reaches the listener, which lets it pass.
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyD));
    ASSERT_TRUE(waitForPresses(3));
    EXPECT_EQ(pressed.back(), foreign);
}

TEST_F(X11HotKeyBackendTest, CombinationAlreadyBoundToAnotherActionIsRefused)
{
    GlobalHotKeyCenter center(std::move(backend));
    const KeyCombo blur = ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur);
    ASSERT_TRUE(center.registerCombo(blur, ShortcutAction::privacyBlur));
    EXPECT_FALSE(center.registerCombo(blur, ShortcutAction::clearAnnotations));
    // Letting the refused action go leaves the first one's grab in place.
    ASSERT_TRUE(center.registerCombo(std::nullopt, ShortcutAction::clearAnnotations));
    EXPECT_FALSE(freeForOthers(XKeyboard::keyB, ctrlAltSuper));
    // The same action may have it again: its old binding goes first.
    EXPECT_TRUE(center.registerCombo(blur, ShortcutAction::privacyBlur));
}

TEST_F(X11HotKeyBackendTest, KeyWithoutAPlaceOnTheKeyboardIsRefused)
{
    // F13 (105) and 0xFFFF have no physical position the program knows.
    EXPECT_FALSE(backend->registerHotKey(105, ctrlAltSuper, blurId));
    EXPECT_FALSE(backend->registerHotKey(0xFFFF, ctrlAltSuper, blurId));
}

TEST(X11HotKeyBackendWithoutDisplay, MissingConnectionIsAClearMessageAndRefusesEveryKey)
{
    LoggedMessages log;
    x11::X11HotKeyBackend backend(nullptr);
    EXPECT_FALSE(backend.isAvailable());
    EXPECT_FALSE(backend.registerHotKey(VirtualKeyCode::b, ctrlAltSuper, blurId));
    backend.unregisterHotKey(HotKeyHandle{1}); // nothing to release, nothing breaks
    const std::vector<LoggedMessages::Message> warnings = log.ofType(QtWarningMsg);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings.front().category, QStringLiteral("lookpane.shortcuts.x11"));
    EXPECT_TRUE(warnings.front().text.contains(QStringLiteral("Global shortcuts are unavailable")))
        << warnings.front().text.toStdString();

    // The centre over it reports every registration as failed.
    GlobalHotKeyCenter center(std::make_unique<x11::X11HotKeyBackend>(nullptr));
    EXPECT_FALSE(
        center.registerCombo(ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur),
                             ShortcutAction::privacyBlur));
}

// --- keyboard layouts ----------------------------------------------------------------------

namespace {

class X11HotKeyLayoutTest : public X11HotKeyBackendTest
{
protected:
    void TearDown() override { runOnDisplay({"setxkbmap", "us"}); }

    // Registers the three shipped shortcuts and switches the layout underneath them.
    void registerDefaultsThenSwitchTo(const char *layout)
    {
        QSignalSpy renewed(backend.get(), &x11::X11HotKeyBackend::grabsRenewed);
        for (const ShortcutAction action : allCases<ShortcutAction>()) {
            const KeyCombo combo = ShortcutPreferences::defaultCombo(action);
            ASSERT_TRUE(
                backend->registerHotKey(combo.keyCode, x11Modifiers(combo),
                                        {GlobalHotKeyCenter::signature, hotKeyIdentifier(action)}));
        }
        ASSERT_TRUE(runOnDisplay({"setxkbmap", layout}));
        ASSERT_TRUE(waitForRenewal(renewed));
    }

    // The shipped shortcuts fire on the keys at the B, D and E positions, and read as before.
    void expectDefaultsOnTheirPhysicalKeys()
    {
        ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyB));
        ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyD));
        ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyE));
        ASSERT_TRUE(waitForPresses(3));
        EXPECT_EQ(pressed, (std::vector<HotKeyId>{blurId, drawingId, clearId}));
        EXPECT_EQ(displayString(ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur)),
                  QStringLiteral("Ctrl+Alt+Super+B"));
        EXPECT_EQ(displayString(ShortcutPreferences::defaultCombo(ShortcutAction::drawingMode)),
                  QStringLiteral("Ctrl+Alt+Super+D"));
        EXPECT_EQ(
            displayString(ShortcutPreferences::defaultCombo(ShortcutAction::clearAnnotations)),
            QStringLiteral("Ctrl+Alt+Super+E"));
    }
};

constexpr std::uint32_t keysymA = 0x61;
constexpr std::uint32_t keysymQ = 0x71;
constexpr std::uint32_t keysymY = 0x79;
constexpr std::uint32_t keysymZ = 0x7a;

} // namespace

TEST_F(X11HotKeyLayoutTest, DefaultShortcutsStayOnTheirKeysWithAFrenchLayout)
{
    ASSERT_EQ(keyboard.keysym(XKeyboard::keyA), keysymA);
    ASSERT_NO_FATAL_FAILURE(registerDefaultsThenSwitchTo("fr"));
    ASSERT_EQ(keyboard.keysym(XKeyboard::keyA), keysymQ) << "the layout is not AZERTY";
    ASSERT_NO_FATAL_FAILURE(expectDefaultsOnTheirPhysicalKeys());

    // A binding on the A position fires on that key, which types Q now, and still reads A.
    const KeyCombo aPosition{0, controlOptionCommand};
    const HotKeyId aId{GlobalHotKeyCenter::signature, 7};
    ASSERT_TRUE(backend->registerHotKey(aPosition.keyCode, x11Modifiers(aPosition), aId));
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyA));
    ASSERT_TRUE(waitForPresses(4));
    EXPECT_EQ(pressed.back(), aId);
    EXPECT_EQ(displayString(aPosition), QStringLiteral("Ctrl+Alt+Super+A"));
}

TEST_F(X11HotKeyLayoutTest, DefaultShortcutsStayOnTheirKeysWithAGermanLayout)
{
    ASSERT_EQ(keyboard.keysym(XKeyboard::keyZ), keysymZ);
    ASSERT_NO_FATAL_FAILURE(registerDefaultsThenSwitchTo("de"));
    ASSERT_EQ(keyboard.keysym(XKeyboard::keyZ), keysymY) << "the layout is not QWERTZ";
    ASSERT_NO_FATAL_FAILURE(expectDefaultsOnTheirPhysicalKeys());

    // A binding on the Z position fires on that key, which types Y now, and still reads Z.
    const KeyCombo zPosition{6, controlOptionCommand};
    const HotKeyId zId{GlobalHotKeyCenter::signature, 8};
    ASSERT_TRUE(backend->registerHotKey(zPosition.keyCode, x11Modifiers(zPosition), zId));
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyZ));
    ASSERT_TRUE(waitForPresses(4));
    EXPECT_EQ(pressed.back(), zId);
    EXPECT_EQ(displayString(zPosition), QStringLiteral("Ctrl+Alt+Super+Z"));
}
