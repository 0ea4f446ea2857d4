// The application controller with its settings and guide windows, with scripted capture and
// hot-key services on a private X server: what is changed in settings takes effect at once, a
// refused shortcut shows in the settings window, and the guide opens when it should.
#include "QtWait.h"
#include "ScriptedCaptureBackend.h"
#include "ScriptedHotKeyBackend.h"

#include "app/AppDelegate.h"
#include "app/LookpaneWindowController.h"
#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "model/ScreenLayout.h"
#include "panels/GuideWindowController.h"
#include "panels/SettingsWindowController.h"
#include "shell/StatusMenu.h"
#include "shortcuts/GlobalHotKeyCenter.h"
#include "shortcuts/ModifierMapping.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/ToolShortcutPreferences.h"
#include "shortcuts/VirtualKeyCode.h"
#include "toolbar/FrameToolbarWindowController.h"
#include "toolbar/SymbolButton.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QTemporaryDir>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr std::uint16_t ctrlAltSuper = X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4;

class AppDelegateSettingsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_settingsFolder.isValid());
        m_preferences = std::make_unique<Preferences>(settingsFile());
        auto hotKeys = std::make_unique<ScriptedHotKeyBackend>();
        record = hotKeys->record();
        m_delegate = std::make_unique<AppDelegate>(
            *m_preferences, std::make_unique<ScriptedCaptureBackend>(), std::move(hotKeys));
    }

    void TearDown() override { m_delegate.reset(); }

    QString settingsFile() const { return m_settingsFolder.filePath("Lookpane.conf"); }
    void launchWithoutGuide()
    {
        m_preferences->setValue(QStringLiteral("ShowGuideOnLaunch"), false);
        m_delegate->applicationDidFinishLaunching();
    }

    LookpaneWindowController &controller() { return *m_delegate->windowController(); }
    SettingsWindowController &settings() { return *m_delegate->settingsWindow(); }
    GuideWindowController &guide() { return *m_delegate->guideWindow(); }
    StatusMenu &menu() { return *m_delegate->statusMenu(); }

    QTemporaryDir m_settingsFolder;
    std::unique_ptr<Preferences> m_preferences;
    std::shared_ptr<ScriptedHotKeyBackend::Record> record;
    std::unique_ptr<AppDelegate> m_delegate;
};

} // namespace

TEST_F(AppDelegateSettingsTest, WithShowGuideOnLaunchFalseNoGuideOpensYetTheMenuItemOpensIt)
{
    launchWithoutGuide();
    ASSERT_TRUE(waitUntil([&] { return controller().isFrameVisible(); }));
    EXPECT_FALSE(guide().window()->isVisible());

    menu().guideAction()->trigger();
    EXPECT_TRUE(waitUntil([&] { return guide().window()->isVisible(); }));
}

TEST_F(AppDelegateSettingsTest, WithShowGuideOnLaunchTrueTheGuideOpensAtLaunch)
{
    m_delegate->applicationDidFinishLaunching();
    EXPECT_TRUE(waitUntil([&] { return guide().window()->isVisible(); }));
}

TEST_F(AppDelegateSettingsTest, TheSettingsItemOpensTheSettingsWindow)
{
    launchWithoutGuide();
    EXPECT_FALSE(settings().window()->isVisible());
    menu().settingsAction()->trigger();
    EXPECT_TRUE(waitUntil([&] { return settings().window()->isVisible(); }));
}

TEST_F(AppDelegateSettingsTest,
       AStoredShortcutAnotherApplicationHoldsShowsTheConflictWhenSettingsOpen)
{
    record->taken.insert({VirtualKeyCode::b, ctrlAltSuper});
    launchWithoutGuide();
    // Nothing opened for it.
    EXPECT_FALSE(settings().window()->isVisible());

    menu().settingsAction()->trigger();
    ASSERT_TRUE(waitUntil([&] { return settings().window()->isVisible(); }));
    EXPECT_TRUE(settings().isConflictShown());
    EXPECT_TRUE(settings().conflictLabel()->isVisible());
}

