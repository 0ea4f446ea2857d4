// The tray icon on a desktop with an XEmbed system tray, and on one with no tray at all: the
// real lookpane on a private X server with openbox, a tray of the test's own
// (lookpane_tray_host), and a private session bus with no StatusNotifier watcher on it, so
// that Qt docks the icon in the X tray. The menu is opened and used with the real mouse and
// keyboard.
#include "TrayHost.h"
#include "TrayTestSupport.h"

#include "model/RectText.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

// Where the pointer waits while a menu is open: away from the menus (the tray is at the
// top-right corner, the box in the middle), so that no item is under it.
const QPoint pointerAside(20, 1060);
// 800 × 450 centred on the screen.
const QRect defaultFrame(560, 315, 800, 450);

class XEmbedTray : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_desktop.start()) << "no X server, window manager or session bus";
    }

    std::string display() const { return m_desktop.display(); }

    void launch()
    {
        m_lookpane = m_desktop.launchLookpane();
        ASSERT_TRUE(m_desktop.role("frame").viewable) << "the box did not show";
    }

    // The hide button's tooltip (see TrayDesktop::hideButtonToolTipSize).
    QSize hideToolTip() const { return m_desktop.hideButtonToolTipSize(m_lookpane->pid()); }

    // Waits until the icon's window is mapped inside the tray's window.
    ::testing::AssertionResult isEmbedded(std::uint32_t icon, const TrayHost &tray)
    {
        std::optional<WindowInfo> info;
        if (TrayDesktop::eventually([&] {
                info = windowInfo(display(), icon);
                return info && info->viewable && info->parent == tray.window();
            })) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
               << "icon window " << icon << " is "
               << (info ? (info->viewable ? "viewable" : "not viewable") : std::string("gone"))
               << " in window " << (info ? info->parent : 0) << ", not in the tray's "
               << tray.window();
    }

    // A document of another program beneath the box, with fine detail to blur; returns how
    // sharp it shows where the box will be (-1 when it does not show).
    double showDocument()
    {
        m_document = std::make_unique<PatternWindow>(
            display(), PatternWindow::at(QRect(400, 250, 1100, 650), Pattern::text, "Document"));
        return m_document->isShown() ? laplacianEnergy(grabScreenRect(display(), defaultFrame))
                                     : -1.0;
    }

    // Opens a menu with a right-click at `at` and waits for its popup; the pointer then moves
    // aside.
    std::optional<WindowInfo> rightClickForPopup(QPoint at)
    {
        if (!m_desktop.popupsOf(m_lookpane->pid()).empty() || !m_desktop.clickAt(at, 3)) {
            return std::nullopt;
        }
        std::optional<WindowInfo> popup = m_desktop.waitForPopup(m_lookpane->pid());
        if (popup) {
            m_desktop.moveTo(pointerAside);
        }
        return popup;
    }

    // Closes the open menu with Escape.
    bool closeMenu()
    {
        return m_desktop.xdotool({"key", "Escape"}) && TrayDesktop::eventually([&] {
                   return m_desktop.popupsOf(m_lookpane->pid()).empty();
               });
    }

    // In the open status menu, the keys that choose "Blur for viewers": Down goes from the
    // top through the enabled items (the status line is disabled, "Remove all marks" hidden,
    // and with the capture running "Move or resize" is enabled): capture, hide, move, detach,
    // size & ratio, drawing, blur.
    bool chooseBlurWithKeys()
    {
        return m_desktop.xdotool({"key", "--delay", "60", "Down", "Down", "Down", "Down", "Down",
                                  "Down", "Down", "Return"});
    }

    TrayDesktop m_desktop{{1920, 1080}};
    std::unique_ptr<PatternWindow> m_document;
    std::unique_ptr<ChildProcess> m_lookpane;
};

} // namespace

