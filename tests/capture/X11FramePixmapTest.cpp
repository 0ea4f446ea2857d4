// The X11 capture's frames name the pixmap that holds their pixels in the server, from which
// the share window is painted without the pixels crossing to this process.
#include "X11CaptureHarness.h"

#include "PatternWindow.h"
#include "TestDisplay.h"

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

struct ConnectionCloser
{
    void operator()(xcb_connection_t *c) const { xcb_disconnect(c); }
};

// The pixels of a 32-bit pixmap as the server holds them, read over a connection of the
// test's own; none when the server no longer has it.
std::optional<QImage> pixmapPixels(std::uint32_t pixmap)
{
    std::unique_ptr<xcb_connection_t, ConnectionCloser> c(
        xcb_connect(testDisplay().displayName().c_str(), nullptr));
    std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> geometry(
        xcb_get_geometry_reply(c.get(), xcb_get_geometry(c.get(), pixmap), nullptr), &std::free);
    if (!geometry) {
        return std::nullopt;
    }
    std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(c.get(),
                            xcb_get_image(c.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, 0, 0,
                                          geometry->width, geometry->height, ~0u),
                            nullptr),
        &std::free);
    if (!reply) {
        return std::nullopt;
    }
    QImage image(geometry->width, geometry->height, QImage::Format_RGB32);
    const int row = geometry->width * 4;
    if (xcb_get_image_data_length(reply.get()) < row * geometry->height) {
        return std::nullopt;
    }
    for (int y = 0; y < geometry->height; ++y) {
        std::memcpy(image.scanLine(y), xcb_get_image_data(reply.get()) + y * row,
                    static_cast<std::size_t>(row));
    }
    return image;
}

// Pixels whose colour (alpha aside) differs between the two.
int differing(const QImage &a, const QImage &b)
{
    if (a.size() != b.size()) {
        return a.width() * a.height() + 1;
    }
    int count = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            count += (a.pixel(x, y) & 0xFFFFFF) != (b.pixel(x, y) & 0xFFFFFF) ? 1 : 0;
        }
    }
    return count;
}

PatternWindow::Options animatedBars(const QRect &geometry)
{
    PatternWindow::Options options;
    options.geometry = geometry;
    options.pattern = Pattern::bars;
    options.animate = true;
    return options;
}

} // namespace

TEST(X11FramePixmap, EachFrameNamesAPixmapThatHoldsItsOwnPixels)
{
    PatternWindow window(testDisplay().displayName(), animatedBars(QRect(40, 40, 320, 200)));
    ASSERT_TRUE(window.isShown());
    X11CaptureHarness harness;
    ASSERT_FALSE(harness.start(QRect(0, 0, 400, 300)));
    ASSERT_TRUE(harness.waitForFrames(2, 5000));
    // Held here, so the capture paints no other frame into it meanwhile.
    const CapturedFrame frame = harness.latestFrame();
    ASSERT_NE(frame.serverPixmap(), 0u);
    const std::optional<QImage> held = pixmapPixels(frame.serverPixmap());
    ASSERT_TRUE(held.has_value());
    EXPECT_EQ(differing(*held, frame.image()), 0);
    EXPECT_FALSE(harness.stop());
}

TEST(X11FramePixmap, AFrameHeldAcrossASizeChangeKeepsItsPixmapUntilItGoes)
{
    PatternWindow window(testDisplay().displayName(), animatedBars(QRect(0, 0, 400, 300)));
    ASSERT_TRUE(window.isShown());
    X11CaptureHarness harness;
    ASSERT_FALSE(harness.start(QRect(0, 0, 400, 300)));
    ASSERT_TRUE(harness.waitForFrames(2, 5000));
    auto old = std::make_unique<CapturedFrame>(harness.latestFrame());
    const std::uint32_t pixmap = old->serverPixmap();
    ASSERT_NE(pixmap, 0u);

    // Frames of another size follow; the held one still shows its own pixels from the server.
    ASSERT_FALSE(harness.update(QRect(0, 0, 200, 150)));
    ASSERT_TRUE(harness.waitUntil([&] { return harness.latestFrame().width() == 200; }, 5000));
    ASSERT_TRUE(harness.waitForFrames(harness.frameCount() + 3, 5000));
    const std::optional<QImage> held = pixmapPixels(pixmap);
    ASSERT_TRUE(held.has_value());
    EXPECT_EQ(differing(*held, old->image()), 0);

    // Once the last frame that named it is gone, the next frames free it.
    old.reset();
    EXPECT_TRUE(harness.waitUntil([&] { return !pixmapPixels(pixmap).has_value(); }, 5000));
    EXPECT_FALSE(harness.stop());
}
