// The box as a utility window among the others on a desktop with openbox: left out of the
// window pickers of meeting applications, and still above the share window, above other
// applications while pinned, given the keyboard for drawing, moved by its edge band and
// passing clicks through its interior, with and without a compositing manager.
#include "PatternWindow.h"
#include "QtWait.h"
#include "TestDisplay.h"
#include "WindowPicker.h"
#include "XInput.h"
#include "XReadback.h"

#include "app/LookpaneWindowController.h"
#include "frame/BorderlessWindow.h"
#include "model/Preferences.h"
#include "model/ScreenCoordinates.h"
#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/X11FrameWatcher.h"
#include "platform/x11/XReply.h"
#include "platform/x11/XcbConnection.h"
#include "shortcuts/ToolShortcutPreferences.h"
#include "toolbar/FrameToolbarWindowController.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QWindow>

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <sstream>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

std::string display()
{
    return testDisplay().displayName();
}

std::uint32_t idOf(QWidget *window)
{
    return static_cast<std::uint32_t>(x11::windowId(window));
}

bool isViewable(QWidget *window)
{
    return windowInfo(display(), idOf(window)).value_or(WindowInfo{}).viewable;
}

// Whether the first window is drawn over the second (their top-level frames, that is).
bool isAbove(QWidget *window, std::uint32_t other)
{
    const std::optional<int> upper = stackingPosition(display(), idOf(window));
    const std::optional<int> lower = stackingPosition(display(), other);
    return upper && lower && *upper > *lower;
}

// A 32-bit property of the window or the root, by name; empty when unset.
std::vector<std::uint32_t> cardinals(std::uint32_t window, const char *name)
{
    const x11::OwnedConnection connection(xcb_connect(display().c_str(), nullptr));
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c)) {
        return {};
    }
    const x11::Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr));
    if (!atom) {
        return {};
    }
    if (window == XCB_WINDOW_NONE) {
        window = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    }
    const x11::Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, atom->atom, XCB_ATOM_ANY, 0, 16), nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto *values = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    return {values, values + xcb_get_property_value_length(reply.get()) / 4};
}

// The child of the root (a window manager's frame, or the window itself) that holds `window`.
std::uint32_t topLevelOf(std::uint32_t window)
{
    while (window != 0) {
        const std::optional<WindowInfo> info = windowInfo(display(), window);
        if (!info) {
            return 0;
        }
        if (info->topLevel) {
            return window;
        }
        window = info->parent;
    }
    return 0;
}

// The child of the root that the X server finds under `point` of the screen: the window a
// click there goes to (or the frame holding it).
std::uint32_t topLevelAt(QPoint point)
{
    if (!moveMouseTo(display(), point)) {
        return 0;
    }
    const x11::OwnedConnection connection(xcb_connect(display().c_str(), nullptr));
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c)) {
        return 0;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const x11::Reply<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, root), nullptr));
    return pointer ? pointer->child : 0;
}

std::uint32_t activeWindow()
{
    const std::vector<std::uint32_t> active = cardinals(XCB_WINDOW_NONE, "_NET_ACTIVE_WINDOW");
    return active.empty() ? 0 : active.front();
}

// Activates a window as a user does through the window manager (a pager's request).
bool activate(std::uint32_t window)
{
    return xdotool(display(), {"windowactivate", "--sync", std::to_string(window)});
}

std::string describe(const std::vector<PickerWindow> &windows)
{
    std::ostringstream text;
    for (const PickerWindow &window : windows) {
        text << "\n  \"" << window.title.toStdString() << "\" role " << window.role.toStdString()
             << (window.offered ? " offered" : " left out");
    }
    return text.str();
}

// This process's windows as a meeting application's picker lists them.
std::vector<PickerWindow> ownWindowsInThePicker()
{
    const std::optional<PickerListing> listing = listPickerWindows(display());
    std::vector<PickerWindow> own;
    if (listing) {
        const int pid = static_cast<int>(QCoreApplication::applicationPid());
        std::copy_if(listing->applicationWindows.begin(), listing->applicationWindows.end(),
                     std::back_inserter(own),
                     [pid](const PickerWindow &window) { return window.pid == pid; });
    }
    return own;
}

// The picker looks at the box, the share window and the toolbar and offers the share window
// alone.
bool onlyTheShareWindowIsOffered(const std::vector<PickerWindow> &own)
{
    int looked = 0;
    int offered = 0;
    bool shareOffered = false;
    for (const PickerWindow &window : own) {
        if (window.role == "frame" || window.role == "share" || window.role == "toolbar") {
            ++looked;
        }
        if (window.offered) {
            ++offered;
            shareOffered = window.role == "share";
        }
    }
    return looked == 3 && offered == 1 && shareOffered;
}

