// A minute of the soak benchmark as a test: Lookpane, driven as a user would over an animated
// source whose windows keep changing, stays alive, hands back every X resource it took, and its
// resident memory stays within a bound.
#include "SoakRun.h"
#include "XClientResources.h"
#include "XvfbServer.h"

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <unistd.h>

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
