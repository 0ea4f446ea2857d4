// The settings window on a private X server: its controls, what they store and report, and
// the window itself.
#include "SettingsTestSupport.h"
#include "XReadback.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/X11DesktopHints.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/VirtualKeyCode.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QScreen>
#include <QSettings>
#include <QWindow>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

using Log = std::vector<std::string>;

class SettingsWindow : public SettingsWindowTest
{
protected:
    void SetUp() override
    {
        SettingsWindowTest::SetUp();
        SettingsWindowController *c = controller.get();
        QObject::connect(c, &SettingsWindowController::recordingChanged, c,
                         [this](bool on) { log.push_back(on ? "recording" : "idle"); });
        QObject::connect(c, &SettingsWindowController::shortcutChanged, c,
                         [this](ShortcutAction action, std::optional<KeyCombo> combo) {
                             log.push_back(rawValue(action).toStdString() + " " +
                                           (combo ? displayString(*combo).toStdString() : "none"));
                         });
        QObject::connect(c, &SettingsWindowController::toolShortcutsChanged, c,
                         [this] { log.push_back("tools"); });
        QObject::connect(c, &SettingsWindowController::blurStrengthChanged, c,
                         [this](BlurStrength strength) {
                             log.push_back("blur " + rawValue(strength).toStdString());
                         });
    }

    QStringList labelTexts() const
    {
        QStringList texts;
        for (const QLabel *label : controller->window()->findChildren<QLabel *>()) {
            texts << label->text();
        }
        return texts;
    }

    // Opens the strength pop-up with a click and picks its current item with Return.
    void chooseTheSelectedStrength()
    {
        ASSERT_TRUE(clickOn(controller->strengthPopUp()));
        ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
        ASSERT_TRUE(typeKeys({"Return"}));
        ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() == nullptr; }));
    }

    Log log;
};

} // namespace

TEST_F(SettingsWindow, BindingLineToTheArrowToolsKeyClearsArrowAndItsRecorderShowsClickToSet)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::arrow)->text(), QStringLiteral("A"));
    ASSERT_NO_FATAL_FAILURE(record(controller->toolRecorder(AnnotationTool::line), "a"));

    EXPECT_EQ(tools().combo(AnnotationTool::line), (KeyCombo{VirtualKeyCode::a, 0}));
    EXPECT_EQ(tools().combo(AnnotationTool::arrow), std::nullopt);
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::line)->text(), QStringLiteral("A"));
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::arrow)->text(),
              QStringLiteral("Click to set"));
    EXPECT_EQ(log, (Log{"recording", "idle", "tools"}));
}

TEST_F(SettingsWindow, ClearingAToolBindingRunsNoDuplicateCheck)
{
    // Two tools on one key (as a hand-edited file may have it): a duplicate check for the
    // line tool's old key would switch the arrow tool off.
    tools().setCombo(KeyCombo{VirtualKeyCode::a, 0}, AnnotationTool::line);
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(record(controller->toolRecorder(AnnotationTool::line), "BackSpace"));

    EXPECT_EQ(tools().combo(AnnotationTool::line), std::nullopt);
    EXPECT_EQ(tools().combo(AnnotationTool::arrow), (KeyCombo{VirtualKeyCode::a, 0}));
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::line)->text(),
              QStringLiteral("Click to set"));
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::arrow)->text(), QStringLiteral("A"));
    EXPECT_EQ(log, (Log{"recording", "idle", "tools"}));
}

