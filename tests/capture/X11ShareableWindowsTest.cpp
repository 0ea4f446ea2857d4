// The shareable content the X11 backend lists for real windows under a window manager.
#include "X11CaptureHarness.h"

#include "PatternWindow.h"
#include "TestDisplay.h"
#include "XReadback.h"

#include "capture/x11/DisplayResolver.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>

#include <xcb/xcb.h>

#include <unistd.h>

#include <algorithm>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

std::string display()
{
    return testDisplay().displayName();
}

PatternWindow::Options windowOptions(const QRect &geometry, const std::string &title,
                                     const std::string &windowClass)
{
    PatternWindow::Options options;
    options.geometry = geometry;
    options.pattern = Pattern::solid;
    options.title = title;
    options.windowClass = windowClass;
    return options;
}

ShareableContent load(X11CaptureHarness &harness, bool excludingDesktopWindows = true)
{
    std::optional<ShareableContentResult> result;
    harness.backend().loadShareableContent(
        excludingDesktopWindows, true, [&](ShareableContentResult r) { result = std::move(r); });
    X11CaptureHarness::waitUntil([&] { return result.has_value(); }, 10000);
    EXPECT_TRUE(result && result->content) << (result ? result->error.toStdString() : "no answer");
    return result && result->content ? *result->content : ShareableContent{};
}

const ShareableWindowEntry *entryFor(const ShareableContent &content, std::uint32_t window)
{
    const auto it =
        std::find_if(content.windows.begin(), content.windows.end(),
                     [&](const ShareableWindowEntry &e) { return e.windowID == window; });
    return it == content.windows.end() ? nullptr : &*it;
}

// _NET_FRAME_EXTENTS (left, right, top, bottom) as the window manager set it.
std::vector<std::uint32_t> frameExtents(std::uint32_t window)
{
    xcb_connection_t *c = xcb_connect(display().c_str(), nullptr);
    const char name[] = "_NET_FRAME_EXTENTS";
    auto *atom = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr);
    auto *reply = xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, atom->atom, XCB_ATOM_CARDINAL, 0, 4), nullptr);
    std::vector<std::uint32_t> extents;
    if (reply && xcb_get_property_value_length(reply) == 16) {
        const auto *values = static_cast<const std::uint32_t *>(xcb_get_property_value(reply));
        extents.assign(values, values + 4);
    }
    std::free(reply);
    std::free(atom);
    xcb_disconnect(c);
    return extents;
}

// Waits until the window manager has framed the window (its extents are set) and the
// window is listed.
bool waitUntilListed(X11CaptureHarness &harness, std::uint32_t window)
{
    return X11CaptureHarness::waitUntil(
        [&] { return !frameExtents(window).empty() && entryFor(load(harness), window); }, 10000);
}

} // namespace

class X11ShareableWindows : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(startWindowManagerAndWait()); }
};

TEST_F(X11ShareableWindows, DisplayIsTheRandrMonitorWithItsOutputId)
{
    X11CaptureHarness harness;
    const ShareableContent content = load(harness);
    ASSERT_EQ(content.displays.size(), 1u);
    EXPECT_NE(content.displays.front().displayID, 0u);
    EXPECT_EQ(content.displays.front().frame, QRect(0, 0, 1920, 1080));
    ASSERT_FALSE(QGuiApplication::screens().isEmpty());
    EXPECT_EQ(harness.backend().displayIDForScreen(*QGuiApplication::primaryScreen()),
              content.displays.front().displayID);
}

TEST_F(X11ShareableWindows, WindowCarriesTitleApplicationProcessAndLayer)
{
    X11CaptureHarness harness;
    PatternWindow editor(display(), windowOptions(QRect(200, 150, 400, 300), "Notes.txt", "Gedit"));
    ASSERT_TRUE(editor.isShown());
    ASSERT_TRUE(waitUntilListed(harness, editor.window()));
    const ShareableContent content = load(harness);
    const ShareableWindowEntry *entry = entryFor(content, editor.window());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->title, QStringLiteral("Notes.txt"));
    EXPECT_EQ(entry->windowLayer, 0);
    ASSERT_TRUE(entry->owningApplication.has_value());
    EXPECT_EQ(entry->owningApplication->processID, editor.pid());
    EXPECT_EQ(entry->owningApplication->applicationName, QStringLiteral("Gedit"));
    EXPECT_EQ(entry->owningApplication->bundleIdentifier, QStringLiteral("Gedit"));
    EXPECT_TRUE(std::any_of(content.applications.begin(), content.applications.end(),
                            [&](const ShareableApplication &a) {
                                return a.processID == editor.pid() &&
                                       a.applicationName == QStringLiteral("Gedit");
                            }));
}

