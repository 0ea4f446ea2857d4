// What the "share a window" picker of a meeting application offers while Lookpane runs: the
// real executable on a private X server with openbox, with and without a compositing manager,
// in both modes. Only the share window may be offered: the box shows the region unblurred in
// overlay mode, and a user who picked it would defeat the privacy blur.
#include "WindowPicker.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "XInput.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <sstream>

using namespace lookpane::testing;

namespace {

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

std::vector<PickerWindow> ofProcess(const std::vector<PickerWindow> &windows, int pid)
{
    std::vector<PickerWindow> result;
    std::copy_if(windows.begin(), windows.end(), std::back_inserter(result),
                 [pid](const PickerWindow &window) { return window.pid == pid; });
    return result;
}

const PickerWindow *withRole(const std::vector<PickerWindow> &windows, const char *role)
{
    const auto found = std::find_if(windows.begin(), windows.end(), [role](const auto &window) {
        return window.role == QLatin1String(role);
    });
    return found == windows.end() ? nullptr : &*found;
}

class WindowPicker : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_server.isRunning());
        ASSERT_TRUE(m_server.startWindowManager());
        ASSERT_TRUE(m_config.isValid());
    }

    std::string display() const { return m_server.displayName(); }

    // Starts Lookpane in `mode` ("overlay" or "detached") and waits until the box, the share
    // window and the toolbar are on the screen.
    void launch(const char *mode)
    {
        QDir(m_config.path()).mkpath(QStringLiteral("Lookpane"));
        keepGuideClosedAtLaunch(m_config.path());
        {
            QSettings settings(lookpaneSettingsFile(m_config.path()), QSettings::NativeFormat);
            settings.setValue(QStringLiteral("ShareMode"), QString::fromLatin1(mode));
        }
        m_lookpane =
            std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()},
                                           lookpaneEnvironment(display(), m_config.path()));
        ASSERT_TRUE(m_lookpane->isStarted());
        for (const char *role : {"frame", "share", "toolbar"}) {
            ASSERT_TRUE(waitForViewableRole(display(), QString::fromLatin1(role), 15000))
                << "no " << role << " window on the screen";
        }
    }

    // Lists the windows as a picker does until Lookpane's box, share window and toolbar are
    // among the application windows it looks at (the window manager has taken them in), and
    // checks that it offers the share window and nothing else of Lookpane's.
    void expectOnlyTheShareWindowOffered()
    {
        std::vector<PickerWindow> lookpane;
        ASSERT_TRUE(eventually([&] {
            const std::optional<PickerListing> listing = listPickerWindows(display());
            if (!listing) {
                return false;
            }
            lookpane = ofProcess(listing->applicationWindows, m_lookpane->pid());
            return withRole(lookpane, "frame") && withRole(lookpane, "share") &&
                   withRole(lookpane, "toolbar");
        })) << "the picker does not see Lookpane's windows:"
            << describe(lookpane);

        std::vector<PickerWindow> offered;
        std::copy_if(lookpane.begin(), lookpane.end(), std::back_inserter(offered),
                     [](const PickerWindow &window) { return window.offered; });
        ASSERT_EQ(offered.size(), 1u) << describe(lookpane);
        EXPECT_EQ(offered.front().role, QStringLiteral("share"));
        EXPECT_EQ(offered.front().title, QStringLiteral("Lookpane"));
        EXPECT_TRUE(offered.front().types.contains("_NET_WM_WINDOW_TYPE_NORMAL"));
        // Nothing else goes by the share window's name, in the picker or anywhere else.
        for (const PickerWindow &window : lookpane) {
            if (window.role != QStringLiteral("share")) {
                EXPECT_NE(window.title, QStringLiteral("Lookpane")) << describe(lookpane);
            }
        }
        EXPECT_EQ(withRole(lookpane, "frame")->title, QStringLiteral("Lookpane box"));
        EXPECT_EQ(withRole(lookpane, "toolbar")->title, QStringLiteral("Lookpane toolbar"));
    }

    // Opens the status menu with a right-click on the toolbar's strip, left of its buttons,
    // and chooses "About Lookpane" with the keys: Up from no item goes to the last ("Quit
    // Lookpane"), once more to the one above it.
    void openAboutFromTheToolbarsMenu()
    {
        const std::optional<WindowInfo> toolbar =
            waitForViewableRole(display(), QStringLiteral("toolbar"), 15000);
        ASSERT_TRUE(toolbar.has_value());
        ASSERT_TRUE(clickAt(display(), toolbar->geometry.topLeft() + QPoint(4, 20), 3));
        ASSERT_TRUE(eventually([&] { return popupsOfLookpane().size() == 1; }))
            << "no menu opened from the toolbar";
        // The pointer leaves the menu, so that no item is chosen by where it rests.
        ASSERT_TRUE(moveMouseTo(display(), QPoint(1270, 710)));
        ASSERT_TRUE(xdotool(display(), {"key", "--delay", "60", "Up", "Up", "Return"}));
        ASSERT_TRUE(eventually([&] { return popupsOfLookpane().empty(); }))
            << "the menu stayed open";
    }

    // Lookpane's open popup menus: its viewable override-redirect top-levels without a role.
    std::vector<WindowInfo> popupsOfLookpane() const
    {
        const int pid = m_lookpane->pid();
        return findWindows(display(), [pid](const WindowInfo &info) {
            return info.viewable && info.topLevel && info.overrideRedirect && info.pid == pid &&
                   info.role.isEmpty() && info.geometry.width() > 1 && info.geometry.height() > 1;
        });
    }

    XvfbServer m_server{{1280, 720}};
    QTemporaryDir m_config;
    std::unique_ptr<ChildProcess> m_lookpane;
};

} // namespace

