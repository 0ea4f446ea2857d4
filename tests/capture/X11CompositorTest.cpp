// What the X11 capture paints: the other processes' windows as they are, never a window of
// this process, whatever covers what.
#include "X11CaptureHarness.h"

#include "PatternWindow.h"
#include "TestDisplay.h"
#include "XReadback.h"

#include <gtest/gtest.h>

#include <xcb/xcb.h>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

const QColor ownRed(0xEE, 0x11, 0x22);

PatternWindow::Options patternOptions(const QRect &geometry, Pattern pattern,
                                      std::uint32_t color = 0x336699, const char *title = "Pattern")
{
    PatternWindow::Options options;
    options.geometry = geometry;
    options.pattern = pattern;
    options.color = color;
    options.title = title;
    return options;
}

template <typename Tweak>
PatternWindow::Options patternOptions(const QRect &geometry, Pattern pattern, std::uint32_t color,
                                      const char *title, Tweak tweak)
{
    PatternWindow::Options options = patternOptions(geometry, pattern, color, title);
    tweak(options);
    return options;
}

std::string display()
{
    return testDisplay().displayName();
}

int countOwnPixels(const QImage &image)
{
    return image.width() * image.height() - countPixelsNotNear(image, image.rect(), ownRed, 2);
}

// The frame shows `window` exactly where it lies inside `source`.
int patternMismatches(const QImage &frame, const PatternWindow &window, const QRect &source)
{
    const QRect inFrame =
        window.options().geometry.translated(-source.topLeft()).intersected(frame.rect());
    const QPoint offset =
        inFrame.topLeft() + source.topLeft() - window.options().geometry.topLeft();
    return countMismatches(frame, inFrame, [&](int x, int y) {
        return window.expectedPixel(x + offset.x(), y + offset.y());
    });
}

// Moves and resizes a window of another client, as a window manager would.
void configureWindow(std::uint32_t window, const QRect &geometry)
{
    xcb_connection_t *c = xcb_connect(display().c_str(), nullptr);
    const std::uint32_t values[] = {std::uint32_t(geometry.x()), std::uint32_t(geometry.y()),
                                    std::uint32_t(geometry.width()),
                                    std::uint32_t(geometry.height())};
    xcb_configure_window(c, window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    xcb_disconnect(c);
}

void setMapped(std::uint32_t window, bool mapped)
{
    xcb_connection_t *c = xcb_connect(display().c_str(), nullptr);
    if (mapped) {
        xcb_map_window(c, window);
    } else {
        xcb_unmap_window(c, window);
    }
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    xcb_disconnect(c);
}

// The animated pattern's frame counter (top-left 8 × 8 pixels: red = low byte).
int animationCounter(const QImage &frame, const QPoint &windowTopLeft)
{
    const QRgb stamp = frame.pixel(windowTopLeft + QPoint(3, 3));
    return qRed(stamp) | (qGreen(stamp) << 8);
}

} // namespace

TEST(X11Compositor, OwnWindowExactlyOverTheRegionIsLeftOut)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(300, 200, 480, 320);
    PatternWindow pattern(display(), patternOptions(region, Pattern::bars, 0x336699, "Pattern"));
    ASSERT_TRUE(pattern.isShown());
    const auto own = showOwnWindow(region, ownRed, QStringLiteral("Own frame"));
    // The screen itself shows our window over the pattern.
    ASSERT_EQ(countOwnPixels(grabScreenRect(display(), region)), region.width() * region.height());

    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("own-window-exactly-over-region"));
    ASSERT_EQ(frame.size(), region.size());
    EXPECT_EQ(countOwnPixels(frame), 0);
    EXPECT_EQ(patternMismatches(frame, pattern, region), 0);
    EXPECT_EQ(harness.statuses().front(), FrameStatus::complete);
    EXPECT_GT(harness.latestFrame().timestampNs(), 0);
}

TEST(X11Compositor, OwnWindowCoveringHalfTheRegionIsLeftOut)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(200, 150, 640, 360);
    PatternWindow pattern(display(), patternOptions(region, Pattern::checker, 0x336699, "Pattern"));
    ASSERT_TRUE(pattern.isShown());
    const auto own = showOwnWindow(QRect(region.x() + region.width() / 2, region.y() - 40,
                                         region.width(), region.height() + 80),
                                   ownRed, QStringLiteral("Own half"));

    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("own-window-covering-half"));
    EXPECT_EQ(countOwnPixels(frame), 0);
    EXPECT_EQ(patternMismatches(frame, pattern, region), 0);
}

