// The application controller with real windows on a private X server and a scripted capture
// backend: the status menu, its actions, reopening and the permission alert.
#include "PatternWindow.h"
#include "QtWait.h"
#include "ScriptedCaptureBackend.h"
#include "TestDisplay.h"
#include "WindowPicker.h"
#include "XInput.h"

#include "app/AppDelegate.h"
#include "app/LookpaneWindowController.h"
#include "capture/ScreenCaptureEngine.h"
#include "frame/BorderlessWindow.h"
#include "model/Preferences.h"
#include "shell/FramingMenu.h"
#include "shell/PermissionAlert.h"
#include "shell/StatusMenu.h"
#include "toolbar/FrameToolbarWindowController.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QTemporaryDir>

#include <algorithm>
#include <sstream>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

int openMessageBoxes()
{
    int count = 0;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMessageBox *>(widget) && widget->isVisible()) {
            ++count;
        }
    }
    return count;
}

// This process's windows as a meeting application's window picker lists them.
std::vector<PickerWindow> ownWindowsInThePicker()
{
    std::vector<PickerWindow> own;
    if (const std::optional<PickerListing> listing =
            listPickerWindows(testDisplay().displayName())) {
        const int pid = static_cast<int>(QCoreApplication::applicationPid());
        std::copy_if(listing->applicationWindows.begin(), listing->applicationWindows.end(),
                     std::back_inserter(own),
                     [pid](const PickerWindow &window) { return window.pid == pid; });
    }
    return own;
}

const PickerWindow *titled(const std::vector<PickerWindow> &windows, const QString &title)
{
    const auto found =
        std::find_if(windows.begin(), windows.end(),
                     [&](const PickerWindow &window) { return window.title == title; });
    return found == windows.end() ? nullptr : &*found;
}

const PickerWindow *withRole(const std::vector<PickerWindow> &windows, const QString &role)
{
    const auto found =
        std::find_if(windows.begin(), windows.end(),
                     [&](const PickerWindow &window) { return window.role == role; });
    return found == windows.end() ? nullptr : &*found;
}

std::string describe(const std::vector<PickerWindow> &windows)
{
    std::ostringstream text;
    for (const PickerWindow &window : windows) {
        text << "\n  \"" << window.title.toStdString() << "\" role " << window.role.toStdString()
             << " types [" << window.types.join(QStringLiteral(", ")).toStdString() << "]"
             << (window.offered ? " offered" : " left out");
    }
    return text.str();
}

// Waits until the picker looks at the share window and the window titled `title`, and checks
// that it offers the share window and leaves the other out as a dialog.
void expectLeftOutBesideTheShareWindow(const QString &title)
{
    std::vector<PickerWindow> own;
    ASSERT_TRUE(waitUntil([&] {
        own = ownWindowsInThePicker();
        return titled(own, title) && withRole(own, QStringLiteral("share"));
    })) << "the picker does not look at \""
        << title.toStdString() << "\":" << describe(own);
    const PickerWindow *window = titled(own, title);
    EXPECT_FALSE(window->offered) << describe(own);
    EXPECT_EQ(window->types, QStringList{"_NET_WM_WINDOW_TYPE_DIALOG"}) << describe(own);
    EXPECT_TRUE(withRole(own, QStringLiteral("share"))->offered) << describe(own);
    EXPECT_NE(title, QStringLiteral("Lookpane"));
}

class AppDelegateTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(testDisplay().startWindowManager()); }

    void SetUp() override
    {
        ASSERT_TRUE(m_settingsFolder.isValid());
        m_preferences = std::make_unique<Preferences>(m_settingsFolder.filePath("Lookpane.conf"));
        auto backend = std::make_unique<ScriptedCaptureBackend>();
        backend->accessAnswer = accessGranted;
        m_backend = backend.get();
        m_delegate = std::make_unique<AppDelegate>(*m_preferences, std::move(backend));
    }

    void TearDown() override { m_delegate.reset(); }

    LookpaneWindowController &controller() { return *m_delegate->windowController(); }
    StatusMenu &menu() { return *m_delegate->statusMenu(); }

    // Whether the request for access was answered yes (capture then goes on to the content
    // list, which this test leaves unanswered) or no (permission required).
    bool accessGranted = true;
    QTemporaryDir m_settingsFolder;
    std::unique_ptr<Preferences> m_preferences;
    ScriptedCaptureBackend *m_backend = nullptr;
    std::unique_ptr<AppDelegate> m_delegate;
};

class AppDelegateWithoutPermission : public AppDelegateTest
{
protected:
    void SetUp() override
    {
        accessGranted = false;
        AppDelegateTest::SetUp();
    }
};

} // namespace

