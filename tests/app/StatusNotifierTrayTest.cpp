// The tray icon on a desktop whose panel speaks StatusNotifierItem: the real lookpane on a
// private X server and a private session bus, where a watcher of the test's own acts as the
// panel. The menu is read and clicked over D-Bus (com.canonical.dbusmenu), and what the
// clicks do is seen on the real windows.
#include "StatusNotifierItemClient.h"
#include "StatusNotifierWatcher.h"
#include "TrayTestSupport.h"

#include "model/RectText.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <signal.h>
#include <sys/wait.h>

#include <cmath>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr int screenWidth = 2560;
constexpr int screenHeight = 1440;
// 800 × 450 centred on the screen.
const QRect defaultFrame(880, 495, 800, 450);

// The shortcut suffixes of the items that have a global shortcut by default.
const std::string blurKeys = "  (Ctrl+Alt+Super+B)";
const std::string drawKeys = "  (Ctrl+Alt+Super+D)";
const std::string clearKeys = "  (Ctrl+Alt+Super+E)";

// One row of the menu as a panel shows it: the label, then "[disabled]" or "[hidden]" where
// they apply; "----" for a separator. A hidden item is not shown at all, so whether it would
// be enabled does not count (Qt reports hidden actions disabled).
std::string rowText(const DBusMenuEntry &entry)
{
    std::string text = entry.isSeparator() ? std::string("----") : entry.label().toStdString();
    if (!entry.isVisible()) {
        text += " [hidden]";
    } else if (!entry.isEnabled()) {
        text += " [disabled]";
    }
    return text;
}

std::vector<std::string> rows(const DBusMenuEntry &menu)
{
    std::vector<std::string> shown;
    for (const DBusMenuEntry &entry : menu.children) {
        shown.push_back(rowText(entry));
    }
    return shown;
}

std::string printed(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines) {
        text += "\n  " + line;
    }
    return text;
}

// The menu right after launch, capture running.
std::vector<std::string> launchedMenu()
{
    return {"Capture running [disabled]",
            "----",
            "Stop capture",
            "Hide Lookpane window",
            "Move or resize Lookpane window",
            "Detached preview: Off",
            "Size & ratio",
            "Drawing mode: Off" + drawKeys,
            "Remove all marks" + clearKeys + " [hidden]",
            "Blur for viewers: Off" + blurKeys,
            "Always on top: On",
            "Click-through: On",
            "----",
            "Settings…",
            "How to Use Lookpane…",
            "About Lookpane",
            "----",
            "Quit Lookpane"};
}

class StatusNotifierTray : public ::testing::Test
{
protected:
    // QtDBus wants an application object; the test's calls are all blocking, so it needs no
    // event loop of its own (the watcher runs one on its thread).
    static void SetUpTestSuite()
    {
        static int argc = 1;
        static char name[] = "app_status_notifier_tests";
        static char *argv[] = {name, nullptr};
        s_application = new QCoreApplication(argc, argv);
    }
    static void TearDownTestSuite()
    {
        delete s_application;
        s_application = nullptr;
    }

    void SetUp() override
    {
        ASSERT_TRUE(m_desktop.start()) << "no X server, window manager or session bus";
        m_watcher = std::make_unique<StatusNotifierWatcher>(m_desktop.bus().address());
        ASSERT_TRUE(m_watcher->isRunning()) << "the watcher did not get its name on the bus";
    }

    std::string display() const { return m_desktop.display(); }

    // Launches Lookpane and waits until its item is registered and its box shows.
    void launch()
    {
        m_lookpane = m_desktop.launchLookpane();
        ASSERT_NO_FATAL_FAILURE(panelGetsTheItem());
        ASSERT_TRUE(m_desktop.role("frame").viewable) << "the box did not show";
    }

    // Waits for an item registered after the first `registrationsBefore` and talks to it as
    // the panel.
    void panelGetsTheItem(int registrationsBefore = 0)
    {
        const std::optional<StatusNotifierItemAddress> item =
            m_watcher->waitForItem(30000, registrationsBefore);
        ASSERT_TRUE(item.has_value()) << "Lookpane registered no item with the watcher";
        m_panel = std::make_unique<StatusNotifierItemClient>(m_desktop.bus().address(), *item);
        ASSERT_TRUE(m_panel->isConnected());
    }