TEST_F(AppDelegateSettingsTest, AShortcutChangedInSettingsIsRegisteredAtOnce)
{
    launchWithoutGuide();
    const KeyCombo altF5{VirtualKeyCode::f5, ModifierFlag::option};
    ShortcutPreferences(*m_preferences).setCombo(altF5, ShortcutAction::privacyBlur);
    Q_EMIT settings().shortcutChanged(ShortcutAction::privacyBlur, altF5);

    ASSERT_TRUE(m_delegate->hotKeys()->isRegistered(ShortcutAction::privacyBlur));
    const auto blur = std::find_if(record->live.begin(), record->live.end(), [](const auto &live) {
        return live.id.identifier == hotKeyIdentifier(ShortcutAction::privacyBlur);
    });
    ASSERT_NE(blur, record->live.end());
    EXPECT_EQ(blur->keyCode, VirtualKeyCode::f5);
    EXPECT_EQ(blur->x11Modifiers, X11Modifier::mod1);
    EXPECT_EQ(menu().blurAction()->text(), "Blur for viewers: Off  (Alt+F5)");
    EXPECT_FALSE(settings().isConflictShown());
}

TEST_F(AppDelegateSettingsTest, ARefusedShortcutFromSettingsRevealsTheConflictLabel)
{
    launchWithoutGuide();
    menu().settingsAction()->trigger();
    ASSERT_TRUE(waitUntil([&] { return settings().window()->isVisible(); }));
    const KeyCombo taken{VirtualKeyCode::r, ModifierFlag::command | ModifierFlag::option};
    record->taken.insert({VirtualKeyCode::r, X11Modifier::control | X11Modifier::mod1});
    ShortcutPreferences(*m_preferences).setCombo(taken, ShortcutAction::drawingMode);
    Q_EMIT settings().shortcutChanged(ShortcutAction::drawingMode, taken);

    EXPECT_FALSE(m_delegate->hotKeys()->isRegistered(ShortcutAction::drawingMode));
    EXPECT_TRUE(settings().isConflictShown());
    EXPECT_TRUE(settings().conflictLabel()->isVisible());
}

TEST_F(AppDelegateSettingsTest, RecordingInSettingsSuspendsTheGlobalShortcutsUntilItEnds)
{
    launchWithoutGuide();
    ASSERT_EQ(record->live.size(), 3u);
    Q_EMIT settings().recordingChanged(true);
    EXPECT_TRUE(m_delegate->hotKeys()->isSuspended());
    EXPECT_TRUE(record->live.empty());

    Q_EMIT settings().recordingChanged(false);
    EXPECT_FALSE(m_delegate->hotKeys()->isSuspended());
    EXPECT_EQ(record->live.size(), 3u);
}

TEST_F(AppDelegateSettingsTest, AStrongerBlurChosenInSettingsReachesTheShareWindowAtOnceAndPersists)
{
    launchWithoutGuide();
    controller().setPrivacyBlur(true);
    ASSERT_EQ(controller().blurStrength(), BlurStrength::light);

    Q_EMIT settings().blurStrengthChanged(BlurStrength::strong);
    EXPECT_EQ(controller().blurStrength(), BlurStrength::strong);
    EXPECT_TRUE(controller().isPrivacyBlurActive());
    // Written under "BlurStrength" at once: a fresh reader of the file sees it.
    Preferences reread(settingsFile());
    EXPECT_EQ(reread.stringValue(QStringLiteral("BlurStrength")), QStringLiteral("strong"));
    EXPECT_EQ(FramePreferences(reread, [] { return ScreenLayout{}; }).blurStrength(),
              BlurStrength::strong);
}

TEST_F(AppDelegateSettingsTest, AToolKeyChangedInSettingsShowsInTheToolbarsTooltipAtOnce)
{
    launchWithoutGuide();
    const auto tip = [&] {
        return controller().toolbar()->toolButtons().at(AnnotationTool::freehand)->toolTip();
    };
    ASSERT_TRUE(tip().contains(QStringLiteral("(P)"))) << tip().toStdString();

    ToolShortcutPreferences(*m_preferences)
        .setCombo(KeyCombo{VirtualKeyCode::e, 0}, AnnotationTool::freehand);
    Q_EMIT settings().toolShortcutsChanged();
    EXPECT_TRUE(tip().contains(QStringLiteral("(E)"))) << tip().toStdString();
}