TEST_F(AppDelegateTest, TheStatusMenuExistsBeforeTheFrameIsFirstShown)
{
    m_delegate->applicationDidFinishLaunching();
    // Showing the frame started the capture and refreshed the menu on the way, before any
    // event ran: the items were there by then.
    EXPECT_EQ(menu().statusAction()->text(), "Starting capture…");
    EXPECT_EQ(menu().visibilityAction()->text(), "Hide Lookpane window");
    EXPECT_TRUE(menu().blurAction()->isEnabled());
    EXPECT_EQ(menu().blurAction()->text(), "Blur for viewers: Off  (Ctrl+Alt+Super+B)");
    EXPECT_FALSE(menu().clearMarksAction()->isVisible());
}

TEST_F(AppDelegateTest, ReopeningWithTheFrameHiddenShowsItAndStartsCapture)
{
    m_delegate->applicationDidFinishLaunching();
    menu().visibilityAction()->trigger();
    ASSERT_FALSE(controller().isFrameVisible());
    ASSERT_TRUE(m_delegate->captureEngine()->state().isIdle());
    EXPECT_EQ(menu().visibilityAction()->text(), "Show Lookpane window");
    EXPECT_FALSE(menu().captureAction()->isEnabled());

    m_delegate->applicationShouldHandleReopen();
    EXPECT_TRUE(controller().isFrameVisible());
    EXPECT_TRUE(m_delegate->captureEngine()->state().isStarting());
    EXPECT_EQ(menu().visibilityAction()->text(), "Hide Lookpane window");
}

TEST_F(AppDelegateTest, ReopeningWithTheFrameVisibleChangesNothing)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(waitUntil([&] { return !m_backend->pendingContent.empty(); }));
    const ScreenRect frame = controller().contentRect();
    int visibilityReports = 0;
    QObject::connect(&controller(), &LookpaneWindowController::visibilityChanged,
                     [&] { ++visibilityReports; });

    m_delegate->applicationShouldHandleReopen();
    EXPECT_TRUE(controller().isFrameVisible());
    EXPECT_EQ(controller().contentRect(), frame);
    EXPECT_EQ(visibilityReports, 0);
    EXPECT_TRUE(m_delegate->captureEngine()->state().isStarting());
}

TEST_F(AppDelegateTest, StopAndStartCaptureFromTheMenu)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(waitUntil([&] { return !m_backend->pendingContent.empty(); }));
    EXPECT_EQ(menu().captureAction()->text(), "Start capture"); // still starting

    m_delegate->captureEngine()->stop();
    ASSERT_TRUE(waitUntil([&] { return menu().statusAction()->text() == "Capture stopped"; }));
    menu().captureAction()->trigger();
    EXPECT_TRUE(m_delegate->captureEngine()->state().isStarting());
    EXPECT_EQ(menu().statusAction()->text(), "Starting capture…");
}

TEST_F(AppDelegateTest, TheSwitchesOfTheMenuReachTheWindowsAndTheirTitlesFollow)
{
    m_delegate->applicationDidFinishLaunching();
    menu().blurAction()->trigger();
    EXPECT_TRUE(controller().isPrivacyBlurActive());
    EXPECT_EQ(menu().blurAction()->text(), "Blur for viewers: On  (Ctrl+Alt+Super+B)");

    menu().modeAction()->trigger();
    EXPECT_EQ(controller().mode(), ShareMode::detached);
    EXPECT_EQ(menu().modeAction()->text(), "Detached preview: On");
    EXPECT_EQ(menu().moveAction()->text(), "Move or resize selection");

    const bool onTop = controller().alwaysOnTop();
    menu().alwaysOnTopAction()->trigger();
    EXPECT_EQ(controller().alwaysOnTop(), !onTop);

    const bool clickThrough = controller().clickThrough();
    menu().clickThroughAction()->trigger();
    EXPECT_EQ(controller().clickThrough(), !clickThrough);
    EXPECT_EQ(menu().clickThroughAction()->text(),
              clickThrough ? "Click-through: Off" : "Click-through: On");

    menu().drawingAction()->trigger();
    EXPECT_TRUE(controller().isDrawing());
    EXPECT_EQ(menu().drawingAction()->text(), "Drawing mode: On  (Ctrl+Alt+Super+D)");
}

TEST_F(AppDelegateTest, TheClearItemAppearsWithAMarkAndTakesThemAll)
{
    m_delegate->applicationDidFinishLaunching();
    Annotation mark;
    mark.tool = AnnotationTool::line;
    mark.points = {QPointF(0.1, 0.1), QPointF(0.5, 0.5)};
    controller().annotations().setDraft(mark);
    controller().annotations().commitDraft();
    EXPECT_TRUE(menu().clearMarksAction()->isVisible());
    EXPECT_EQ(menu().clearMarksAction()->text(), "Remove all marks  (Ctrl+Alt+Super+E)");

    menu().clearMarksAction()->trigger();
    EXPECT_TRUE(controller().annotations().annotations().empty());
    EXPECT_FALSE(menu().clearMarksAction()->isVisible());
}