    // The hide button's tooltip (see TrayDesktop::hideButtonToolTipSize).
    QSize hideToolTip() const { return m_desktop.hideButtonToolTipSize(m_lookpane->pid()); }

    std::vector<std::string> menuRows()
    {
        const std::optional<DBusMenuEntry> menu = m_panel->layout();
        return menu ? rows(*menu)
                    : std::vector<std::string>{"(no menu: " + m_panel->lastError().toStdString() +
                                               ")"};
    }

    // Waits until the menu shows `expected`, as a panel that opens it would: AboutToShow on
    // the whole menu first, then the layout.
    ::testing::AssertionResult menuShows(const std::vector<std::string> &expected)
    {
        std::vector<std::string> shown;
        const bool matched = TrayDesktop::eventually([&] {
            m_panel->aboutToShow(0);
            shown = menuRows();
            return shown == expected;
        });
        if (matched) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
               << "the menu shows" << printed(shown) << "\ninstead of" << printed(expected);
    }

    // The id of the entry labelled `label` (submenus included); -1 when there is none.
    int idOf(const QString &label)
    {
        const std::optional<DBusMenuEntry> menu = m_panel->layout();
        const DBusMenuEntry *entry = menu ? menu->find(label) : nullptr;
        return entry ? entry->id : -1;
    }

    // Clicks the entry labelled `label`, as a user does in the panel's menu.
    ::testing::AssertionResult choose(const QString &label)
    {
        const int id = idOf(label);
        if (id < 0) {
            return ::testing::AssertionFailure()
                   << "no entry \"" << label.toStdString() << "\" in" << printed(menuRows());
        }
        if (!m_panel->click(id)) {
            return ::testing::AssertionFailure() << m_panel->lastError().toStdString();
        }
        return ::testing::AssertionSuccess();
    }

    // A document of another program beneath the box, with fine detail to blur.
    std::unique_ptr<PatternWindow> showDocument()
    {
        auto document = std::make_unique<PatternWindow>(
            display(), PatternWindow::at(QRect(700, 380, 1200, 700), Pattern::text, "Document"));
        return document->isShown() ? std::move(document) : nullptr;
    }

    static inline QCoreApplication *s_application = nullptr;
    TrayDesktop m_desktop{{screenWidth, screenHeight}};
    std::unique_ptr<StatusNotifierWatcher> m_watcher;
    std::unique_ptr<ChildProcess> m_lookpane;
    std::unique_ptr<StatusNotifierItemClient> m_panel;
};

// A desktop whose panel starts after Lookpane: at first the bus has no StatusNotifier watcher
// and the screen no XEmbed tray.
class LateStatusNotifierTray : public StatusNotifierTray
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_desktop.start()) << "no X server, window manager or session bus";
    }

    // Launches Lookpane with no tray anywhere and waits until its box and toolbar show.
    void launchWithoutTray()
    {
        m_lookpane = m_desktop.launchLookpane();
        ASSERT_TRUE(m_desktop.role("frame").viewable) << "the box did not show";
        ASSERT_TRUE(m_desktop.role("toolbar").viewable) << "the toolbar did not show";
    }

    void startPanel(StatusNotifierWatcher::Host host)
    {
        m_watcher = std::make_unique<StatusNotifierWatcher>(m_desktop.bus().address(), host);
        ASSERT_TRUE(m_watcher->isRunning()) << "the watcher did not get its name on the bus";
    }
};

} // namespace

