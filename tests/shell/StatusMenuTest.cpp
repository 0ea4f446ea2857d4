// The status menu: its items in order, and what update() makes of each state.
#include "shell/StatusMenu.h"

#include "model/KeyCombo.h"
#include "shell/FitWindowList.h"
#include "shell/FramingMenu.h"
#include "shortcuts/ShortcutPreferences.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>

using namespace lookpane;

namespace {

// A title as the menu shows it: "&&" is an ampersand, a single "&" marks a mnemonic.
QString shown(QString text)
{
    text.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
    text.remove(QLatin1Char('&'));
    return text.replace(QStringLiteral("\x01"), QStringLiteral("&"));
}

// The visible rows of a menu as the user reads them, separators as "---".
QStringList rows(const QMenu &menu)
{
    QStringList out;
    for (const QAction *action : menu.actions()) {
        if (!action->isVisible()) {
            continue;
        }
        out << (action->isSeparator() ? QStringLiteral("---") : shown(action->text()));
    }
    return out;
}

StatusMenuState launched()
{
    StatusMenuState state;
    state.captureState = ScreenCaptureState::Kind::running;
    state.captureRunning = true;
    state.frameVisible = true;
    state.clickThrough = true;
    state.alwaysOnTop = true;
    state.blurShortcut = ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur);
    state.drawingShortcut = ShortcutPreferences::defaultCombo(ShortcutAction::drawingMode);
    state.clearShortcut = ShortcutPreferences::defaultCombo(ShortcutAction::clearAnnotations);
    return state;
}

class StatusMenuTest : public ::testing::Test
{
protected:
    FitWindowList fitList{[](std::function<void(std::vector<ShareableWindow>)>) {}};
    FramingMenu framing{fitList};
    StatusMenu menu{framing.menu()};
};

} // namespace

TEST_F(StatusMenuTest, HoldsTheItemsInOrderWithTheirFirstTitles)
{
    EXPECT_EQ(
        rows(*menu.menu()),
        QStringList({"Starting…", "---", "Stop capture", "Hide Lookpane window",
                     "Move or resize Lookpane window", "Detached preview: Off", "Size & ratio",
                     "Drawing mode: Off", "Remove all marks", "Blur for viewers: Off",
                     "Always on top: Off", "Click-through: On", "---", "Settings…",
                     "How to Use Lookpane…", "About Lookpane", "---", "Quit Lookpane"}));
    EXPECT_FALSE(menu.statusAction()->isEnabled());
    EXPECT_EQ(menu.framingAction()->menu(), framing.menu());
}

TEST_F(StatusMenuTest, SettingsGuideAndQuitCarryTheirKeysForEveryWindow)
{
    EXPECT_EQ(menu.settingsAction()->shortcut(), QKeySequence(QStringLiteral("Ctrl+,")));
    EXPECT_EQ(menu.guideAction()->shortcut(), QKeySequence(QStringLiteral("Ctrl+?")));
    EXPECT_EQ(menu.quitAction()->shortcut(), QKeySequence(QStringLiteral("Ctrl+Q")));
    for (const QAction *action : {menu.settingsAction(), menu.guideAction(), menu.quitAction()}) {
        EXPECT_EQ(action->shortcutContext(), Qt::ApplicationShortcut);
    }
}

TEST_F(StatusMenuTest, ALaunchedLookpaneReadsRunningWithTheShortcutSuffixes)
{
    menu.update(launched());
    EXPECT_EQ(rows(*menu.menu()),
              QStringList({"Capture running", "---", "Stop capture", "Hide Lookpane window",
                           "Move or resize Lookpane window", "Detached preview: Off",
                           "Size & ratio", "Drawing mode: Off  (Ctrl+Alt+Super+D)",
                           "Blur for viewers: Off  (Ctrl+Alt+Super+B)", "Always on top: On",
                           "Click-through: On", "---", "Settings…", "How to Use Lookpane…",
                           "About Lookpane", "---", "Quit Lookpane"}));
    for (QAction *action : menu.menu()->actions()) {
        if (action != menu.statusAction() && !action->isSeparator() && action->isVisible()) {
            EXPECT_TRUE(action->isEnabled()) << action->text().toStdString();
        }
    }
}

