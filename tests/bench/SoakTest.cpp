// A minute of the soak benchmark as a test: Lookpane, driven as a user would over an animated
// source whose windows keep changing, stays alive, hands back every X resource it took, and its
// resident memory stays within a bound.
#include "SoakRun.h"
#include "XClientResources.h"
#include "XvfbServer.h"

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

using namespace lookpane::bench;
using namespace lookpane::testing;

namespace {

long pixmapsOf(const XClientResources &resources)
{
    const auto found = resources.counts.find("PIXMAP");
    return found == resources.counts.end() ? 0 : found->second;
}

// How far resident memory may end above the highest quiet figure of the warm-up after a
// minute. Once the heaps have grown to what the cycle of actions asks of them, resident memory
// swings and comes back: over the 10-minute soak recorded in docs/benchmarks.md it stayed
// between the start and 8.1 % above it, and across the runs recorded there the quiet figures
// lay between 230 and 276 MB (frames of 8 MB at two box sizes, handed between the capture
// thread and the GUI thread, leave the allocator's heaps at varying sizes). A start taken in a
// trough of that swing made a comparison with the start alone fail without any growth (+14.5 %);
// the highest warm-up figure is the top of the swing, and no end lay more than 6.7 % above it.
// 15 % lies beyond that with room to spare and far below what a frame buffer lost at every
// action would add in a minute (20 to 30 actions, 8 MB each: 60 % and more). Whether memory
// stays within 2 % of the start over ten minutes is the benchmark's figure, not a test's.
constexpr double maxGrowthPercent = 15.0;

} // namespace

TEST(SoakXResources, CountsThePixmapsAProcessCreatesAndFrees)
{
    XvfbServer server;
    ASSERT_TRUE(server.isRunning());
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> c(
        xcb_connect(server.displayName().c_str(), nullptr), &xcb_disconnect);
    ASSERT_EQ(xcb_connection_has_error(c.get()), 0);
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c.get())).data;
    const auto roundTrip = [&] {
        std::free(xcb_get_input_focus_reply(c.get(), xcb_get_input_focus(c.get()), nullptr));
    };
    roundTrip();

    const std::optional<XClientResources> before =
        xClientResourcesOf(server.displayName(), getpid());
    ASSERT_TRUE(before.has_value()) << "no connection of this process found";
    std::vector<xcb_pixmap_t> pixmaps;
    for (int i = 0; i < 3; ++i) {
        pixmaps.push_back(xcb_generate_id(c.get()));
        xcb_create_pixmap(c.get(), screen->root_depth, pixmaps.back(), screen->root, 16, 16);
    }
    roundTrip();
    const std::optional<XClientResources> holding =
        xClientResourcesOf(server.displayName(), getpid());
    ASSERT_TRUE(holding.has_value());
    EXPECT_EQ(pixmapsOf(*holding), pixmapsOf(*before) + 3);
    EXPECT_EQ(describeResourceChanges(*before, *holding),
              "PIXMAP " + std::to_string(pixmapsOf(*before)) + " -> " +
                  std::to_string(pixmapsOf(*before) + 3));

    for (const xcb_pixmap_t pixmap : pixmaps) {
        xcb_free_pixmap(c.get(), pixmap);
    }
    roundTrip();
    const std::optional<XClientResources> after =
        xClientResourcesOf(server.displayName(), getpid());
    ASSERT_TRUE(after.has_value());
    EXPECT_EQ(describeResourceChanges(*before, *after), "");
}

// The figures are taken in quiet moments (bench/SoakRun.h, QuietFigures): the source paused
// until Lookpane stops drawing and its X resource counts stop changing, memory the median of
// several samples. Taken at an arbitrary moment instead, they depend on which of the source's
// churning windows happen to lie over the region and on the frame in flight.
TEST(Soak, AMinuteOfUseLeavesLookpaneAliveWithItsXResourcesBackAndMemoryFlat)
{
    SoakOptions options;
    options.minutes = 1;
    options.maxWarmUpCycles = 4;
    const SoakFigures figures = runSoak(options);
    printSoakFigures(figures, stdout);
    ASSERT_TRUE(figures.started) << figures.failure;

    EXPECT_TRUE(figures.alive) << "Lookpane ended or its share window stopped updating: "
                               << figures.failure;
    // The soak did what it says: every kind of action took effect at least once, the box came
    // back to where the start figures were taken, and both figures were taken in quiet.
    EXPECT_TRUE(figures.moved);
    EXPECT_TRUE(figures.resized);
    EXPECT_TRUE(figures.drawn);
    EXPECT_TRUE(figures.detached) << figures.failure;
    EXPECT_TRUE(figures.boxRestored);
    EXPECT_GT(figures.framesDelivered, 0);
    EXPECT_TRUE(figures.quietStart) << "the start figures were not taken in a quiet moment";
    EXPECT_TRUE(figures.quietEnd) << "the end figures were not taken in a quiet moment";

    // Back in the state of the start, Lookpane holds exactly what it held then, type by type:
    // every window, pixmap, picture, damage object, shape selection, shared-memory segment and
    // grab it took for a detached window, a blur, a drawing or a window over the region is
    // handed back.
    ASSERT_TRUE(figures.xresStart && figures.xresEnd);
    EXPECT_EQ(describeResourceChanges(*figures.xresStart, *figures.xresEnd), "");

    // Resident memory after a minute against the top of its swing in the warm-up, all quiet.
    ASSERT_FALSE(figures.warmUpResidentKiB.empty());
    EXPECT_LE(figures.rssAboveWarmUpPercent(), maxGrowthPercent)
        << "resident " << figures.rssEndKiB << " KiB at the end, at most "
        << *std::max_element(figures.warmUpResidentKiB.begin(), figures.warmUpResidentKiB.end())
        << " KiB after a warm-up cycle, " << figures.rssStartKiB << " KiB at the start";
}
