#include "capture/ShareableWindow.h"
#include "EngineTestSupport.h"

namespace lookpane {
namespace {

constexpr std::int64_t ownProcess = 1000;
// A 1440 × 900 primary screen at Qt's origin.
const QRectF primary(0, 0, 1440, 900);

ShareableApplication application(const QString &name, std::int64_t processID = 2000,
                                 const QString &identifier = {})
{
    return ShareableApplication{processID, name, identifier.isEmpty() ? name : identifier};
}

ShareableWindowEntry window(const QString &title, const ShareableApplication &owner,
                            QRectF frame = QRectF(0, 0, 800, 600), int layer = 0)
{
    static std::uint32_t nextID = 1;
    return ShareableWindowEntry{nextID++, frame, title, owner, layer};
}

std::vector<QString> titles(const std::vector<ShareableWindow> &windows)
{
    std::vector<QString> result;
    for (const ShareableWindow &entry : windows) {
        result.push_back(entry.title);
    }
    return result;
}

TEST(ShareableWindowTest, SizeBoundsAreInclusive)
{
    const ShareableApplication editor = application("Editor");
    const std::vector<ShareableWindow> windows =
        makeShareableWindows({window("exact", editor, QRectF(0, 0, 160, 120)),
                              window("narrow", editor, QRectF(0, 0, 159.5, 400)),
                              window("short", editor, QRectF(0, 0, 400, 119.9))},
                             ownProcess, primary);
    EXPECT_EQ(titles(windows), std::vector<QString>{"exact"});
}

TEST(ShareableWindowTest, BlankTitleIsReplacedByTheApplicationName)
{
    const std::vector<ShareableWindow> windows = makeShareableWindows(
        {window("   \t\n ", application("Preview")), window("  Notes \n", application("Preview"))},
        ownProcess, primary);
    EXPECT_EQ(titles(windows), (std::vector<QString>{"Notes", "Preview"}));
    EXPECT_EQ(windows[1].applicationName, "Preview");
}

TEST(ShareableWindowTest, ApplicationNamesDifferingInCaseKeepIncomingOrder)
{
    const std::vector<ShareableWindow> forward = makeShareableWindows(
        {window("z", application("Safari")), window("a", application("safari")),
         window("m", application("Safari"))},
        ownProcess, primary);
    EXPECT_EQ(titles(forward), (std::vector<QString>{"z", "a", "m"}));
    const std::vector<ShareableWindow> backward = makeShareableWindows(
        {window("a", application("safari")), window("z", application("Safari"))}, ownProcess,
        primary);
    EXPECT_EQ(titles(backward), (std::vector<QString>{"a", "z"}));
}

TEST(ShareableWindowTest, TitlesOfOneApplicationSortCaseInsensitively)
{
    const ShareableApplication editor = application("Editor");
    const std::vector<ShareableWindow> windows = makeShareableWindows(
        {window("b", editor), window("A", editor), window("c", editor)}, ownProcess, primary);
    EXPECT_EQ(titles(windows), (std::vector<QString>{"A", "b", "c"}));
}

TEST(ShareableWindowTest, ApplicationsSortCaseInsensitivelyBeforeTitles)
{
    const std::vector<ShareableWindow> windows = makeShareableWindows(
        {window("1", application("terminal")), window("2", application("Browser")),
         window("3", application("editor")), window("0", application("Browser"))},
        ownProcess, primary);
    EXPECT_EQ(titles(windows), (std::vector<QString>{"0", "2", "3", "1"}));
}

TEST(ShareableWindowTest, FramesAreFlippedAboutThePrimaryScreensBottomEdge)
{
    const std::vector<ShareableWindow> windows = makeShareableWindows(
        {window("w", application("Editor"), QRectF(100, 50, 800, 600))}, ownProcess, primary);
    ASSERT_EQ(windows.size(), 1u);
    EXPECT_EQ(windows.front().frame, ScreenRect(100, 250, 800, 600));
}

TEST(ShareableWindowTest, FramesCountFromThePrimaryScreensBottomLeftWhereverItLies)
{
    // A 1920 × 1080 primary screen at +0+360 of a 2560 × 1440 desktop: its bottom edge lies at
    // Qt's y 1440. A window at Qt's (100, 400) of 800 × 600 has its bottom at 1000, 440 above.
    const std::vector<ShareableWindow> windows =
        makeShareableWindows({window("w", application("Editor"), QRectF(100, 400, 800, 600))},
                             ownProcess, QRectF(0, 360, 1920, 1080));
    ASSERT_EQ(windows.size(), 1u);
    EXPECT_EQ(windows.front().frame, ScreenRect(100, 440, 800, 600));
    // The primary screen below another (at +0+1080) and right of a third (x 1280).
    const std::vector<ShareableWindow> below =
        makeShareableWindows({window("w", application("Editor"), QRectF(1380, 100, 800, 600))},
                             ownProcess, QRectF(1280, 1080, 1920, 1080));
    ASSERT_EQ(below.size(), 1u);
    EXPECT_EQ(below.front().frame, ScreenRect(100, 1460, 800, 600));
}

TEST(ShareableWindowTest, DesktopShellAndOwnWindowsNeverAppear)
{
    std::vector<ShareableWindowEntry> entries;
    for (const char *shellClass :
         {"Xfce4-panel", "Plank", "Docky", "Polybar", "Tint2", "Lxpanel", "Mate-panel",
          "Gnome-shell", "Plasmashell", "Xfdesktop", "Nautilus-desktop", "Dunst", "Xfce4-notifyd",
          "Notify-osd", "Conky", "Openbox"}) {
        const QString shell = QString::fromLatin1(shellClass);
        entries.push_back(window(shell, application(shell.toLower(), 3000, shell)));
    }
    const ShareableApplication lookpane = application("Lookpane", ownProcess);
    entries.push_back(window("frame", lookpane));
    entries.push_back(window("toolbar", lookpane, QRectF(0, 0, 400, 160)));
    entries.push_back(window("share", lookpane));
    entries.push_back(window("kept", application("Editor")));
    EXPECT_EQ(titles(makeShareableWindows(entries, ownProcess, primary)),
              std::vector<QString>{"kept"});
}

TEST(ShareableWindowTest, ShellIdentifiersMatchExactly)
{
    // Membership is case-sensitive: an application that merely resembles a shell class stays.
    const std::vector<ShareableWindow> windows = makeShareableWindows(
        {window("lower", application("plank", 3000, "plank"))}, ownProcess, primary);
    EXPECT_EQ(titles(windows), std::vector<QString>{"lower"});
    EXPECT_TRUE(ShareableWindow::systemBundleIdentifiers().contains("Plank"));
}

TEST(ShareableWindowTest, OtherLayersAndOwnerlessWindowsAreSkipped)
{
    ShareableWindowEntry ownerless = window("ownerless", application("Editor"));
    ownerless.owningApplication.reset();
    const std::vector<ShareableWindow> windows =
        makeShareableWindows({window("dock", application("Editor"), QRectF(0, 0, 800, 600), 20),
                              ownerless, window("normal", application("Editor"))},
                             ownProcess, primary);
    EXPECT_EQ(titles(windows), std::vector<QString>{"normal"});
}

TEST(ShareableWindowTest, DuplicatesAreAllListed)
{
    const ShareableApplication editor = application("Editor");
    EXPECT_EQ(
        makeShareableWindows({window("same", editor), window("same", editor)}, ownProcess, primary)
            .size(),
        2u);
}

TEST_F(EngineTest, ShareableWindowsAsksForOnScreenWindowsWithoutDesktopAndSorts)
{
    std::optional<std::vector<ShareableWindow>> result;
    engine->shareableWindows(
        [&result](std::vector<ShareableWindow> windows) { result = std::move(windows); });
    EXPECT_FALSE(result);
    ASSERT_EQ(backend->contentRequests.size(), 1u);
    EXPECT_TRUE(backend->contentRequests.front().excludingDesktopWindows);
    EXPECT_TRUE(backend->contentRequests.front().onScreenWindowsOnly);
    // The content lists one window of another application and the frame window itself.
    backend->answerContent({contentWithThisApplication(), {}});
    ASSERT_TRUE(result);
    ASSERT_EQ(result->size(), 1u);
    EXPECT_EQ(result->front().title, "notes");
    EXPECT_EQ(result->front().applicationName, "Editor");
    // Flipped about the injected primary screen, 900 points high.
    EXPECT_EQ(result->front().frame, ScreenRect(0, 300, 800, 600));
}

TEST_F(EngineTest, ShareableWindowsFailureGivesAnEmptyList)
{
    std::optional<std::vector<ShareableWindow>> result;
    engine->shareableWindows(
        [&result](std::vector<ShareableWindow> windows) { result = std::move(windows); });
    backend->answerContent({std::nullopt, QStringLiteral("permission denied")});
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->empty());
}

} // namespace
} // namespace lookpane