TEST(X11Compositor, OwnWindowIsLeftOutUnderACompositingManager)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    ASSERT_TRUE(testDisplay().startCompositor());
    const QRect region(400, 300, 400, 300);
    PatternWindow pattern(display(), patternOptions(region, Pattern::bars, 0x336699, "Pattern"));
    ASSERT_TRUE(pattern.isShown());
    const auto own =
        showOwnWindow(region.adjusted(-20, -20, 20, 20), ownRed, QStringLiteral("Own composited"));

    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("own-window-with-xcompmgr"));
    EXPECT_EQ(countOwnPixels(frame), 0);
    EXPECT_EQ(patternMismatches(frame, pattern, region), 0);
    testDisplay().stopCompositor();
}

TEST(X11Compositor, ExcludedWindowIdIsLeftOutEvenOfAnotherProcess)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(100, 100, 400, 300);
    PatternWindow below(display(), patternOptions(region, Pattern::bars, 0x336699, "Pattern"));
    PatternWindow above(display(), patternOptions(region, Pattern::solid, 0x00AA00, "Above"));
    ASSERT_TRUE(below.isShown() && above.isShown());

    ASSERT_EQ(harness.start(region, {}, {above.window()}), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    saveForInspection(frameImage(harness.latestFrame()), QStringLiteral("excluded-window-id"));
    EXPECT_EQ(patternMismatches(frameImage(harness.latestFrame()), below, region), 0);
}

TEST(X11Compositor, OverrideRedirectWindowIsPainted)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(100, 100, 600, 400);
    PatternWindow below(display(), patternOptions(region, Pattern::bars, 0x336699, "Pattern"));
    PatternWindow popup(
        display(), patternOptions(QRect(200, 150, 200, 100), Pattern::checker, 0x336699, "Popup",
                                  [](PatternWindow::Options &o) { o.overrideRedirect = true; }));
    ASSERT_TRUE(below.isShown() && popup.isShown());

    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("override-redirect"));
    EXPECT_EQ(patternMismatches(frame, popup, region), 0);
    // Outside the popup, the window below.
    EXPECT_EQ(countMismatches(frame, QRect(0, 0, 100, 400),
                              [&](int x, int y) { return below.expectedPixel(x, y); }),
              0);
}

TEST(X11Compositor, ShapedWindowShowsWhatLiesOutsideItsShape)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(100, 100, 400, 300);
    PatternWindow below(display(), patternOptions(region, Pattern::solid, 0x2040C0, "Below"));
    PatternWindow shaped(display(), patternOptions(region, Pattern::checker, 0x336699, "Shaped",
                                                   [](PatternWindow::Options &o) {
                                                       o.shapeLeftHalf = true;
                                                       o.inputShapeEmpty = true;
                                                   }));
    ASSERT_TRUE(below.isShown() && shaped.isShown());

    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("shaped"));
    // Left half: the shaped window (its input shape changes nothing that is painted).
    EXPECT_EQ(countMismatches(frame, QRect(0, 0, 200, 300),
                              [&](int x, int y) { return shaped.expectedPixel(x, y); }),
              0);
    // Right half: the window below shows through.
    EXPECT_EQ(countPixelsNotNear(frame, QRect(200, 0, 200, 300), QColor(0x2040C0), 0), 0);
}

TEST(X11Compositor, ArgbWindowIsBlendedOverWhatLiesBelow)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(100, 100, 400, 300);
    PatternWindow below(display(), patternOptions(region, Pattern::solid, 0x0000FF, "Below"));
    // White at alpha 0x80 over blue.
    PatternWindow glass(display(),
                        patternOptions(QRect(150, 150, 200, 100), Pattern::solid, 0xFFFFFF, "Glass",
                                       [](PatternWindow::Options &o) { o.argbAlpha = 0x80; }));
    ASSERT_TRUE(below.isShown() && glass.isShown());

    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("argb"));
    // premultiplied 0x80 white over blue: 128 + 255 × (1 − 128/255) = 127 + 128 ...
    const QColor blended(0x80, 0x80, 0xFF);
    EXPECT_EQ(countPixelsNotNear(frame, QRect(50, 50, 200, 100), blended, 2), 0);
    EXPECT_EQ(countPixelsNotNear(frame, QRect(0, 0, 50, 300), QColor(0x0000FF), 0), 0);
}

TEST(X11Compositor, ResizedWindowKeepsUpdating)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(100, 100, 600, 400);
    PatternWindow animated(
        display(), patternOptions(QRect(100, 100, 300, 200), Pattern::bars, 0x336699, "Pattern",
                                  [](PatternWindow::Options &o) { o.animate = true; }));
    ASSERT_TRUE(animated.isShown());
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));

    configureWindow(animated.window(), QRect(100, 100, 500, 350));
    // The window's new pixmap keeps showing new counter values; the old one would freeze.
    const int before = animationCounter(frameImage(harness.latestFrame()), QPoint(0, 0));
    ASSERT_TRUE(harness.waitForFrameWhere(
        [&](const QImage &frame) { return animationCounter(frame, QPoint(0, 0)) > before + 3; },
        5000))
        << "the picture froze after the resize";
    saveForInspection(frameImage(harness.latestFrame()), QStringLiteral("resized"));
}