class BoxOnTheDesktop : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(testDisplay().startWindowManager()); }

    void SetUp() override
    {
        ASSERT_TRUE(m_settingsFolder.isValid());
        m_preferences = std::make_unique<Preferences>(m_settingsFolder.filePath("Lookpane.conf"));
        m_preferences->registerDefaults();
        ToolShortcutPreferences(*m_preferences).registerDefaults();
    }

    std::unique_ptr<LookpaneWindowController> makeController(const QRect &qtRect)
    {
        return std::make_unique<LookpaneWindowController>(
            *m_preferences, screenRectFromQt(QRectF(qtRect), primaryScreenGeometry()));
    }

    void showAndWait(LookpaneWindowController &controller)
    {
        controller.show();
        ASSERT_TRUE(waitUntil([&] { return isViewable(controller.frameWindow()); }));
        ASSERT_TRUE(waitUntil([&] { return isViewable(controller.shareWindow()); }));
        ASSERT_TRUE(waitUntil([&] { return isViewable(controller.toolbar()->window()); }));
    }

    QTemporaryDir m_settingsFolder;
    std::unique_ptr<Preferences> m_preferences;
};

} // namespace

TEST_F(BoxOnTheDesktop, OnlyTheShareWindowIsOfferedToWindowPickers)
{
    auto controller = makeController(QRect(300, 200, 640, 360));
    showAndWait(*controller);
    std::vector<PickerWindow> own;
    EXPECT_TRUE(waitUntil([&] {
        own = ownWindowsInThePicker();
        return onlyTheShareWindowIsOffered(own);
    })) << "overlay:"
        << describe(own);

    controller->setMode(ShareMode::detached);
    EXPECT_TRUE(waitUntil([&] {
        own = ownWindowsInThePicker();
        return onlyTheShareWindowIsOffered(own);
    })) << "detached:"
        << describe(own);
}

// Qt writes its own window types again when the level changes, and creates the box anew at
// the next show.
TEST_F(BoxOnTheDesktop, ALevelChangeLeavesTheBoxOutOfWindowPickers)
{
    auto controller = makeController(QRect(300, 200, 640, 360));
    showAndWait(*controller);
    std::vector<PickerWindow> own;

    controller->setAlwaysOnTop(!controller->alwaysOnTop());
    EXPECT_TRUE(waitUntil([&] {
        own = ownWindowsInThePicker();
        return onlyTheShareWindowIsOffered(own);
    })) << "after a level change:"
        << describe(own);

    controller->hide();
    ASSERT_TRUE(waitUntil([&] { return !isViewable(controller->frameWindow()); }));
    showAndWait(*controller);
    EXPECT_TRUE(waitUntil([&] {
        own = ownWindowsInThePicker();
        return onlyTheShareWindowIsOffered(own);
    })) << "shown again:"
        << describe(own);
}

TEST_F(BoxOnTheDesktop, TheWindowManagerDrawsNoBorderAroundTheBoxOrTheToolbar)
{
    auto controller = makeController(QRect(300, 200, 640, 360));
    showAndWait(*controller);
    const std::vector<std::uint32_t> none = {0, 0, 0, 0};
    for (QWidget *window :
         std::array<QWidget *, 3>{controller->frameWindow(), controller->shareWindow(),
                                  controller->toolbar()->window()}) {
        EXPECT_TRUE(waitUntil([&] {
            return cardinals(idOf(window), "_NET_FRAME_EXTENTS") == none;
        })) << window->windowTitle().toStdString();
    }
    EXPECT_EQ(
        windowInfo(display(), idOf(controller->frameWindow())).value_or(WindowInfo{}).geometry,
        QRect(300, 200, 640, 360));
}

// Pinned, the box lies in a layer above the share window's; unpinned, the window manager keeps
// it above the share window as a utility window of the same application.
TEST_F(BoxOnTheDesktop, TheBoxStaysAboveTheShareWindowWhenTheShareWindowIsActivated)
{
    for (const bool pinned : {true, false}) {
        SCOPED_TRACE(pinned ? "pinned" : "not pinned");
        auto controller = makeController(QRect(300, 200, 640, 360));
        controller->setAlwaysOnTop(pinned);
        showAndWait(*controller);
        const std::uint32_t share = idOf(controller->shareWindow());
        ASSERT_TRUE(waitUntil([&] { return isAbove(controller->frameWindow(), share); }));

        ASSERT_TRUE(activate(share));
        // The window manager restacks before it hands over the focus.
        ASSERT_TRUE(waitUntil([&] { return activeWindow() == share; }));
        EXPECT_TRUE(isAbove(controller->frameWindow(), share));
        EXPECT_TRUE(isAbove(controller->toolbar()->window(), share));
    }
}

TEST_F(BoxOnTheDesktop, PinnedTheBoxStaysAboveAnApplicationActivatedLaterUnpinnedNot)
{
    auto controller = makeController(QRect(300, 200, 640, 360));
    controller->setAlwaysOnTop(true);
    showAndWait(*controller);
    PatternWindow other(display(),
                        PatternWindow::at(QRect(200, 150, 800, 500), Pattern::bars, "Other"));
    ASSERT_TRUE(other.isShown());

    ASSERT_TRUE(activate(other.window()));
    ASSERT_TRUE(waitUntil([&] { return activeWindow() == other.window(); }));
    EXPECT_TRUE(waitUntil([&] { return isAbove(controller->frameWindow(), other.window()); }));
    EXPECT_TRUE(isAbove(controller->toolbar()->window(), other.window()));

    controller->setAlwaysOnTop(false);
    ASSERT_TRUE(activate(other.window()));
    EXPECT_TRUE(waitUntil([&] {
        const std::optional<int> box = stackingPosition(display(), idOf(controller->frameWindow()));
        const std::optional<int> above = stackingPosition(display(), other.window());
        return box && above && *above > *box;
    })) << "unpinned, the other application's window should come over the box";
}