TEST_F(SettingsWindow, ReopeningTheWindowWhileARecorderRecordsKeepsPressKeys)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ShortcutRecorderView *recorder = controller->recorder(ShortcutAction::drawingMode);
    ASSERT_NO_FATAL_FAILURE(startRecording(recorder));

    // Opened again while open (Ctrl+, cannot do it now, the tray menu can).
    controller->show();
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_EQ(recorder->text(), QStringLiteral("Press keys…"));

    // Closed and opened again.
    ASSERT_NO_FATAL_FAILURE(closeWindow());
    EXPECT_FALSE(controller->isRecording());
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_EQ(recorder->text(), QStringLiteral("Press keys…"));
    EXPECT_TRUE(controller->isRecording());

    // And it still records.
    ASSERT_TRUE(waitUntil([&] { return recorder->holdsKeyboard(); }));
    ASSERT_TRUE(typeKeys({"ctrl+shift+d"}));
    ASSERT_TRUE(waitUntil([&] { return !recorder->isRecording(); }));
    EXPECT_EQ(shortcuts().combo(ShortcutAction::drawingMode),
              (KeyCombo{VirtualKeyCode::d, ModifierFlag::command | ModifierFlag::shift}));
}

TEST_F(SettingsWindow, ChoosingTheAlreadySelectedStrengthStillReportsIt)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_EQ(controller->strengthPopUp()->currentIndex(), 0);
    ASSERT_NO_FATAL_FAILURE(chooseTheSelectedStrength());
    ASSERT_TRUE(waitUntil([&] { return !log.empty(); }));
    EXPECT_EQ(log, (Log{"blur light"}));
}

TEST_F(SettingsWindow, UntickingShowTheGuideIsWhatTheGuideReadsWhenItOpens)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    QCheckBox *checkbox = controller->guideCheckbox();
    ASSERT_TRUE(checkbox->isChecked());
    ASSERT_TRUE(clickOn(checkbox));
    ASSERT_TRUE(waitUntil([&] { return !checkbox->isChecked(); }));

    // Written at once: the guide window reads the setting afresh each time it opens.
    EXPECT_FALSE(preferences.boolValue(QStringLiteral("ShowGuideOnLaunch")));
    EXPECT_EQ(QSettings(filePath(), QSettings::NativeFormat).value("ShowGuideOnLaunch").toString(),
              QStringLiteral("false"));
    controller->show();
    EXPECT_FALSE(checkbox->isChecked());

    ASSERT_TRUE(clickOn(checkbox));
    ASSERT_TRUE(waitUntil([&] { return checkbox->isChecked(); }));
    EXPECT_TRUE(preferences.boolValue(QStringLiteral("ShowGuideOnLaunch")));
}

TEST_F(SettingsWindow, ChoosingAStrengthReportsItAndLeavesStoringItToTheApplication)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_TRUE(clickOn(controller->strengthPopUp()));
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    ASSERT_TRUE(typeKeys({"Down", "Return"}));
    ASSERT_TRUE(waitUntil([&] { return !log.empty(); }));
    EXPECT_EQ(log, (Log{"blur strong"}));
    EXPECT_EQ(controller->strengthPopUp()->currentIndex(), 1);
    EXPECT_FALSE(QSettings(filePath(), QSettings::NativeFormat).contains("BlurStrength"));
}

TEST_F(SettingsWindow, ShowReadsEveryControlFromTheStoredSettings)
{
    preferences.setValue(QStringLiteral("BlurStrength"), QStringLiteral("strong"));
    preferences.setValue(QStringLiteral("ShowGuideOnLaunch"), false);
    shortcuts().setCombo(
        KeyCombo{VirtualKeyCode::f5, ModifierFlag::option | ModifierFlag::function},
        ShortcutAction::privacyBlur);
    shortcuts().setCombo(std::nullopt, ShortcutAction::clearAnnotations);
    tools().setCombo(KeyCombo{VirtualKeyCode::e, ModifierFlag::shift}, AnnotationTool::ellipse);
    ASSERT_NO_FATAL_FAILURE(openWindow());

    EXPECT_EQ(controller->recorder(ShortcutAction::privacyBlur)->text(), QStringLiteral("Alt+F5"));
    EXPECT_EQ(controller->recorder(ShortcutAction::drawingMode)->text(),
              QStringLiteral("Ctrl+Alt+Super+D"));
    EXPECT_EQ(controller->recorder(ShortcutAction::clearAnnotations)->text(),
              QStringLiteral("Click to set"));
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::freehand)->text(), QStringLiteral("P"));
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::ellipse)->text(), QStringLiteral("Shift+E"));
    EXPECT_EQ(controller->strengthPopUp()->currentIndex(), 1);
    EXPECT_FALSE(controller->guideCheckbox()->isChecked());

    // Changes made elsewhere show at the next opening.
    preferences.setValue(QStringLiteral("BlurStrength"), QStringLiteral("light"));
    tools().setCombo(std::nullopt, AnnotationTool::freehand);
    controller->show();
    EXPECT_EQ(controller->strengthPopUp()->currentIndex(), 0);
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::freehand)->text(),
              QStringLiteral("Click to set"));
    EXPECT_TRUE(log.empty()) << "show() reports nothing";
}

