// The application controller's global shortcuts, with a scripted hot-key service and a scripted
// capture backend on a private X server: the three stored shortcuts registered at launch, their
// handlers, and conflicts with other applications.
#include "QtWait.h"
#include "ScriptedCaptureBackend.h"
#include "ScriptedHotKeyBackend.h"

#include "app/AppDelegate.h"
#include "app/LookpaneWindowController.h"
#include "model/Preferences.h"
#include "shell/StatusMenu.h"
#include "shortcuts/GlobalHotKeyCenter.h"
#include "shortcuts/ModifierMapping.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QTemporaryDir>

#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr std::uint16_t ctrlAltSuper = X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4;

class AppDelegateHotKeysTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_settingsFolder.isValid());
        m_preferences = std::make_unique<Preferences>(m_settingsFolder.filePath("Lookpane.conf"));
        auto hotKeys = std::make_unique<ScriptedHotKeyBackend>();
        m_hotKeys = hotKeys.get();
        record = hotKeys->record();
        m_delegate = std::make_unique<AppDelegate>(
            *m_preferences, std::make_unique<ScriptedCaptureBackend>(), std::move(hotKeys));
        QObject::connect(m_delegate.get(), &AppDelegate::hotKeyRegistrationFailed,
                         [this](ShortcutAction action) { failures.push_back(action); });
    }

    void TearDown() override { m_delegate.reset(); }

    LookpaneWindowController &controller() { return *m_delegate->windowController(); }
    StatusMenu &menu() { return *m_delegate->statusMenu(); }

    // The user presses the combination registered for `action`, wherever the focus is.
    bool press(ShortcutAction action)
    {
        return m_hotKeys->press({GlobalHotKeyCenter::signature, hotKeyIdentifier(action)});
    }

    void addMark()
    {
        Annotation mark;
        mark.tool = AnnotationTool::line;
        mark.points = {QPointF(0.1, 0.1), QPointF(0.5, 0.5)};
        controller().annotations().setDraft(mark);
        controller().annotations().commitDraft();
    }

    QTemporaryDir m_settingsFolder;
    std::unique_ptr<Preferences> m_preferences;
    ScriptedHotKeyBackend *m_hotKeys = nullptr;
    std::shared_ptr<ScriptedHotKeyBackend::Record> record;
    std::unique_ptr<AppDelegate> m_delegate;
    std::vector<ShortcutAction> failures;
};

} // namespace

TEST_F(AppDelegateHotKeysTest,
       TheHotKeyCentreExistsBeforeLaunchAndLaunchRegistersTheStoredShortcuts)
{
    ASSERT_NE(m_delegate->hotKeys(), nullptr);
    EXPECT_TRUE(record->live.empty());

    m_delegate->applicationDidFinishLaunching();
    ASSERT_EQ(record->live.size(), 3u);
    const std::vector<std::uint16_t> keys{VirtualKeyCode::b, VirtualKeyCode::d, VirtualKeyCode::e};
    for (std::size_t index = 0; index < 3; ++index) {
        EXPECT_EQ(record->live[index].keyCode, keys[index]);
        EXPECT_EQ(record->live[index].x11Modifiers, ctrlAltSuper);
        EXPECT_EQ(record->live[index].id,
                  (HotKeyId{GlobalHotKeyCenter::signature, std::uint32_t(index + 1)}));
    }
    EXPECT_FALSE(m_delegate->hotKeyConflict());
    EXPECT_TRUE(failures.empty());
}

TEST_F(AppDelegateHotKeysTest, StoredShortcutsAreRegisteredAsTheSettingsHoldThem)
{
    ShortcutPreferences shortcuts(*m_preferences);
    shortcuts.setCombo(KeyCombo{VirtualKeyCode::f5, ModifierFlag::option},
                       ShortcutAction::privacyBlur);
    shortcuts.setCombo(std::nullopt, ShortcutAction::drawingMode);

    m_delegate->applicationDidFinishLaunching();
    ASSERT_EQ(record->live.size(), 2u);
    EXPECT_EQ(record->live[0].keyCode, VirtualKeyCode::f5);
    EXPECT_EQ(record->live[0].x11Modifiers, X11Modifier::mod1);
    EXPECT_EQ(record->live[1].id.identifier, 3u);
    EXPECT_FALSE(m_delegate->hotKeys()->isRegistered(ShortcutAction::drawingMode));
    EXPECT_EQ(menu().blurAction()->text(), "Blur for viewers: Off  (Alt+F5)");
    EXPECT_EQ(menu().drawingAction()->text(), "Drawing mode: Off");
}

TEST_F(AppDelegateHotKeysTest, BlurShortcutTogglesTheBlurAndTheMenuFollows)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(press(ShortcutAction::privacyBlur));
    ASSERT_TRUE(waitUntil([&] { return controller().isPrivacyBlurActive(); }));
    EXPECT_EQ(menu().blurAction()->text(), "Blur for viewers: On  (Ctrl+Alt+Super+B)");

    ASSERT_TRUE(press(ShortcutAction::privacyBlur));
    ASSERT_TRUE(waitUntil([&] { return !controller().isPrivacyBlurActive(); }));
    EXPECT_EQ(menu().blurAction()->text(), "Blur for viewers: Off  (Ctrl+Alt+Super+B)");
}