TEST(X11Compositor, RemappedWindowKeepsUpdating)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(100, 100, 400, 300);
    PatternWindow animated(display(),
                           patternOptions(region, Pattern::bars, 0x336699, "Pattern",
                                          [](PatternWindow::Options &o) { o.animate = true; }));
    ASSERT_TRUE(animated.isShown());
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));

    setMapped(animated.window(), false);
    ASSERT_TRUE(harness.waitForLatestWhere(
        [](const QImage &frame) {
            return countPixelsNotNear(frame, frame.rect(), Qt::black, 0) == 0;
        },
        5000))
        << "the unmapped window did not disappear";
    setMapped(animated.window(), true);
    const bool shown = harness.waitForLatestWhere(
        [](const QImage &frame) { return animationCounter(frame, QPoint(0, 0)) != 0; }, 5000);
    saveForInspection(frameImage(harness.latestFrame()), QStringLiteral("remapped"));
    ASSERT_TRUE(shown);
    const int before = animationCounter(frameImage(harness.latestFrame()), QPoint(0, 0));
    EXPECT_TRUE(harness.waitForFrameWhere(
        [&](const QImage &frame) { return animationCounter(frame, QPoint(0, 0)) > before + 3; },
        5000))
        << "the picture froze after the window was mapped again";
}

TEST(X11Compositor, RegionIsScaledToTheRequestedSize)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect region(100, 100, 800, 400);
    PatternWindow pattern(display(), patternOptions(region, Pattern::bars, 0x336699, "Pattern"));
    ASSERT_TRUE(pattern.isShown());
    ASSERT_EQ(harness.start(region, QSize(400, 200)), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("scaled"));
    ASSERT_EQ(frame.size(), QSize(400, 200));
    // Inside each 50-pixel bar (away from the blended edges) the bar's colour.
    for (int bar = 0; bar < 8; ++bar) {
        EXPECT_EQ(
            countPixelsNotNear(frame, QRect(bar * 50 + 5, 10, 40, 180), QColor(barColor(bar)), 1),
            0)
            << "bar " << bar;
    }
}

TEST(X11Compositor, PartsBeyondTheScreenEdgeAreBlack)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    const QRect pattern(1720, 980, 200, 100);
    PatternWindow window(display(), patternOptions(pattern, Pattern::solid, 0xFFAA00, "Pattern"));
    ASSERT_TRUE(window.isShown());
    const QRect region(1820, 1030, 200, 100); // half of it off the screen
    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("beyond-edge"));
    EXPECT_EQ(countPixelsNotNear(frame, QRect(0, 0, 100, 50), QColor(0xFFAA00), 0), 0);
    EXPECT_EQ(countPixelsNotNear(frame, QRect(100, 0, 100, 100), Qt::black, 0), 0);
    EXPECT_EQ(countPixelsNotNear(frame, QRect(0, 50, 200, 50), Qt::black, 0), 0);
}

TEST(X11Compositor, DesktopBackgroundComesFromTheRootPixmap)
{
    X11CaptureHarness harness; // first, as Lookpane makes its backend first
    // A desktop setter's background: a 4 × 4 tile published as _XROOTPMAP_ID.
    xcb_connection_t *c = xcb_connect(display().c_str(), nullptr);
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_pixmap_t tile = xcb_generate_id(c);
    xcb_create_pixmap(c, screen->root_depth, tile, screen->root, 4, 4);
    const xcb_gcontext_t gc = xcb_generate_id(c);
    const std::uint32_t teal = 0x008080;
    xcb_create_gc(c, gc, tile, XCB_GC_FOREGROUND, &teal);
    const xcb_rectangle_t all{0, 0, 4, 4};
    xcb_poly_fill_rectangle(c, tile, gc, 1, &all);
    const char name[] = "_XROOTPMAP_ID";
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr),
        &std::free);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, screen->root, atom->atom, XCB_ATOM_PIXMAP, 32, 1,
                        &tile);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));

    ASSERT_EQ(harness.start(QRect(10, 10, 64, 64)), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    EXPECT_EQ(countPixelsNotNear(frameImage(harness.latestFrame()), QRect(0, 0, 64, 64),
                                 QColor(0x008080), 0),
              0);

    // Taking the property away leaves black.
    xcb_delete_property(c, screen->root, atom->atom);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    EXPECT_TRUE(harness.waitForLatestWhere(
        [](const QImage &frame) {
            return countPixelsNotNear(frame, frame.rect(), Qt::black, 0) == 0;
        },
        5000));
    xcb_disconnect(c);
}