TEST_F(SettingsWindow, AGlobalShortcutIsStoredAndReportedAfterRecordingEnds)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(
        record(controller->recorder(ShortcutAction::clearAnnotations), "ctrl+alt+x"));
    EXPECT_EQ(shortcuts().combo(ShortcutAction::clearAnnotations),
              (KeyCombo{7, ModifierFlag::command | ModifierFlag::option}));
    // The hot keys resume before the new one is registered.
    EXPECT_EQ(log, (Log{"recording", "idle", "clearAnnotations Ctrl+Alt+X"}));
}

TEST_F(SettingsWindow, RemovingAGlobalShortcutStoresItSwitchedOffAndReportsNone)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(record(controller->recorder(ShortcutAction::privacyBlur), "BackSpace"));
    EXPECT_EQ(shortcuts().combo(ShortcutAction::privacyBlur), std::nullopt);
    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("Shortcut.privacyBlur.enabled").toString(), QStringLiteral("false"));
    EXPECT_EQ(log, (Log{"recording", "idle", "privacyBlur none"}));
    EXPECT_EQ(controller->recorder(ShortcutAction::privacyBlur)->text(),
              QStringLiteral("Click to set"));
}

TEST_F(SettingsWindow, EscLeavesTheStoredShortcutAndReportsNoChange)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(record(controller->recorder(ShortcutAction::privacyBlur), "Escape"));
    EXPECT_EQ(log, (Log{"recording", "idle"}));
    EXPECT_FALSE(
        QSettings(filePath(), QSettings::NativeFormat).contains("Shortcut.privacyBlur.enabled"));
    EXPECT_EQ(controller->recorder(ShortcutAction::privacyBlur)->text(),
              QStringLiteral("Ctrl+Alt+Super+B"));
}

TEST_F(SettingsWindow, AConflictShownWhileOpenStaysUntilTheNextRecordedShortcut)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_FALSE(controller->isConflictShown());
    controller->showConflict();
    EXPECT_TRUE(controller->isConflictShown());
    EXPECT_TRUE(controller->conflictLabel()->isVisible());
    EXPECT_EQ(
        controller->conflictLabel()->text(),
        QStringLiteral("That combination is already taken by another app. Try a different one."));

    // Recording and cancelling changes nothing.
    ASSERT_NO_FATAL_FAILURE(record(controller->recorder(ShortcutAction::privacyBlur), "Escape"));
    EXPECT_TRUE(controller->isConflictShown());

    // The next shortcut clears it before it is reported, so a new refusal shows it anew.
    bool shownWhenReported = true;
    QObject::connect(controller.get(), &SettingsWindowController::shortcutChanged, controller.get(),
                     [&] { shownWhenReported = controller->isConflictShown(); });
    ASSERT_NO_FATAL_FAILURE(record(controller->recorder(ShortcutAction::privacyBlur), "super+F9"));
    EXPECT_FALSE(shownWhenReported);
    EXPECT_FALSE(controller->isConflictShown());
    // The window is its own height again, whatever room the message took.
    EXPECT_EQ(controller->window()->height(), 500);
}