TEST_F(StatusNotifierTray, TheItemRegistersWithItsToolTipAndTheWholeMenu)
{
    launch();
    // The item says what it is: Qt gives the tooltip as the ToolTip's title.
    const std::optional<StatusNotifierToolTip> tip = m_panel->toolTip();
    ASSERT_TRUE(tip.has_value()) << m_panel->lastError().toStdString();
    EXPECT_EQ(tip->title, "Lookpane controls");
    // The title names the application (in a panel's list of items).
    EXPECT_EQ(m_panel->property(QStringLiteral("Title")).toString(), "Lookpane");
    EXPECT_EQ(m_panel->property(QStringLiteral("Status")).toString(), "Active");
    ASSERT_TRUE(m_panel->menuPath().has_value()) << m_panel->lastError().toStdString();

    EXPECT_TRUE(menuShows(launchedMenu()));

    // The framing submenu: the locks (one at a time, none but Free at first), the sizes and
    // the window list.
    const std::optional<DBusMenuEntry> menu = m_panel->layout();
    ASSERT_TRUE(menu.has_value());
    const DBusMenuEntry *framing = menu->find(QStringLiteral("Size & ratio"));
    ASSERT_NE(framing, nullptr);
    EXPECT_TRUE(framing->hasSubmenu());
    ASSERT_TRUE(m_panel->aboutToShow(framing->id));
    const std::optional<DBusMenuEntry> opened = m_panel->layout();
    ASSERT_TRUE(opened.has_value());
    framing = opened->find(QStringLiteral("Size & ratio"));
    ASSERT_NE(framing, nullptr);
    EXPECT_EQ(rows(*framing),
              (std::vector<std::string>{"Free", "16:9", "16:10", "4:3", "1:1", "----", "1280 × 720",
                                        "1920 × 1080", "----", "Fit to Window"}));
    std::vector<int> checks;
    for (std::size_t i = 0; i < 5; ++i) {
        checks.push_back(framing->children.at(i).toggleState());
    }
    EXPECT_EQ(checks, (std::vector<int>{1, 0, 0, 0, 0}));
    EXPECT_TRUE(framing->children.back().hasSubmenu());
}

TEST_F(StatusNotifierTray, HideAndShowFromTheMenuUnmapAndMapTheBox)
{
    launch();
    ASSERT_TRUE(menuShows(launchedMenu()));

    ASSERT_TRUE(choose(QStringLiteral("Hide Lookpane window")));
    EXPECT_TRUE(TrayDesktop::eventually([&] { return !m_desktop.isRoleViewable("frame"); }))
        << "the box is still mapped";
    EXPECT_TRUE(menuShows({"Capture stopped [disabled]", "----", "Start capture [disabled]",
                           "Show Lookpane window", "Move or resize Lookpane window [disabled]",
                           "Detached preview: Off [disabled]", "Size & ratio",
                           "Drawing mode: Off" + drawKeys + " [disabled]",
                           "Remove all marks" + clearKeys + " [hidden]",
                           "Blur for viewers: Off" + blurKeys + " [disabled]", "Always on top: On",
                           "Click-through: On [disabled]", "----", "Settings…",
                           "How to Use Lookpane…", "About Lookpane", "----", "Quit Lookpane"}));

    ASSERT_TRUE(choose(QStringLiteral("Show Lookpane window")));
    const WindowInfo frame = m_desktop.role("frame");
    EXPECT_TRUE(frame.viewable) << "the box did not come back";
    EXPECT_EQ(frame.geometry, defaultFrame);
    EXPECT_TRUE(menuShows(launchedMenu()));
}

TEST_F(StatusNotifierTray, DetachedPreviewFromTheMenuMovesTheShareWindowAside)
{
    launch();
    const WindowInfo frame = m_desktop.role("frame");
    ASSERT_EQ(m_desktop.role("share").geometry, frame.geometry);

    ASSERT_TRUE(choose(QStringLiteral("Detached preview: Off")));
    // The box's shape, 40 % of the screen's width at most (the box is narrower here, so its
    // own size), 40 from the right and bottom edges.
    const QRect detached(screenWidth - 40 - 800, screenHeight - 40 - 450, 800, 450);
    WindowInfo share;
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        share = m_desktop.role("share");
        return share.geometry == detached;
    })) << "the share window is at "
        << share.geometry.x() << "," << share.geometry.y() << " " << share.geometry.width() << "x"
        << share.geometry.height();
    EXPECT_NE(share.geometry, m_desktop.role("frame").geometry);

    std::vector<std::string> expected = launchedMenu();
    expected[4] = "Move or resize selection";
    expected[5] = "Detached preview: On";
    EXPECT_TRUE(menuShows(expected));

    ASSERT_TRUE(choose(QStringLiteral("Detached preview: On")));
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        return m_desktop.role("share").geometry == m_desktop.role("frame").geometry;
    })) << "the share window did not come back under the box";
    EXPECT_TRUE(menuShows(launchedMenu()));
}

