// The recorder on a private X server, driven by real clicks and key presses (XTEST).
#include "BellCounter.h"
#include "PanelsTestSupport.h"
#include "XKeyboard.h"

#include "model/KeyCombo.h"
#include "panels/ShortcutRecorderView.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QTest>

#include <string>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr std::uint64_t ctrlAltSuper = ModifierFlag::hotKeyMask;

using Log = std::vector<std::string>;

class ShortcutRecorderViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bells.isListening()) << "the X server offers no XKB bell events";
        window.setWindowTitle(QStringLiteral("Recorders"));
        auto *layout = new QHBoxLayout(&window);
        globalRecorder = new ShortcutRecorderView(false, &window);
        toolRecorder = new ShortcutRecorderView(true, &window);
        layout->addWidget(globalRecorder);
        layout->addWidget(toolRecorder);
        for (ShortcutRecorderView *recorder : {globalRecorder, toolRecorder}) {
            const std::string name = recorder == globalRecorder ? "global" : "tool";
            QObject::connect(recorder, &ShortcutRecorderView::recordingChanged, &window,
                             [this, name](bool recording) {
                                 log.push_back(name + (recording ? " recording" : " idle"));
                             });
            QObject::connect(recorder, &ShortcutRecorderView::comboChanged, &window,
                             [this, name](std::optional<KeyCombo> combo) {
                                 log.push_back(
                                     name + " combo " +
                                     (combo ? displayString(*combo).toStdString() : "none"));
                             });
        }
        window.setGeometry(200, 200, 420, 80);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        window.activateWindow();
        ASSERT_TRUE(waitUntil([&] { return QApplication::activeWindow() == &window; }));
    }

    // Clicks `recorder` and waits until it records and holds the keyboard.
    void startRecording(ShortcutRecorderView *recorder)
    {
        ASSERT_TRUE(clickOn(recorder));
        ASSERT_TRUE(
            waitUntil([&] { return recorder->isRecording() && recorder->holdsKeyboard(); }));
        EXPECT_EQ(recorder->text(), QStringLiteral("Press keys…"));
    }

    bool waitForBells(int count)
    {
        return waitUntil([&] { return bells.count() == count; });
    }

    BellCounter bells{display()};
    QWidget window;
    ShortcutRecorderView *globalRecorder = nullptr;
    ShortcutRecorderView *toolRecorder = nullptr;
    std::vector<std::string> log;
};

} // namespace

TEST_F(ShortcutRecorderViewTest, TitlesAreClickToSetOrTheCombosText)
{
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Click to set"));
    globalRecorder->setCombo(ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur));
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Ctrl+Alt+Super+B"));
    toolRecorder->setCombo(KeyCombo{VirtualKeyCode::p, ModifierFlag::option});
    EXPECT_EQ(toolRecorder->text(), QStringLiteral("Alt+P"));
    toolRecorder->setCombo(std::nullopt);
    EXPECT_EQ(toolRecorder->text(), QStringLiteral("Click to set"));
    EXPECT_TRUE(log.empty()) << "setCombo reports nothing";
}

TEST_F(ShortcutRecorderViewTest, MinimumWidthsAre58ForBareKeysAnd130Otherwise)
{
    EXPECT_EQ(toolRecorder->minimumWidth(), 58);
    EXPECT_EQ(globalRecorder->minimumWidth(), 130);
    // Squeezed, the window keeps them at those widths at least ("Click to set" alone would
    // make the global one narrower).
    window.resize(10, 80);
    ASSERT_TRUE(waitUntil([&] { return window.width() < 420; }));
    EXPECT_GE(toolRecorder->width(), 58);
    EXPECT_GE(globalRecorder->width(), 130);
    EXPECT_LT(globalRecorder->sizeHint().width(), 130);
}

TEST_F(ShortcutRecorderViewTest, AClickStartsRecordingAndTheAcceptedComboIsReportedAfterItEnds)
{
    startRecording(globalRecorder);
    ASSERT_TRUE(typeKeys({"ctrl+alt+super+b"}));
    ASSERT_TRUE(waitUntil([&] { return !globalRecorder->isRecording(); }));
    EXPECT_EQ(globalRecorder->combo(), (KeyCombo{VirtualKeyCode::b, ctrlAltSuper}));
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Ctrl+Alt+Super+B"));
    // Recording ends before the new combination is reported: hot keys resume first.
    EXPECT_EQ(log, (Log{"global recording", "global idle", "global combo Ctrl+Alt+Super+B"}));
    EXPECT_FALSE(globalRecorder->holdsKeyboard());
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
    EXPECT_EQ(bells.count(), 0);
}