TEST_F(SettingsWindow, AConflictFoundWhileClosedShowsWhenTheWindowIsNextOpened)
{
    // At launch the application registers the stored shortcuts before anyone opens the window.
    controller->showConflict();
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_TRUE(controller->isConflictShown());
    EXPECT_TRUE(controller->conflictLabel()->isVisible());

    // Once seen, opening the window again clears it.
    controller->show();
    EXPECT_FALSE(controller->isConflictShown());
}

TEST_F(SettingsWindow, AConflictAlreadySeenIsGoneWhenTheWindowIsOpenedAgain)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    controller->showConflict();
    ASSERT_NO_FATAL_FAILURE(closeWindow());
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_FALSE(controller->isConflictShown());
}

TEST_F(SettingsWindow, StartingASecondRecorderCancelsTheFirst)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ShortcutRecorderView *first = controller->recorder(ShortcutAction::privacyBlur);
    ShortcutRecorderView *second = controller->toolRecorder(AnnotationTool::ellipse);
    ASSERT_NO_FATAL_FAILURE(startRecording(first));
    ASSERT_NO_FATAL_FAILURE(startRecording(second));
    EXPECT_FALSE(first->isRecording());
    EXPECT_EQ(first->text(), QStringLiteral("Ctrl+Alt+Super+B"));
    EXPECT_TRUE(controller->isRecording());

    ASSERT_TRUE(typeKeys({"u"}));
    ASSERT_TRUE(waitUntil([&] { return !second->isRecording(); }));
    EXPECT_EQ(tools().combo(AnnotationTool::ellipse), (KeyCombo{32, 0}));
    EXPECT_EQ(shortcuts().combo(ShortcutAction::privacyBlur),
              ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur));
    EXPECT_EQ(log, (Log{"recording", "idle", "tools"}));
}

TEST_F(SettingsWindow, ClosingTheWindowWhileRecordingEndsTheSuspensionUntilItOpensAgain)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(startRecording(controller->toolRecorder(AnnotationTool::line)));
    EXPECT_TRUE(controller->isRecording());
    ASSERT_NO_FATAL_FAILURE(closeWindow());
    EXPECT_FALSE(controller->isRecording());
    EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_TRUE(controller->isRecording());
    EXPECT_EQ(log, (Log{"recording", "idle", "recording"}));
}

TEST_F(SettingsWindow, TheWindowIs560By500TitledAndCentredOnThePrimaryScreen)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    QWidget *window = controller->window();
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Lookpane Settings"));
    EXPECT_EQ(window->size(), QSize(560, 500));
    EXPECT_EQ(window->minimumSize(), window->maximumSize()) << "the window is not resizable";
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_EQ(window->geometry().center(), available.center());
    const std::vector<WindowInfo> found = findWindowsByRole(display(), QStringLiteral("settings"));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found.front().geometry, QRect(680, 290, 560, 500));
    EXPECT_EQ(found.front().title, QStringLiteral("Lookpane Settings"));
}

TEST_F(SettingsWindow, TheWindowFloatsAboveOthersAndShowsOnEveryDesktop)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    QWidget *window = controller->window();
    EXPECT_TRUE(window->windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_TRUE(window->windowFlags() & Qt::WindowCloseButtonHint);
    EXPECT_FALSE(window->windowFlags() & Qt::WindowMinimizeButtonHint);
    EXPECT_TRUE(waitUntil([&] { return x11::desktopOfWindow(window) == 0xFFFFFFFFu; }));
}

TEST_F(SettingsWindow, ClosingOnlyHidesTheWindow)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    QWidget *window = controller->window();
    EXPECT_FALSE(window->testAttribute(Qt::WA_QuitOnClose));
    EXPECT_FALSE(window->testAttribute(Qt::WA_DeleteOnClose));
    ASSERT_NO_FATAL_FAILURE(closeWindow());
    EXPECT_FALSE(window->isVisible());
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_EQ(controller->window(), window);
}