TEST_F(XEmbedTray, TheIconDocksAndItsMenuIsTheStatusMenuAndActs)
{
    const double documentSharpness = showDocument();
    ASSERT_GT(documentSharpness, 1.0) << "nothing sharp beneath the box";
    TrayHost tray(display());
    ASSERT_TRUE(tray.isRunning());
    launch();
    const std::optional<std::uint32_t> icon = tray.waitForDockedIcon(20000);
    ASSERT_TRUE(icon.has_value()) << "Lookpane's icon did not ask to dock";
    ASSERT_TRUE(isEmbedded(*icon, tray));
    const QRect iconArea = windowInfo(display(), *icon).value_or(WindowInfo{}).geometry;

    const WindowInfo share = m_desktop.role("share");
    ASSERT_EQ(share.geometry, defaultFrame);
    const double sharp = waitForSharpShare(display(), share.id, documentSharpness);
    ASSERT_GE(sharp, 0) << "the share window does not show the document";

    // A right-click on the icon opens the menu, the same one as the toolbar's right-click.
    const std::optional<WindowInfo> trayMenu = rightClickForPopup(iconArea.center());
    ASSERT_TRUE(trayMenu.has_value()) << "no menu opened from the tray icon";
    m_desktop.saveScreenshot("xembed-tray-menu-open");
    const QImage trayMenuPicture = m_desktop.settledPicture(trayMenu->geometry);
    ASSERT_FALSE(trayMenuPicture.isNull()) << "the menu did not settle";
    ASSERT_TRUE(closeMenu());

    const WindowInfo toolbar = m_desktop.role("toolbar");
    const std::optional<WindowInfo> toolbarMenu =
        rightClickForPopup(toolbar.geometry.topLeft() + QPoint(4, 20));
    ASSERT_TRUE(toolbarMenu.has_value()) << "no menu opened from the toolbar";
    const QImage toolbarMenuPicture = m_desktop.settledPicture(toolbarMenu->geometry);
    ASSERT_FALSE(toolbarMenuPicture.isNull()) << "the menu did not settle";
    EXPECT_EQ(toolbarMenu->geometry.size(), trayMenu->geometry.size());
    EXPECT_EQ(maxPixelDifference(toolbarMenuPicture, trayMenuPicture), 0)
        << "the tray's menu is not the toolbar's";
    ASSERT_TRUE(closeMenu());

    // Choosing "Blur for viewers" in the tray's menu blurs what viewers see.
    ASSERT_TRUE(rightClickForPopup(iconArea.center()).has_value());
    ASSERT_TRUE(chooseBlurWithKeys());
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        return m_desktop.popupsOf(m_lookpane->pid()).empty();
    })) << "the menu stayed open";
    EXPECT_TRUE(waitForBlurredShare(display(), share.id, sharp))
        << "the shared picture stayed sharp";
    m_desktop.saveScreenshot("xembed-tray-blur-on");
}

TEST_F(XEmbedTray, ATrayThatStartsLaterGetsTheIconAndQuitTakesItOut)
{
    launch();
    TrayHost tray(display());
    ASSERT_TRUE(tray.isRunning());
    const std::optional<std::uint32_t> icon = tray.waitForDockedIcon(20000);
    ASSERT_TRUE(icon.has_value()) << "the icon did not come to a tray that started later";
    ASSERT_TRUE(isEmbedded(*icon, tray));
    const QRect iconArea = windowInfo(display(), *icon).value_or(WindowInfo{}).geometry;

    ASSERT_TRUE(rightClickForPopup(iconArea.center()).has_value());
    m_desktop.saveScreenshot("xembed-late-tray-menu-open");
    // Up from the top goes round to the last item: "Quit Lookpane".
    ASSERT_TRUE(m_desktop.xdotool({"key", "--delay", "60", "Up", "Return"}));
    const std::optional<int> status = m_lookpane->waitForExit(std::chrono::seconds(15));
    ASSERT_TRUE(status.has_value()) << "Lookpane did not quit";
    ASSERT_TRUE(WIFEXITED(*status)) << "Lookpane died of a signal";
    EXPECT_EQ(WEXITSTATUS(*status), 0);
    EXPECT_TRUE(tray.waitForUndocked(*icon, 10000)) << "the icon stayed in the tray";
}

TEST_F(XEmbedTray, ATrayThatStartsLaterMakesTheHideButtonMentionIt)
{
    launch();
    const QSize withoutTray = hideToolTip();
    ASSERT_FALSE(withoutTray.isEmpty()) << "the hide button showed no tooltip";

    TrayHost tray(display());
    ASSERT_TRUE(tray.isRunning());
    const std::optional<std::uint32_t> icon = tray.waitForDockedIcon(20000);
    ASSERT_TRUE(icon.has_value()) << "the icon did not come to a tray that started later";
    ASSERT_TRUE(isEmbedded(*icon, tray));
    // The shorter of the button's two tooltips: the one that mentions the tray.
    QSize inTray;
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        inTray = hideToolTip();
        return !inTray.isEmpty() && inTray.width() < withoutTray.width();
    })) << "the hide button's tooltip is "
        << inTray.width() << " wide, as without a tray (" << withoutTray.width() << ")";
    EXPECT_EQ(inTray.height(), withoutTray.height());
}