TEST_F(X11ShareableWindows, FrameIncludesTheWindowManagersDecorations)
{
    X11CaptureHarness harness;
    PatternWindow window(display(), windowOptions(QRect(300, 200, 500, 350), "Framed", "Framed"));
    ASSERT_TRUE(window.isShown());
    ASSERT_TRUE(waitUntilListed(harness, window.window()));
    const std::vector<std::uint32_t> extents = frameExtents(window.window());
    ASSERT_EQ(extents.size(), 4u);
    EXPECT_GT(extents[2], 0u) << "openbox draws a title bar";
    const std::optional<WindowInfo> info = windowInfo(display(), window.window());
    ASSERT_TRUE(info.has_value());
    const ShareableContent content = load(harness);
    const ShareableWindowEntry *entry = entryFor(content, window.window());
    ASSERT_NE(entry, nullptr);
    // Top-left points, y down: the client area grown by the extents on each side.
    const QRect client = info->geometry;
    EXPECT_EQ(entry->frame.x(), client.x() - double(extents[0]));
    EXPECT_EQ(entry->frame.y(), client.y() - double(extents[2]));
    EXPECT_EQ(entry->frame.width(), client.width() + double(extents[0] + extents[1]));
    EXPECT_EQ(entry->frame.height(), client.height() + double(extents[2] + extents[3]));
}

TEST_F(X11ShareableWindows, BlankTitleIsPassedOnWithTheApplicationName)
{
    X11CaptureHarness harness;
    PatternWindow blank(display(), windowOptions(QRect(100, 100, 300, 200), "   ", "Preview"));
    ASSERT_TRUE(blank.isShown());
    ASSERT_TRUE(waitUntilListed(harness, blank.window()));
    const ShareableContent content = load(harness);
    const ShareableWindowEntry *entry = entryFor(content, blank.window());
    ASSERT_NE(entry, nullptr);
    // Falling back to the application's name is the engine's; it gets both here.
    EXPECT_TRUE(entry->title.trimmed().isEmpty());
    ASSERT_TRUE(entry->owningApplication.has_value());
    EXPECT_EQ(entry->owningApplication->applicationName, QStringLiteral("Preview"));
}

TEST_F(X11ShareableWindows, UndecoratedWindowSizesAreExact)
{
    X11CaptureHarness harness;
    PatternWindow::Options keptOptions =
        windowOptions(QRect(100, 100, 160, 120), "Smallest kept", "Small");
    keptOptions.undecorated = true;
    PatternWindow::Options droppedOptions =
        windowOptions(QRect(400, 100, 159, 400), "Too narrow", "Small");
    droppedOptions.undecorated = true;
    PatternWindow kept(display(), keptOptions);
    PatternWindow dropped(display(), droppedOptions);
    ASSERT_TRUE(kept.isShown() && dropped.isShown());
    ASSERT_TRUE(waitUntilListed(harness, kept.window()));
    ASSERT_TRUE(waitUntilListed(harness, dropped.window()));
    const ShareableContent content = load(harness);
    // The 160 × 120 lower bound applies to exactly these sizes.
    EXPECT_EQ(entryFor(content, kept.window())->frame.size(), QSizeF(160, 120));
    EXPECT_EQ(entryFor(content, dropped.window())->frame.size(), QSizeF(159, 400));
}

TEST_F(X11ShareableWindows, OwnWindowsCarryThisProcessSoTheyAreNeverOffered)
{
    X11CaptureHarness harness;
    const auto own = showOwnWindow(QRect(500, 300, 300, 200), QColor(0xEE1122),
                                   QStringLiteral("Lookpane frame"));
    const std::uint32_t id = static_cast<std::uint32_t>(own->winId());
    ASSERT_TRUE(waitUntilListed(harness, id));
    const ShareableContent content = load(harness);
    const ShareableWindowEntry *entry = entryFor(content, id);
    ASSERT_NE(entry, nullptr);
    ASSERT_TRUE(entry->owningApplication.has_value());
    EXPECT_EQ(entry->owningApplication->processID, getpid());
    EXPECT_TRUE(std::any_of(content.applications.begin(), content.applications.end(),
                            [](const ShareableApplication &a) { return a.processID == getpid(); }));
}