TEST_F(SettingsWindow, TheTextsAreThoseOfTheDesignWithLinuxKeyNames)
{
    const QStringList texts = labelTexts();
    for (const char *text :
         {"Shortcuts", "Blur for viewers:", "Drawing mode:", "Remove all marks:",
          "Works from any app, so you can cover the screen without switching to Lookpane first. "
          "Click the field and press a combination. Press Backspace on its own to remove a "
          "shortcut.",
          "That combination is already taken by another app. Try a different one.", "Drawing tools",
          "Freehand", "Line", "Arrow", "Rectangle", "Ellipse",
          "Live only inside drawing mode, so a single letter is enough. Ctrl+Z undoes and Esc "
          "leaves the mode.",
          "Blur", "Strength:",
          "Light hides text but leaves the layout followable — good for demonstrating a login. "
          "Strong hides everything, including headings and zoomed-in text.",
          "General"}) {
        EXPECT_TRUE(texts.contains(QString::fromUtf8(text))) << text;
    }
    EXPECT_EQ(texts.size(), 17);
    QComboBox *popUp = controller->strengthPopUp();
    ASSERT_EQ(popUp->count(), 2);
    EXPECT_EQ(popUp->itemText(0), QStringLiteral("Light — text unreadable, layout visible"));
    EXPECT_EQ(popUp->itemText(1), QStringLiteral("Strong — nothing legible"));
    EXPECT_EQ(controller->guideCheckbox()->text(),
              QStringLiteral("Show the guide when Lookpane starts"));
}

TEST_F(SettingsWindow, EveryControlLiesInsideTheMarginsWithoutOverlap)
{
    controller->showConflict();
    ASSERT_NO_FATAL_FAILURE(openWindow());
    QWidget *window = controller->window();
    if (const char *folder = std::getenv("LOOKPANE_SCREENSHOT_DIR")) {
        grabScreenRect(display(), window->geometry().adjusted(-20, -20, 20, 20))
            .save(QDir(QString::fromLocal8Bit(folder)).filePath("settings-window.png"));
    }
    const QRect content = window->rect().adjusted(20, 20, -20, 0);
    std::vector<std::pair<QString, QRect>> placed;
    for (QWidget *child : window->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        if (!child->isVisible()) {
            continue;
        }
        const QRect rect = child->geometry();
        QString name = child->metaObject()->className();
        if (const auto *label = qobject_cast<QLabel *>(child)) {
            name += " " + label->text();
        } else if (const auto *button = qobject_cast<QAbstractButton *>(child)) {
            name += " " + button->text();
        }
        EXPECT_TRUE(content.contains(rect)) << name.toStdString() << " lies outside the margins";
        for (const auto &[otherName, other] : placed) {
            EXPECT_FALSE(rect.intersects(other))
                << name.toStdString() << " overlaps " << otherName.toStdString();
        }
        placed.emplace_back(name, rect);
    }
    // 17 labels, 8 recorders, the pop-up, the checkbox and 3 gaps between sections.
    EXPECT_EQ(placed.size(), 30u);
    // Captions wrap within the window and are read in full.
    for (QLabel *label : window->findChildren<QLabel *>()) {
        EXPECT_GE(label->height(), label->heightForWidth(label->width()) > 0
                                       ? label->heightForWidth(label->width())
                                       : label->sizeHint().height())
            << label->text().toStdString();
    }
}

namespace {

xcb_atom_t atomNamed(const char *name)
{
    xcb_connection_t *c = x11::applicationConnection();
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return value;
}

// The atoms of the window's _NET_WM_STATE as the X server holds them.
std::vector<xcb_atom_t> netWmState(QWidget *window)
{
    xcb_connection_t *c = x11::applicationConnection();
    xcb_get_property_reply_t *reply =
        xcb_get_property_reply(c,
                               xcb_get_property(c, 0, x11::windowId(window),
                                                atomNamed("_NET_WM_STATE"), XCB_ATOM_ATOM, 0, 32),
                               nullptr);
    std::vector<xcb_atom_t> atoms;
    if (reply != nullptr && reply->format == 32) {
        const auto *values = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply));
        atoms.assign(values, values + xcb_get_property_value_length(reply) / 4);
    }
    std::free(reply);
    return atoms;
}