TEST(X11Compositor, OwnWindowInsideAWindowManagersFrameIsLeftOut)
{
    ASSERT_TRUE(startWindowManagerAndWait());
    X11CaptureHarness harness;
    const QRect region(300, 200, 480, 320);
    PatternWindow::Options options = patternOptions(region, Pattern::bars);
    options.undecorated = true;
    PatternWindow pattern(display(), options);
    ASSERT_TRUE(pattern.isShown());
    // A decorated window of ours: the window manager wraps it in a frame of its own, and
    // that frame (with its title bar) must go too.
    auto own = std::make_unique<QWidget>();
    own->setWindowTitle(QStringLiteral("Own decorated"));
    QPalette palette = own->palette();
    palette.setColor(QPalette::Window, ownRed);
    own->setPalette(palette);
    own->setAutoFillBackground(true);
    own->setGeometry(region.adjusted(40, 60, -40, -20));
    own->show();
    ASSERT_TRUE(X11CaptureHarness::waitUntil(
        [&] {
            const QImage shot = grabScreenRect(display(), QRect(region.center(), QSize(1, 1)));
            return !shot.isNull() && QColor(shot.pixel(0, 0)) == ownRed;
        },
        10000));
    const std::optional<WindowInfo> client = windowInfo(display(), pattern.window());
    ASSERT_TRUE(client.has_value());
    ASSERT_EQ(harness.start(client->geometry), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("own-window-with-openbox-frame"));
    EXPECT_EQ(countOwnPixels(frame), 0);
    EXPECT_EQ(countMismatches(frame, frame.rect(),
                              [&](int x, int y) { return pattern.expectedPixel(x, y); }),
              0);
}

// A window of ours at the bottom of a deep tree of another client's windows (an embedder, a
// window manager's nested frame): the whole top-level above it goes, however deep it lies.
TEST(X11Compositor, OwnWindowDeepInsideAnotherClientsTreeIsLeftOut)
{
    X11CaptureHarness harness;
    const QRect region(300, 200, 480, 320);
    PatternWindow beneath(display(), patternOptions(region, Pattern::solid, 0x30A050, "Beneath"));
    ASSERT_TRUE(beneath.isShown());
    PatternWindow::Options nested = patternOptions(region, Pattern::bars, 0x336699, "Embedder");
    nested.nest = 7;
    PatternWindow embedder(display(), nested);
    ASSERT_TRUE(embedder.isShown());

    xcb_connection_t *c = xcb_connect(display().c_str(), nullptr);
    ASSERT_EQ(xcb_connection_has_error(c), 0);
    xcb_window_t deepest = embedder.window();
    int depth = 0;
    for (;;) {
        xcb_query_tree_reply_t *tree = xcb_query_tree_reply(c, xcb_query_tree(c, deepest), nullptr);
        const bool hasChild = tree != nullptr && xcb_query_tree_children_length(tree) > 0;
        if (hasChild) {
            deepest = xcb_query_tree_children(tree)[0];
            ++depth;
        }
        std::free(tree);
        if (!hasChild) {
            break;
        }
    }
    ASSERT_EQ(depth, 7);

    auto own = std::make_unique<QWidget>();
    QPalette palette = own->palette();
    palette.setColor(QPalette::Window, ownRed);
    own->setPalette(palette);
    own->setAutoFillBackground(true);
    own->setAttribute(Qt::WA_NativeWindow);
    own->resize(region.width() - 80, region.height() - 80);
    const auto ownId = static_cast<xcb_window_t>(own->winId());
    own->show();
    xcb_reparent_window(c, ownId, deepest, 40, 40);
    xcb_map_window(c, ownId);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    ASSERT_TRUE(X11CaptureHarness::waitUntil(
        [&] {
            own->update();
            const QImage shot = grabScreenRect(display(), QRect(region.center(), QSize(1, 1)));
            return !shot.isNull() && QColor(shot.pixel(0, 0)) == ownRed;
        },
        10000))
        << "our window does not show inside the other client's tree";

    ASSERT_EQ(harness.start(region), std::nullopt);
    ASSERT_TRUE(harness.waitForFrames(1, 10000));
    const QImage frame = frameImage(harness.latestFrame());
    saveForInspection(frame, QStringLiteral("own-window-deep-in-another-tree"));
    EXPECT_EQ(countOwnPixels(frame), 0);
    // Neither ours nor the embedder's: what lies beneath shows.
    EXPECT_EQ(patternMismatches(frame, beneath, region), 0);
    EXPECT_EQ(harness.stop(), std::nullopt);
    xcb_disconnect(c);
}