TEST_F(BoxOnTheDesktop, TheBoxTakesTheKeyboardWhenDrawingStarts)
{
    auto controller = makeController(QRect(300, 200, 640, 360));
    showAndWait(*controller);
    PatternWindow other(display(),
                        PatternWindow::at(QRect(1000, 600, 300, 200), Pattern::bars, "Other"));
    ASSERT_TRUE(other.isShown());
    ASSERT_TRUE(activate(other.window()));
    ASSERT_TRUE(waitUntil([&] { return activeWindow() == other.window(); }));

    controller->setDrawingMode(true);
    EXPECT_TRUE(waitUntil([&] { return activeWindow() == idOf(controller->frameWindow()); }));
    EXPECT_TRUE(waitUntil([&] {
        return QGuiApplication::focusWindow() == controller->frameWindow()->windowHandle();
    }));
    // Esc typed now reaches the box and ends drawing.
    ASSERT_TRUE(xdotool(display(), {"key", "Escape"}));
    EXPECT_TRUE(waitUntil([&] { return !controller->isDrawing(); }));
}

TEST_F(BoxOnTheDesktop, WithACompositingManagerTheEdgeBandMovesTheBoxAndTheInteriorPassesClicks)
{
    ASSERT_TRUE(testDisplay().startCompositor());
    PatternWindow beneath(display(),
                          PatternWindow::at(QRect(200, 200, 640, 360), Pattern::bars, "Beneath"));
    ASSERT_TRUE(beneath.isShown());
    const QRect place = windowInfo(display(), beneath.window()).value_or(WindowInfo{}).geometry;
    auto controller = makeController(place);
    ASSERT_TRUE(controller->clickThrough());
    showAndWait(*controller);
    // The window manager copies the shapes onto its frames a moment after the windows get them.
    ASSERT_TRUE(waitUntil([&] {
        return controller->framePassesInteriorClicks() &&
               x11::X11FrameWatcher::frameFollowsInputShape(controller->frameWindow()) &&
               x11::X11FrameWatcher::frameFollowsInputShape(controller->shareWindow());
    }));

    ASSERT_TRUE(clickAt(display(), place.center()));
    EXPECT_TRUE(beneath.waitForClick(5000).has_value())
        << "the interior click did not reach the window beneath";

    const QPoint grip(place.x() + 8, place.y() + 180);
    ASSERT_TRUE(dragFromTo(display(), grip, grip + QPoint(60, 30)));
    EXPECT_TRUE(waitUntil([&] {
        return controller->frameWindow()->geometry() == place.translated(60, 30);
    })) << "the box did not follow its edge band";
    testDisplay().stopCompositor();
}

// The toolbar lies over the box's bottom edge when the box is as tall as the screen, and must
// take the clicks there: it stays above the box. With a compositing manager running, the box's
// activation at its show used to reach the window manager after the toolbar was raised, and the
// window manager raised the box over it.
TEST_F(BoxOnTheDesktop, WithACompositingManagerTheToolbarStaysAboveTheBoxItLiesOn)
{
    ASSERT_TRUE(testDisplay().startCompositor());
    const std::unique_ptr<XvfbServer, void (*)(XvfbServer *)> compositor(
        &testDisplay(), [](XvfbServer *server) { server->stopCompositor(); });
    for (const bool pinned : {false, true}) {
        SCOPED_TRACE(pinned ? "pinned" : "not pinned");
        auto controller = makeController(QRect(400, 0, 960, 1080));
        controller->setAlwaysOnTop(pinned);
        showAndWait(*controller);
        QWidget *toolbar = controller->toolbar()->window();
        const std::uint32_t box = idOf(controller->frameWindow());
        ASSERT_TRUE(controller->frameWindow()->geometry().contains(toolbar->geometry()))
            << "the toolbar does not lie on the box";

        // The box asked to be activated as it showed, and the window manager raises the window
        // it activates: once the box is active, the stacking that follows the show is done.
        ASSERT_TRUE(waitUntil([&] { return activeWindow() == box; }));
        EXPECT_TRUE(isAbove(toolbar, box));
        // And a click on the toolbar's bottom row, which lies in the box's bottom edge band,
        // lands on the toolbar, not on the box.
        const QPoint inTheBand = toolbar->geometry().bottomLeft() + QPoint(12, 0);
        ASSERT_GE(inTheBand.y(),
                  controller->frameWindow()->geometry().bottom() - BorderlessWindow::edgeBand + 1);
        EXPECT_EQ(topLevelAt(inTheBand), topLevelOf(idOf(toolbar)));
    }
}