TEST_F(AppDelegateTest, BothFramingMenusLockTheRatioAndSetTheExactSize)
{
    m_delegate->applicationDidFinishLaunching();
    EXPECT_EQ(controller().toolbar()->framingMenu.data(), m_delegate->toolbarFramingMenu()->menu());
    EXPECT_NE(m_delegate->toolbarFramingMenu(), m_delegate->trayFramingMenu());

    m_delegate->trayFramingMenu()->ratioActions().at(2)->trigger(); // 16:10
    EXPECT_EQ(controller().ratio(), FrameRatio::mac);
    m_delegate->toolbarFramingMenu()->sizeActions().at(0)->trigger(); // 1280 × 720
    EXPECT_EQ(controller().ratio(), FrameRatio::widescreen);
    EXPECT_TRUE(waitUntil([&] { return controller().contentRect().size() == QSizeF(1280, 720); }));
}

TEST_F(AppDelegateTest, TheToolbarsRightClickOpensTheStatusMenu)
{
    m_delegate->applicationDidFinishLaunching();
    EXPECT_EQ(controller().toolbar()->contextMenu.data(), menu().menu());
    QWidget *toolbar = controller().toolbar()->window();
    ASSERT_TRUE(waitUntil([&] { return toolbar->isVisible(); }));
    Q_EMIT toolbar->customContextMenuRequested(QPoint(5, 5));
    EXPECT_TRUE(waitUntil([&] { return menu().menu()->isVisible(); }));
    menu().menu()->hide();
}

TEST_F(AppDelegateWithoutPermission, ARefusalOpensOneAlertHoweverOftenItComes)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(waitUntil([&] { return m_delegate->permissionAlert()->isShowing(); }));
    EXPECT_EQ(menu().statusAction()->text(), "Screen Recording permission required");

    // Asked again while the alert is open: refused again, and still one alert.
    int refusals = 0;
    QObject::connect(
        m_delegate->captureEngine(), &ScreenCaptureEngine::stateChanged,
        [&](const ScreenCaptureState &state) { refusals += state.isPermissionRequired() ? 1 : 0; });
    menu().captureAction()->trigger();
    ASSERT_TRUE(waitUntil([&] { return refusals == 1; }));
    EXPECT_TRUE(m_delegate->permissionAlert()->isShowing());
    EXPECT_EQ(openMessageBoxes(), 1);
}

TEST_F(AppDelegateTest, MoveModeFromTheMenuEndsAtAReleaseInAnotherApplication)
{
    PatternWindow other(testDisplay().displayName(),
                        PatternWindow::at(QRect(20, 20, 300, 200), Pattern::bars, "Other"));
    ASSERT_TRUE(other.isShown());
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(waitUntil([&] { return controller().frameWindow()->isVisible(); }));

    m_delegate->enterMoveMode();
    EXPECT_TRUE(controller().isInMoveMode());
    EXPECT_FALSE(controller().clickThrough());

    xdotool(testDisplay().displayName(), {"mousemove", "--sync", "120", "120"});
    xdotool(testDisplay().displayName(), {"click", "1"});
    ASSERT_TRUE(other.waitForClick(5000).has_value());
    EXPECT_TRUE(waitUntil([&] { return !controller().isInMoveMode(); }));
}

// The alert lies over the box for a while; a viewer must not be offered it, nor anything else
// by the share window's name.
TEST_F(AppDelegateWithoutPermission, TheAlertIsLeftOutOfWindowPickersWhileTheShareWindowIsOffered)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(waitUntil([&] { return m_delegate->permissionAlert()->isShowing(); }));
    EXPECT_EQ(m_delegate->permissionAlert()->box()->windowTitle(), PermissionAlert::title());
    expectLeftOutBesideTheShareWindow(PermissionAlert::title());
}

TEST_F(AppDelegateTest, TheAboutBoxIsOneDialogLeftOutOfWindowPickers)
{
    m_delegate->applicationDidFinishLaunching();
    m_delegate->showAbout();
    QMessageBox *about = m_delegate->aboutBox();
    ASSERT_NE(about, nullptr);
    EXPECT_TRUE(about->text().contains(QCoreApplication::applicationVersion().toHtmlEscaped()));
    ASSERT_TRUE(waitUntil([&] { return about->isVisible(); }));
    expectLeftOutBesideTheShareWindow(QStringLiteral("About Lookpane"));

    // Asked for again, the same box comes forward; closed and asked for, it shows again.
    m_delegate->showAbout();
    EXPECT_EQ(m_delegate->aboutBox(), about);
    EXPECT_EQ(openMessageBoxes(), 1);
    about->close();
    ASSERT_TRUE(waitUntil([&] { return !about->isVisible(); }));
    m_delegate->showAbout();
    EXPECT_TRUE(waitUntil([&] { return about->isVisible(); }));
    expectLeftOutBesideTheShareWindow(QStringLiteral("About Lookpane"));
}