TEST_F(ShortcutRecorderViewTest, EscCancelsAndKeepsTheComboWithoutReportingOne)
{
    globalRecorder->setCombo(ShortcutPreferences::defaultCombo(ShortcutAction::drawingMode));
    startRecording(globalRecorder);
    ASSERT_TRUE(typeKeys({"Escape"}));
    ASSERT_TRUE(waitUntil([&] { return !globalRecorder->isRecording(); }));
    EXPECT_EQ(globalRecorder->combo(),
              ShortcutPreferences::defaultCombo(ShortcutAction::drawingMode));
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Ctrl+Alt+Super+D"));
    EXPECT_EQ(log, (Log{"global recording", "global idle"}));
    EXPECT_EQ(bells.count(), 0);
}

TEST_F(ShortcutRecorderViewTest, BackspaceAloneClearsTheComboAndReportsNone)
{
    globalRecorder->setCombo(ShortcutPreferences::defaultCombo(ShortcutAction::clearAnnotations));
    startRecording(globalRecorder);
    ASSERT_TRUE(typeKeys({"BackSpace"}));
    ASSERT_TRUE(waitUntil([&] { return !globalRecorder->isRecording(); }));
    EXPECT_EQ(globalRecorder->combo(), std::nullopt);
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Click to set"));
    EXPECT_EQ(log, (Log{"global recording", "global idle", "global combo none"}));
}

TEST_F(ShortcutRecorderViewTest, ARefusedComboBeepsAndRecordingGoesOn)
{
    startRecording(globalRecorder);
    ASSERT_TRUE(typeKeys({"b"}));
    ASSERT_TRUE(waitForBells(1));
    EXPECT_TRUE(globalRecorder->isRecording());
    EXPECT_TRUE(globalRecorder->holdsKeyboard());
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Press keys…"));
    ASSERT_TRUE(typeKeys({"super+b"}));
    ASSERT_TRUE(waitUntil([&] { return !globalRecorder->isRecording(); }));
    EXPECT_EQ(globalRecorder->combo(), (KeyCombo{VirtualKeyCode::b, ModifierFlag::control}));
    EXPECT_EQ(bells.count(), 1);
    EXPECT_EQ(log, (Log{"global recording", "global idle", "global combo Super+B"}));
}

TEST_F(ShortcutRecorderViewTest, ModifierPressesAloneAreSwallowedAndRecordingGoesOn)
{
    startRecording(globalRecorder);
    ASSERT_TRUE(typeKeys({"ctrl", "shift", "alt", "super"}));
    // Then a combination that ends recording: had a modifier press been taken as a key, it
    // would have beeped (modifier keys have no stored code) or ended recording first.
    ASSERT_TRUE(typeKeys({"alt+e"}));
    ASSERT_TRUE(waitUntil([&] { return !globalRecorder->isRecording(); }));
    EXPECT_EQ(globalRecorder->combo(), (KeyCombo{VirtualKeyCode::e, ModifierFlag::option}));
    EXPECT_EQ(bells.count(), 0);
}

TEST_F(ShortcutRecorderViewTest, AKeyWithoutAStoredCodeBeeps)
{
    startRecording(toolRecorder);
    ASSERT_TRUE(typeKeys({"KP_1"}));
    ASSERT_TRUE(waitForBells(1));
    EXPECT_TRUE(toolRecorder->isRecording());
    EXPECT_EQ(toolRecorder->combo(), std::nullopt);
}

TEST_F(ShortcutRecorderViewTest, TabIsRecordedRatherThanMovingTheFocus)
{
    startRecording(toolRecorder);
    ASSERT_TRUE(typeKeys({"Tab"}));
    ASSERT_TRUE(waitUntil([&] { return !toolRecorder->isRecording(); }));
    EXPECT_EQ(toolRecorder->combo(), (KeyCombo{VirtualKeyCode::tab, 0}));
    EXPECT_EQ(toolRecorder->text(), QStringLiteral("Tab"));
}

