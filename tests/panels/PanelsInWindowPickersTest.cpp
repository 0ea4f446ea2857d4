// The settings and guide windows as the window pickers of meeting applications see them: left
// out, so that the share window is the only Lookpane window offered there, and still framed as
// the dialogs they are.
#include "QtWait.h"
#include "TestDisplay.h"
#include "WindowPicker.h"

#include "model/Preferences.h"
#include "panels/GuideWindowController.h"
#include "panels/SettingsWindowController.h"
#include "platform/x11/ApplicationConnection.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/ToolShortcutPreferences.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QWidget>
#include <QWindow>

#include <algorithm>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

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

const PickerWindow *withRole(const std::vector<PickerWindow> &windows, const QString &role)
{
    const auto found =
        std::find_if(windows.begin(), windows.end(),
                     [&](const PickerWindow &window) { return window.role == role; });
    return found == windows.end() ? nullptr : &*found;
}

} // namespace

TEST(PanelsInWindowPickers, TheSettingsAndGuideWindowsAreLeftOutAndKeepTheirTitles)
{
    ASSERT_TRUE(testDisplay().startWindowManager());
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    Preferences preferences(QDir(folder.path()).filePath("Lookpane.conf"));
    preferences.registerDefaults();
    ShortcutPreferences(preferences).registerDefaults();
    ToolShortcutPreferences(preferences).registerDefaults();
    SettingsWindowController settings(preferences);
    GuideWindowController guide(preferences, false);
    settings.show();
    guide.show();

    std::vector<PickerWindow> own;
    ASSERT_TRUE(waitUntil([&] {
        own = ownWindowsInThePicker();
        return withRole(own, "settings") && withRole(own, "guide");
    })) << "the picker does not look at the settings and guide windows";
    for (const QString &role : {QStringLiteral("settings"), QStringLiteral("guide")}) {
        const PickerWindow *window = withRole(own, role);
        EXPECT_FALSE(window->offered) << role.toStdString();
        EXPECT_EQ(window->types, QStringList{"_NET_WM_WINDOW_TYPE_DIALOG"}) << role.toStdString();
    }
    EXPECT_EQ(withRole(own, "settings")->title, QStringLiteral("Lookpane Settings"));
    EXPECT_EQ(withRole(own, "guide")->title, QStringLiteral("How to Use Lookpane"));
}

// As dialogs they keep the title bar the window manager draws for them, with its close button.
TEST(PanelsInWindowPickers, TheWindowManagerStillGivesThemATitleBar)
{
    ASSERT_TRUE(testDisplay().startWindowManager());
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    Preferences preferences(QDir(folder.path()).filePath("Lookpane.conf"));
    preferences.registerDefaults();
    ShortcutPreferences(preferences).registerDefaults();
    ToolShortcutPreferences(preferences).registerDefaults();
    SettingsWindowController settings(preferences);
    GuideWindowController guide(preferences, false);
    settings.show();
    guide.show();
    for (QWidget *window : {settings.window(), guide.window()}) {
        EXPECT_TRUE(waitUntil([&] {
            return window->frameGeometry().height() > window->height() + 10;
        })) << window->windowTitle().toStdString()
            << " has no title bar";
    }
}