TEST_F(X11ShareableWindows, DesktopShellWindowsAreOnOtherLayersWithTheirClass)
{
    X11CaptureHarness harness;
    PatternWindow::Options panelOptions =
        windowOptions(QRect(0, 0, 1920, 40), "xfce4-panel", "Xfce4-panel");
    panelOptions.windowType = "DOCK";
    PatternWindow::Options desktopOptions =
        windowOptions(QRect(0, 0, 1920, 1080), "Desktop", "Xfdesktop");
    desktopOptions.windowType = "DESKTOP";
    PatternWindow panel(display(), panelOptions);
    PatternWindow desktop(display(), desktopOptions);
    ASSERT_TRUE(panel.isShown() && desktop.isShown());
    ASSERT_TRUE(X11CaptureHarness::waitUntil(
        [&] {
            const ShareableContent all = load(harness, false);
            return entryFor(all, panel.window()) && entryFor(all, desktop.window());
        },
        10000));
    const ShareableContent all = load(harness, false);
    const ShareableWindowEntry *panelEntry = entryFor(all, panel.window());
    EXPECT_NE(panelEntry->windowLayer, 0);
    EXPECT_EQ(panelEntry->owningApplication->bundleIdentifier, QStringLiteral("Xfce4-panel"));
    EXPECT_NE(entryFor(all, desktop.window())->windowLayer, 0);
    // Without desktop windows, the desktop is not listed at all.
    EXPECT_EQ(entryFor(load(harness, true), desktop.window()), nullptr);
}

TEST_F(X11ShareableWindows, WindowsAreListedFrontToBack)
{
    X11CaptureHarness harness;
    PatternWindow first(display(), windowOptions(QRect(100, 100, 300, 200), "First", "Order"));
    ASSERT_TRUE(first.isShown());
    ASSERT_TRUE(waitUntilListed(harness, first.window()));
    PatternWindow second(display(), windowOptions(QRect(150, 150, 300, 200), "Second", "Order"));
    ASSERT_TRUE(second.isShown());
    ASSERT_TRUE(waitUntilListed(harness, second.window()));
    const ShareableContent content = load(harness);
    const auto position = [&](std::uint32_t window) {
        return std::find_if(content.windows.begin(), content.windows.end(),
                            [&](const ShareableWindowEntry &e) { return e.windowID == window; }) -
               content.windows.begin();
    };
    EXPECT_LT(position(second.window()), position(first.window()));
}

TEST(X11ShareableWindowFrames, RootPixelsBecomePointsByTheMonitorUnderTheWindowsCentre)
{
    // Two 1920 × 1080 monitors side by side, the right one at twice the pixels per point: Qt
    // keeps its corner at x 1920 and halves distances from it.
    const std::vector<x11::ScaledMonitor> mixed = {{QRect(0, 0, 1920, 1080), 1.0},
                                                   {QRect(1920, 0, 1920, 1080), 2.0}};
    EXPECT_EQ(x11::qtRectFromRootPixels(QRectF(100, 100, 400, 300), mixed),
              QRectF(100, 100, 400, 300));
    EXPECT_EQ(x11::qtRectFromRootPixels(QRectF(2020, 200, 800, 600), mixed),
              QRectF(1970, 100, 400, 300));
    // Straddling: the monitor under the centre decides, as Qt decides a window's screen.
    EXPECT_EQ(x11::qtRectFromRootPixels(QRectF(1800, 0, 400, 200), mixed),
              QRectF(1860, 0, 200, 100));
    // A centre on no monitor: the first (primary) one's ratio and corner.
    EXPECT_EQ(x11::qtRectFromRootPixels(QRectF(-500, -500, 100, 100), mixed),
              QRectF(-500, -500, 100, 100));
    // A primary at +0+360 scaled by 1.25: the window Qt made of 800 × 450 points at (100, 400).
    const std::vector<x11::ScaledMonitor> lowered = {{QRect(0, 360, 1920, 1080), 1.25}};
    EXPECT_EQ(x11::qtRectFromRootPixels(QRectF(125, 410, 1000, 560), lowered),
              QRectF(100, 400, 800, 448));
    EXPECT_EQ(x11::qtRectFromRootPixels(QRectF(5, 6, 7, 8), {}), QRectF(5, 6, 7, 8));
}