TEST_F(AppDelegateHotKeysTest, DrawingShortcutTogglesDrawingModeAndTheMenuFollows)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(press(ShortcutAction::drawingMode));
    ASSERT_TRUE(waitUntil([&] { return controller().isDrawing(); }));
    EXPECT_EQ(menu().drawingAction()->text(), "Drawing mode: On  (Ctrl+Alt+Super+D)");

    ASSERT_TRUE(press(ShortcutAction::drawingMode));
    ASSERT_TRUE(waitUntil([&] { return !controller().isDrawing(); }));
    EXPECT_EQ(menu().drawingAction()->text(), "Drawing mode: Off  (Ctrl+Alt+Super+D)");
}

TEST_F(AppDelegateHotKeysTest, ClearShortcutRemovesEveryMarkAndHidesTheMenuItem)
{
    m_delegate->applicationDidFinishLaunching();
    addMark();
    addMark();
    ASSERT_TRUE(menu().clearMarksAction()->isVisible());

    ASSERT_TRUE(press(ShortcutAction::clearAnnotations));
    ASSERT_TRUE(waitUntil([&] { return controller().annotations().annotations().empty(); }));
    EXPECT_FALSE(menu().clearMarksAction()->isVisible());
    EXPECT_FALSE(controller().isPrivacyBlurActive());
    EXPECT_FALSE(controller().isDrawing());
}

TEST_F(AppDelegateHotKeysTest, StoredShortcutAnotherApplicationHoldsIsReportedAsAConflict)
{
    record->taken.insert({VirtualKeyCode::b, ctrlAltSuper});
    m_delegate->applicationDidFinishLaunching();

    EXPECT_TRUE(m_delegate->hotKeyConflict());
    EXPECT_EQ(failures, std::vector<ShortcutAction>{ShortcutAction::privacyBlur});
    EXPECT_FALSE(m_delegate->hotKeys()->isRegistered(ShortcutAction::privacyBlur));
    // The others work, and nothing was opened or changed for it.
    EXPECT_TRUE(m_delegate->hotKeys()->isRegistered(ShortcutAction::drawingMode));
    EXPECT_TRUE(m_delegate->hotKeys()->isRegistered(ShortcutAction::clearAnnotations));
    EXPECT_EQ(ShortcutPreferences(*m_preferences).combo(ShortcutAction::privacyBlur),
              ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur));
    EXPECT_TRUE(controller().isFrameVisible());
}

TEST_F(AppDelegateHotKeysTest, AnotherCombinationForTheActionClearsTheConflict)
{
    record->taken.insert({VirtualKeyCode::b, ctrlAltSuper});
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(m_delegate->hotKeyConflict());

    // What the settings window does once the user records another combination.
    const KeyCombo ctrlAltSuperV{9, ModifierFlag::control | ModifierFlag::option |
                                        ModifierFlag::command};
    ShortcutPreferences(*m_preferences).setCombo(ctrlAltSuperV, ShortcutAction::privacyBlur);
    EXPECT_TRUE(m_delegate->registerGlobalShortcut(ctrlAltSuperV, ShortcutAction::privacyBlur));
    EXPECT_FALSE(m_delegate->hotKeyConflict());
    EXPECT_EQ(menu().blurAction()->text(), "Blur for viewers: Off  (Ctrl+Alt+Super+V)");

    ASSERT_TRUE(press(ShortcutAction::privacyBlur));
    EXPECT_TRUE(waitUntil([&] { return controller().isPrivacyBlurActive(); }));

    // Taken again: the conflict is back.
    EXPECT_FALSE(m_delegate->registerGlobalShortcut(
        ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur),
        ShortcutAction::privacyBlur));
    EXPECT_TRUE(m_delegate->hotKeyConflict());
    EXPECT_EQ(failures.size(), 2u);
}

TEST_F(AppDelegateHotKeysTest, ShortcutTakenWhileSuspendedIsReportedWhenTheSuspensionEnds)
{
    m_delegate->applicationDidFinishLaunching();
    GlobalHotKeyCenter &hotKeys = *m_delegate->hotKeys();
    hotKeys.setSuspended(true);
    EXPECT_TRUE(record->live.empty());
    record->taken.insert({VirtualKeyCode::d, ctrlAltSuper});
    EXPECT_FALSE(m_delegate->hotKeyConflict());

    hotKeys.setSuspended(false);
    EXPECT_TRUE(m_delegate->hotKeyConflict());
    EXPECT_EQ(failures, std::vector<ShortcutAction>{ShortcutAction::drawingMode});
    EXPECT_EQ(record->live.size(), 2u);
}

TEST_F(AppDelegateHotKeysTest, TheDelegateReleasesEveryShortcutWhenItGoes)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_EQ(record->live.size(), 3u);
    ASSERT_TRUE(press(ShortcutAction::privacyBlur)); // still queued when the delegate goes
    m_delegate.reset();
    EXPECT_TRUE(record->live.empty());
    EXPECT_FALSE(record->destroyedWhileListened);
    // The queued press is delivered, and finds nothing to act on.
    EXPECT_TRUE(handlePostedEvents());
}