TEST_F(ShortcutRecorderViewTest, TheApplicationsOwnShortcutDoesNotFireWhileRecording)
{
    // Ctrl+, opens the settings in every Lookpane window; here another window holds it.
    QWidget other;
    other.setGeometry(700, 200, 200, 100);
    QAction settingsAction(QStringLiteral("Settings…"));
    settingsAction.setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
    settingsAction.setShortcutContext(Qt::ApplicationShortcut);
    other.addAction(&settingsAction);
    int triggered = 0;
    QObject::connect(&settingsAction, &QAction::triggered, [&] { ++triggered; });
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));

    startRecording(globalRecorder);
    ASSERT_TRUE(typeKeys({"ctrl+comma"}));
    ASSERT_TRUE(waitUntil([&] { return !globalRecorder->isRecording(); }));
    EXPECT_EQ(globalRecorder->combo(), (KeyCombo{43, ModifierFlag::command}));
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Ctrl+,"));
    EXPECT_EQ(triggered, 0);

    // Not recording, the same keys reach the shortcut.
    window.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return QApplication::activeWindow() == &window; }));
    ASSERT_TRUE(typeKeys({"ctrl+comma"}));
    EXPECT_TRUE(waitUntil([&] { return triggered == 1; }));
}

TEST_F(ShortcutRecorderViewTest, AnotherProgramsHotKeyReachesTheRecorderWhileRecording)
{
    // Another client holds Ctrl+Alt+Super+B on the root window, as a desktop shortcut or
    // Lookpane's own hot key would.
    XKeyboard otherProgram(display());
    ASSERT_TRUE(otherProgram.grabKey(XKeyboard::keyB, XKeyboard::ctrlAltSuperMask));

    startRecording(globalRecorder);
    ASSERT_TRUE(typeKeys({"ctrl+alt+super+b"}));
    ASSERT_TRUE(waitUntil([&] { return !globalRecorder->isRecording(); }));
    EXPECT_EQ(globalRecorder->combo(), (KeyCombo{VirtualKeyCode::b, ctrlAltSuper}));
    EXPECT_EQ(otherProgram.grabbedPresses(), 0);

    // Not recording, the hot key takes the keys again.
    ASSERT_TRUE(typeKeys({"ctrl+alt+super+b"}));
    EXPECT_TRUE(waitUntil([&] { return otherProgram.grabbedPresses() == 1; }));
}

TEST_F(ShortcutRecorderViewTest, ClickingWhileRecordingKeepsRecording)
{
    startRecording(toolRecorder);
    ASSERT_TRUE(clickOn(toolRecorder));
    // The click is handled once the pointer's release arrives; a key typed after it shows the
    // recorder still took the keyboard.
    ASSERT_TRUE(typeKeys({"x"}));
    ASSERT_TRUE(waitUntil([&] { return !toolRecorder->isRecording(); }));
    EXPECT_EQ(toolRecorder->combo(), (KeyCombo{7, 0}));
    EXPECT_EQ(log, (Log{"tool recording", "tool idle", "tool combo X"}));
}

TEST_F(ShortcutRecorderViewTest, HidingTheWindowGivesTheKeyboardBackAndShowingTakesItAgain)
{
    startRecording(toolRecorder);
    window.hide();
    EXPECT_TRUE(toolRecorder->isRecording());
    EXPECT_FALSE(toolRecorder->holdsKeyboard());
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
    EXPECT_EQ(toolRecorder->text(), QStringLiteral("Press keys…"));

    window.show();
    ASSERT_TRUE(waitUntil([&] { return toolRecorder->holdsKeyboard(); }));
    ASSERT_TRUE(typeKeys({"shift+r"}));
    ASSERT_TRUE(waitUntil([&] { return !toolRecorder->isRecording(); }));
    EXPECT_EQ(toolRecorder->combo(), (KeyCombo{VirtualKeyCode::r, ModifierFlag::shift}));
}

TEST_F(ShortcutRecorderViewTest, CancelRecordingEndsWithoutAComboAndGivesTheKeyboardBack)
{
    startRecording(globalRecorder);
    globalRecorder->cancelRecording();
    EXPECT_FALSE(globalRecorder->isRecording());
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
    EXPECT_EQ(globalRecorder->text(), QStringLiteral("Click to set"));
    EXPECT_EQ(log, (Log{"global recording", "global idle"}));
}