TEST_F(StatusMenuTest, EveryStateHasItsStatusLine)
{
    const std::pair<ScreenCaptureState::Kind, const char *> lines[] = {
        {ScreenCaptureState::Kind::idle, "Capture stopped"},
        {ScreenCaptureState::Kind::starting, "Starting capture…"},
        {ScreenCaptureState::Kind::running, "Capture running"},
        {ScreenCaptureState::Kind::permissionRequired, "Screen Recording permission required"},
        {ScreenCaptureState::Kind::failed, "Capture failed"},
    };
    for (const auto &[kind, line] : lines) {
        StatusMenuState state = launched();
        state.captureState = kind;
        menu.update(state);
        EXPECT_EQ(menu.statusAction()->text(), QString::fromUtf8(line));
        EXPECT_FALSE(menu.statusAction()->isEnabled());
    }
}

TEST_F(StatusMenuTest, TheTitlesFollowTheirSwitches)
{
    StatusMenuState state = launched();
    state.captureRunning = false;
    state.captureState = ScreenCaptureState::Kind::idle;
    state.mode = ShareMode::detached;
    state.privacyBlur = true;
    state.drawing = true;
    state.clickThrough = false;
    state.alwaysOnTop = false;
    menu.update(state);
    EXPECT_EQ(menu.captureAction()->text(), "Start capture");
    EXPECT_EQ(menu.moveAction()->text(), "Move or resize selection");
    EXPECT_EQ(menu.modeAction()->text(), "Detached preview: On");
    EXPECT_EQ(menu.blurAction()->text(), "Blur for viewers: On  (Ctrl+Alt+Super+B)");
    EXPECT_EQ(menu.drawingAction()->text(), "Drawing mode: On  (Ctrl+Alt+Super+D)");
    EXPECT_EQ(menu.clickThroughAction()->text(), "Click-through: Off");
    EXPECT_EQ(menu.alwaysOnTopAction()->text(), "Always on top: Off");
    // Stopped, there is nothing to move by.
    EXPECT_FALSE(menu.moveAction()->isEnabled());
    EXPECT_TRUE(menu.captureAction()->isEnabled());
}

TEST_F(StatusMenuTest, WithTheFrameHiddenTheFrameItemsAreDisabledAndAlwaysOnTopIsLeftAlone)
{
    StatusMenuState state = launched();
    state.frameVisible = false;
    state.hasMarks = true;
    menu.update(state);
    EXPECT_EQ(menu.visibilityAction()->text(), "Show Lookpane window");
    for (const QAction *action :
         {menu.captureAction(), menu.moveAction(), menu.modeAction(), menu.blurAction(),
          menu.drawingAction(), menu.clickThroughAction()}) {
        EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
    }
    EXPECT_TRUE(menu.alwaysOnTopAction()->isEnabled());
    EXPECT_TRUE(menu.visibilityAction()->isEnabled());
}

TEST_F(StatusMenuTest, TheClearItemShowsOnlyWithMarksAndCarriesItsShortcut)
{
    StatusMenuState state = launched();
    menu.update(state);
    EXPECT_FALSE(menu.clearMarksAction()->isVisible());
    state.hasMarks = true;
    menu.update(state);
    EXPECT_TRUE(menu.clearMarksAction()->isVisible());
    EXPECT_EQ(menu.clearMarksAction()->text(), "Remove all marks  (Ctrl+Alt+Super+E)");
}

TEST_F(StatusMenuTest, AnActionWithoutAShortcutHasNoSuffix)
{
    StatusMenuState state = launched();
    state.blurShortcut.reset();
    state.drawingShortcut.reset();
    state.clearShortcut.reset();
    state.hasMarks = true;
    menu.update(state);
    EXPECT_EQ(menu.blurAction()->text(), "Blur for viewers: Off");
    EXPECT_EQ(menu.drawingAction()->text(), "Drawing mode: Off");
    EXPECT_EQ(menu.clearMarksAction()->text(), "Remove all marks");
    EXPECT_EQ(shortcutSuffix(std::nullopt), QString());
}

TEST_F(StatusMenuTest, EachItemReportsItsOwnSignal)
{
    int captures = 0;
    int quits = 0;
    int blurs = 0;
    QObject::connect(&menu, &StatusMenu::toggleCapture, [&] { ++captures; });
    QObject::connect(&menu, &StatusMenu::quit, [&] { ++quits; });
    QObject::connect(&menu, &StatusMenu::togglePrivacyBlur, [&] { ++blurs; });
    menu.captureAction()->trigger();
    menu.blurAction()->trigger();
    menu.blurAction()->trigger();
    EXPECT_EQ(captures, 1);
    EXPECT_EQ(blurs, 2);
    EXPECT_EQ(quits, 0);
    menu.quitAction()->trigger();
    EXPECT_EQ(quits, 1);
}