TEST_F(StatusNotifierTray, BlurForViewersFromTheMenuBlursTheSharedPicture)
{
    const std::unique_ptr<PatternWindow> document = showDocument();
    ASSERT_TRUE(document);
    // The document where the box will be, as the screen shows it before Lookpane starts.
    const double documentSharpness = laplacianEnergy(grabScreenRect(display(), defaultFrame));
    ASSERT_GT(documentSharpness, 1.0) << "nothing sharp beneath the box";
    launch();
    const WindowInfo share = m_desktop.role("share");
    ASSERT_EQ(share.geometry, defaultFrame);
    const double sharp = waitForSharpShare(display(), share.id, documentSharpness);
    ASSERT_GE(sharp, 0) << "the share window does not show the document";

    ASSERT_TRUE(choose(QStringLiteral("Blur for viewers: Off") + QString::fromStdString(blurKeys)));
    EXPECT_TRUE(waitForBlurredShare(display(), share.id, sharp))
        << "the shared picture stayed sharp";
    std::vector<std::string> expected = launchedMenu();
    expected[9] = "Blur for viewers: On" + blurKeys;
    EXPECT_TRUE(menuShows(expected));

    ASSERT_TRUE(choose(QStringLiteral("Blur for viewers: On") + QString::fromStdString(blurKeys)));
    EXPECT_GE(waitForSharpShare(display(), share.id, sharp), 0)
        << "the shared picture stayed blurred";
    EXPECT_TRUE(menuShows(launchedMenu()));
}

TEST_F(StatusNotifierTray, DrawingModeFromTheMenuWithAMarkOffersToRemoveIt)
{
    launch();
    ASSERT_TRUE(menuShows(launchedMenu()));
    ASSERT_TRUE(choose(QStringLiteral("Drawing mode: Off") + QString::fromStdString(drawKeys)));
    std::vector<std::string> drawing = launchedMenu();
    drawing[7] = "Drawing mode: On" + drawKeys;
    ASSERT_TRUE(menuShows(drawing));

    // A stroke in the box leaves a mark.
    const QRect frame = m_desktop.role("frame").geometry;
    ASSERT_TRUE(m_desktop.dragFromTo(frame.topLeft() + QPoint(150, 300),
                                     frame.topLeft() + QPoint(500, 120)));
    std::vector<std::string> marked = drawing;
    marked[8] = "Remove all marks" + clearKeys;
    EXPECT_TRUE(menuShows(marked));

    ASSERT_TRUE(choose(QStringLiteral("Remove all marks") + QString::fromStdString(clearKeys)));
    EXPECT_TRUE(menuShows(drawing));
}

TEST_F(StatusNotifierTray, StopCaptureFromTheMenu)
{
    launch();
    ASSERT_TRUE(menuShows(launchedMenu()));
    ASSERT_TRUE(choose(QStringLiteral("Stop capture")));
    std::vector<std::string> stopped = launchedMenu();
    stopped[0] = "Capture stopped [disabled]";
    stopped[2] = "Start capture";
    stopped[4] = "Move or resize Lookpane window [disabled]";
    EXPECT_TRUE(menuShows(stopped));

    ASSERT_TRUE(choose(QStringLiteral("Start capture")));
    EXPECT_TRUE(menuShows(launchedMenu()));
}