// Returns once the X server has handled every request this application sent before.
void syncWithServer()
{
    xcb_connection_t *c = x11::applicationConnection();
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
}

bool hasState(QWidget *window, const char *state)
{
    const std::vector<xcb_atom_t> atoms = netWmState(window);
    return std::find(atoms.begin(), atoms.end(), atomNamed(state)) != atoms.end();
}

} // namespace

TEST_F(SettingsWindow, UnderAWindowManagerItIsFramedAboveOtherWindowsOnEveryDesktop)
{
    ASSERT_TRUE(testDisplay().startWindowManager());
    QWidget other;
    other.setWindowTitle(QStringLiteral("Another application"));
    other.setGeometry(600, 250, 720, 600);
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));

    ASSERT_NO_FATAL_FAILURE(openWindow());
    QWidget *window = controller->window();
    EXPECT_TRUE(waitUntil([&] { return hasState(window, "_NET_WM_STATE_ABOVE"); }));
    EXPECT_TRUE(waitUntil([&] { return x11::desktopOfWindow(window) == 0xFFFFFFFFu; }));
    EXPECT_EQ(window->size(), QSize(560, 500));
    // Opened again, with its frame's size known, the frame is centred.
    ASSERT_NO_FATAL_FAILURE(closeWindow());
    ASSERT_NO_FATAL_FAILURE(openWindow());
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_TRUE(waitUntil([&] {
        return (window->frameGeometry().center() - available.center()).manhattanLength() <= 1;
    }));
    EXPECT_GT(window->frameGeometry().height(), window->height()) << "the window has no frame";

    // Another window brought to the front stays beneath.
    other.raise();
    other.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return QApplication::activeWindow() == &other; }));
    const QPoint inside = window->mapToGlobal(QPoint(280, 10));
    EXPECT_TRUE(waitUntil([&] {
        return QApplication::widgetAt(inside) != nullptr &&
               QApplication::widgetAt(inside)->window() == window;
    }));

    if (const char *folder = std::getenv("LOOKPANE_SCREENSHOT_DIR")) {
        // Pictures to look at: the window over another one, then recording with the conflict
        // message shown.
        const QDir shots(QString::fromLocal8Bit(folder));
        window->repaint();
        syncWithServer();
        grabScreenRect(display(), QRect(0, 0, 1920, 1080))
            .save(shots.filePath("settings-desktop.png"));
        ASSERT_NO_FATAL_FAILURE(openWindow());
        ASSERT_NO_FATAL_FAILURE(startRecording(controller->recorder(ShortcutAction::drawingMode)));
        controller->showConflict();
        window->repaint();
        syncWithServer();
        grabScreenRect(display(), window->frameGeometry().adjusted(-10, -10, 10, 10))
            .save(shots.filePath("settings-recording-conflict.png"));
        ASSERT_NO_FATAL_FAILURE(closeWindow());
        ASSERT_NO_FATAL_FAILURE(openWindow());
    }

    // On another virtual desktop the other window is gone and the settings stay.
    ASSERT_TRUE(xdotool(display(), {"set_desktop", "1"}));
    const auto viewable = [](const QString &title) {
        const std::vector<WindowInfo> found = findWindowsByTitle(display(), title);
        return !found.empty() && found.front().viewable;
    };
    EXPECT_TRUE(waitUntil([&] { return !viewable(QStringLiteral("Another application")); }));
    EXPECT_TRUE(viewable(QStringLiteral("Lookpane Settings")));
    ASSERT_TRUE(xdotool(display(), {"set_desktop", "0"}));
    ASSERT_TRUE(waitUntil([&] { return viewable(QStringLiteral("Another application")); }));
}