TEST_F(XEmbedTray, ATrayThatQuitsAndStartsAgainGetsTheIconBack)
{
    auto tray = std::make_unique<TrayHost>(display());
    ASSERT_TRUE(tray->isRunning());
    launch();
    std::optional<std::uint32_t> icon = tray->waitForDockedIcon(20000);
    ASSERT_TRUE(icon.has_value()) << "Lookpane's icon did not ask to dock";
    ASSERT_TRUE(isEmbedded(*icon, *tray));
    const QSize inTray = hideToolTip();
    ASSERT_FALSE(inTray.isEmpty()) << "the hide button showed no tooltip";

    // With the tray gone the hide button no longer promises it.
    tray.reset();
    QSize withoutTray;
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        withoutTray = hideToolTip();
        return withoutTray.width() > inTray.width();
    })) << "the hide button's tooltip stayed "
        << withoutTray.width() << " wide with the tray gone";

    tray = std::make_unique<TrayHost>(display());
    ASSERT_TRUE(tray->isRunning());
    icon = tray->waitForDockedIcon(20000);
    ASSERT_TRUE(icon.has_value()) << "the icon did not come to the tray that started again";
    ASSERT_TRUE(isEmbedded(*icon, *tray));
    EXPECT_TRUE(TrayDesktop::eventually([&] { return hideToolTip() == inTray; }))
        << "the hide button does not mention the tray again";
    const QRect iconArea = windowInfo(display(), *icon).value_or(WindowInfo{}).geometry;
    EXPECT_TRUE(rightClickForPopup(iconArea.center()).has_value())
        << "no menu opened from the icon in the new tray";
    EXPECT_TRUE(closeMenu());
}

TEST_F(XEmbedTray, WithTheIconDockedSigtermQuitsAndSavesTheFrame)
{
    TrayHost tray(display());
    ASSERT_TRUE(tray.isRunning());
    launch();
    const std::optional<std::uint32_t> icon = tray.waitForDockedIcon(20000);
    ASSERT_TRUE(icon.has_value());
    ASSERT_TRUE(isEmbedded(*icon, tray));

    m_lookpane->signal(SIGTERM);
    const std::optional<int> status = m_lookpane->waitForExit(std::chrono::seconds(15));
    ASSERT_TRUE(status.has_value()) << "Lookpane did not quit on SIGTERM";
    ASSERT_TRUE(WIFEXITED(*status)) << "Lookpane died of a signal";
    EXPECT_EQ(WEXITSTATUS(*status), 0);
    EXPECT_TRUE(tray.waitForUndocked(*icon, 10000)) << "the icon stayed in the tray";
    // 800 × 450 centred, in screen coordinates (origin bottom-left).
    QSettings settings(m_desktop.settingsFile(), QSettings::NativeFormat);
    EXPECT_EQ(
        rectFromText(settings.value(QStringLiteral("FrameWindowFrame")).toString()),
        ScreenRect(defaultFrame.x(), 1080 - defaultFrame.y() - defaultFrame.height(), 800, 450));
}

TEST_F(XEmbedTray, WithoutATrayTheToolbarsRightClickOpensTheStatusMenu)
{
    const double documentSharpness = showDocument();
    ASSERT_GT(documentSharpness, 1.0) << "nothing sharp beneath the box";
    launch();
    const WindowInfo share = m_desktop.role("share");
    ASSERT_EQ(share.geometry, defaultFrame);
    const double sharp = waitForSharpShare(display(), share.id, documentSharpness);
    ASSERT_GE(sharp, 0) << "the share window does not show the document";

    const WindowInfo toolbar = m_desktop.role("toolbar");
    const std::optional<WindowInfo> menu =
        rightClickForPopup(toolbar.geometry.topLeft() + QPoint(4, 20));
    ASSERT_TRUE(menu.has_value()) << "no menu opened from the toolbar";
    ASSERT_TRUE(chooseBlurWithKeys());
    EXPECT_TRUE(TrayDesktop::eventually([&] {
        return m_desktop.popupsOf(m_lookpane->pid()).empty();
    })) << "the menu stayed open";
    EXPECT_TRUE(waitForBlurredShare(display(), share.id, sharp))
        << "the shared picture stayed sharp";
}