TEST_F(StatusNotifierTray, ARatioChosenInTheMenuHoldsWhileAnEdgeIsDragged)
{
    // A box of no usual ratio.
    m_desktop.storeFrame(QStringLiteral("{{900, 470}, {700, 500}}"));
    launch();
    QRect frame = m_desktop.role("frame").geometry;
    ASSERT_EQ(frame.size(), QSize(700, 500));

    ASSERT_TRUE(choose(QStringLiteral("16:9")));
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        frame = m_desktop.role("frame").geometry;
        return frame.size() != QSize(700, 500);
    })) << "the box kept its shape";
    EXPECT_NEAR(frame.width() * 9.0 / 16.0, frame.height(), 1.0)
        << frame.width() << "x" << frame.height();
    // The lock shows as the checked item next time the submenu opens.
    const int framingId = idOf(QStringLiteral("Size & ratio"));
    ASSERT_GE(framingId, 0);
    ASSERT_TRUE(m_panel->aboutToShow(framingId));
    const std::optional<DBusMenuEntry> menu = m_panel->layout();
    ASSERT_TRUE(menu.has_value());
    EXPECT_EQ(menu->find(QStringLiteral("16:9"))->toggleState(), 1);
    EXPECT_EQ(menu->find(QStringLiteral("Free"))->toggleState(), 0);

    // The outermost points of the right edge resize; the height follows the width.
    const QRect locked = frame;
    const QPoint grip(locked.right() - 1, locked.center().y());
    ASSERT_TRUE(m_desktop.dragFromTo(grip, grip + QPoint(240, 0)));
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        frame = m_desktop.role("frame").geometry;
        return std::abs(frame.width() - (locked.width() + 240)) <= 2;
    })) << "the box is "
        << frame.width() << "x" << frame.height() << ", was " << locked.width() << "x"
        << locked.height();
    EXPECT_NEAR(frame.width() * 9.0 / 16.0, frame.height(), 1.0)
        << frame.width() << "x" << frame.height();
    EXPECT_EQ(frame.left(), locked.left()) << "the left edge moved";
}

TEST_F(StatusNotifierTray, AnExactSizeFromTheMenuIsTheBoxsSizeAndIsSavedOnQuit)
{
    launch();
    ASSERT_TRUE(choose(QStringLiteral("1920 × 1080")));
    WindowInfo frame;
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        frame = m_desktop.role("frame");
        return frame.geometry.size() == QSize(1920, 1080);
    })) << "the box is "
        << frame.geometry.width() << "x" << frame.geometry.height();
    EXPECT_TRUE(TrayDesktop::eventually(
        [&] { return m_desktop.role("share").geometry == m_desktop.role("frame").geometry; }));

    ASSERT_TRUE(choose(QStringLiteral("Quit Lookpane")));
    const std::optional<int> status = m_lookpane->waitForExit(std::chrono::seconds(15));
    ASSERT_TRUE(status.has_value()) << "Lookpane did not quit";
    ASSERT_TRUE(WIFEXITED(*status)) << "Lookpane died of a signal";
    EXPECT_EQ(WEXITSTATUS(*status), 0);
    // Its item goes from the panel with it.
    EXPECT_TRUE(m_watcher->waitForNoItems(10000));

    // The frame is saved in screen coordinates (origin bottom-left).
    QSettings settings(m_desktop.settingsFile(), QSettings::NativeFormat);
    EXPECT_EQ(rectFromText(settings.value(QStringLiteral("FrameWindowFrame")).toString()),
              ScreenRect(frame.geometry.x(),
                         screenHeight - frame.geometry.y() - frame.geometry.height(), 1920, 1080));
}

TEST_F(StatusNotifierTray, ARestartedWatcherGetsTheItemAgain)
{
    launch();
    ASSERT_TRUE(menuShows(launchedMenu()));
    const int before = m_watcher->registrations();
    ASSERT_TRUE(m_watcher->restart());
    const std::optional<StatusNotifierItemAddress> item = m_watcher->waitForItem(15000, before);
    ASSERT_TRUE(item.has_value()) << "Lookpane did not register its item with the new watcher";

    // The item registered again is one that answers, with its menu.
    m_panel = std::make_unique<StatusNotifierItemClient>(m_desktop.bus().address(), *item);
    EXPECT_TRUE(menuShows(launchedMenu()));
    ASSERT_TRUE(choose(QStringLiteral("Hide Lookpane window")));
    EXPECT_TRUE(TrayDesktop::eventually([&] { return !m_desktop.isRoleViewable("frame"); }));
}