// The picker as it is emulated here: it must offer what such pickers offer and leave out what
// they leave out, or the tests below would prove nothing.
TEST_F(WindowPicker, OffersOrdinaryWindowsAndLeavesOutUtilityDockUntitledAndMinimisedOnes)
{
    const auto shown = [&](const std::string &title, const std::string &type) {
        PatternWindow::Options options =
            PatternWindow::at(QRect(40, 40, 200, 120), Pattern::bars, title);
        options.windowType = type;
        return std::make_unique<PatternWindow>(display(), options);
    };
    const auto untyped = shown("Untyped", "");
    const auto normal = shown("Normal", "NORMAL");
    const auto utility = shown("Utility", "UTILITY");
    const auto dock = shown("Dock", "DOCK");
    const auto untitled = shown("", "NORMAL");
    const auto minimised = shown("Minimised", "NORMAL");
    for (const auto *window : {&untyped, &normal, &utility, &dock, &untitled, &minimised}) {
        ASSERT_TRUE((*window)->isShown());
    }
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display();
    ChildProcess minimise(
        {"xdotool", "windowminimize", "--sync", std::to_string(minimised->window())}, options);
    ASSERT_TRUE(minimise.waitForExit(std::chrono::seconds(10)).has_value());

    QStringList offered;
    QStringList seen;
    ASSERT_TRUE(eventually([&] {
        const std::optional<PickerListing> listing = listPickerWindows(display());
        offered.clear();
        seen.clear();
        for (const PickerWindow &window :
             listing ? listing->applicationWindows : std::vector<PickerWindow>{}) {
            seen.append(window.title);
            if (window.offered) {
                offered.append(window.title);
            }
        }
        offered.sort();
        return offered == QStringList{"Normal", "Untyped"} && seen.contains("Utility") &&
               seen.contains("Dock") && seen.contains(QString()) && !seen.contains("Minimised");
    })) << "offered: "
        << offered.join(", ").toStdString() << "; seen: " << seen.join(", ").toStdString();
}

TEST_F(WindowPicker, OverlayModeOffersTheShareWindowAlone)
{
    launch("overlay");
    expectOnlyTheShareWindowOffered();
}

TEST_F(WindowPicker, DetachedModeOffersTheShareWindowAlone)
{
    launch("detached");
    expectOnlyTheShareWindowOffered();
}

TEST_F(WindowPicker, OverlayModeWithACompositingManagerOffersTheShareWindowAlone)
{
    ASSERT_TRUE(m_server.startCompositor());
    launch("overlay");
    expectOnlyTheShareWindowOffered();
}

TEST_F(WindowPicker, DetachedModeWithACompositingManagerOffersTheShareWindowAlone)
{
    ASSERT_TRUE(m_server.startCompositor());
    launch("detached");
    expectOnlyTheShareWindowOffered();
}

// The About box, opened as a user does from the status menu, is no window to share.
TEST_F(WindowPicker, TheAboutBoxIsNotOfferedWhileTheShareWindowStillIs)
{
    launch("overlay");
    expectOnlyTheShareWindowOffered();
    openAboutFromTheToolbarsMenu();

    std::vector<PickerWindow> lookpane;
    const auto about = [&]() -> const PickerWindow * {
        const auto found = std::find_if(lookpane.begin(), lookpane.end(), [](const auto &window) {
            return window.title == QStringLiteral("About Lookpane");
        });
        return found == lookpane.end() ? nullptr : &*found;
    };
    ASSERT_TRUE(eventually([&] {
        const std::optional<PickerListing> listing = listPickerWindows(display());
        lookpane = listing ? ofProcess(listing->applicationWindows, m_lookpane->pid())
                           : std::vector<PickerWindow>{};
        return about() != nullptr;
    })) << "the picker does not see the About box:"
        << describe(lookpane);
    EXPECT_FALSE(about()->offered) << describe(lookpane);
    EXPECT_EQ(about()->types, QStringList{"_NET_WM_WINDOW_TYPE_DIALOG"}) << describe(lookpane);
    expectOnlyTheShareWindowOffered();

    // It opens in sight: in front of the box and the share window it lies over, which stay on
    // top. The listing runs front to back.
    const auto frontOf = [&](const QString &title) {
        const auto box = std::find_if(lookpane.begin(), lookpane.end(), [](const auto &window) {
            return window.title == QStringLiteral("About Lookpane");
        });
        const auto other = std::find_if(lookpane.begin(), lookpane.end(),
                                        [&](const auto &window) { return window.title == title; });
        return box != lookpane.end() && other != lookpane.end() && box < other;
    };
    EXPECT_TRUE(eventually([&] {
        const std::optional<PickerListing> listing = listPickerWindows(display());
        lookpane = listing ? ofProcess(listing->applicationWindows, m_lookpane->pid())
                           : std::vector<PickerWindow>{};
        return frontOf(QStringLiteral("Lookpane box")) && frontOf(QStringLiteral("Lookpane"));
    })) << "the About box opened behind Lookpane's windows:"
        << describe(lookpane);
}