TEST_F(StatusNotifierTray, APanelThatQuitsAndStartsAgainGetsTheItemBackAndTheHideButtonFollows)
{
    launch();
    ASSERT_TRUE(menuShows(launchedMenu()));
    const QSize inTray = hideToolTip();
    ASSERT_FALSE(inTray.isEmpty()) << "the hide button showed no tooltip";

    // While no panel runs, the hide button no longer promises the tray.
    m_watcher->stop();
    QSize withoutTray;
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        withoutTray = hideToolTip();
        return withoutTray.width() > inTray.width();
    })) << "the hide button's tooltip stayed "
        << withoutTray.width() << " wide with the panel gone";

    const int before = m_watcher->registrations();
    ASSERT_TRUE(m_watcher->start());
    ASSERT_NO_FATAL_FAILURE(panelGetsTheItem(before));
    EXPECT_TRUE(menuShows(launchedMenu()));
    EXPECT_TRUE(TrayDesktop::eventually([&] { return hideToolTip() == inTray; }))
        << "the hide button does not mention the tray again";
    ASSERT_TRUE(choose(QStringLiteral("Hide Lookpane window")));
    EXPECT_TRUE(TrayDesktop::eventually([&] { return !m_desktop.isRoleViewable("frame"); }));
}

TEST_F(LateStatusNotifierTray, APanelThatStartsAfterLookpaneGetsTheItemAndItsMenu)
{
    ASSERT_NO_FATAL_FAILURE(launchWithoutTray());
    const QSize withoutTray = hideToolTip();
    ASSERT_FALSE(withoutTray.isEmpty()) << "the hide button showed no tooltip";

    ASSERT_NO_FATAL_FAILURE(startPanel(StatusNotifierWatcher::Host::registered));
    ASSERT_NO_FATAL_FAILURE(panelGetsTheItem());
    const std::optional<StatusNotifierToolTip> tip = m_panel->toolTip();
    ASSERT_TRUE(tip.has_value()) << m_panel->lastError().toStdString();
    EXPECT_EQ(tip->title, "Lookpane controls");
    EXPECT_TRUE(menuShows(launchedMenu()));
    // Now the hide button mentions the tray: the shorter of its two tooltips.
    const QSize inTray = hideToolTip();
    EXPECT_FALSE(inTray.isEmpty());
    EXPECT_LT(inTray.width(), withoutTray.width());
    EXPECT_EQ(inTray.height(), withoutTray.height());

    // The menu acts.
    ASSERT_TRUE(choose(QStringLiteral("Hide Lookpane window")));
    EXPECT_TRUE(TrayDesktop::eventually([&] { return !m_desktop.isRoleViewable("frame"); }));
}

TEST_F(LateStatusNotifierTray, AHostThatRegistersWithARunningWatcherGetsTheItem)
{
    // The desktop's watcher runs before its panel, as where a session service provides it.
    ASSERT_NO_FATAL_FAILURE(startPanel(StatusNotifierWatcher::Host::absent));
    ASSERT_NO_FATAL_FAILURE(launchWithoutTray());
    const QSize withoutHost = hideToolTip();
    ASSERT_FALSE(withoutHost.isEmpty()) << "the hide button showed no tooltip";
    EXPECT_EQ(m_watcher->registrations(), 0) << "an item registered where no panel shows it";

    m_watcher->registerHost();
    ASSERT_NO_FATAL_FAILURE(panelGetsTheItem());
    EXPECT_TRUE(menuShows(launchedMenu()));
    EXPECT_LT(hideToolTip().width(), withoutHost.width());
}

TEST_F(LateStatusNotifierTray, ALateItemComesBackToARestartedWatcher)
{
    ASSERT_NO_FATAL_FAILURE(launchWithoutTray());
    ASSERT_NO_FATAL_FAILURE(startPanel(StatusNotifierWatcher::Host::registered));
    ASSERT_NO_FATAL_FAILURE(panelGetsTheItem());
    ASSERT_TRUE(menuShows(launchedMenu()));

    const int before = m_watcher->registrations();
    ASSERT_TRUE(m_watcher->restart());
    ASSERT_NO_FATAL_FAILURE(panelGetsTheItem(before));
    EXPECT_TRUE(menuShows(launchedMenu()));
}
