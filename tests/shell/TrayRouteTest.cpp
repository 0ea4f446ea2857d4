// Where the tray icon goes, for every combination of the desktop's trays, and whether it shows.
#include "shell/TrayRoute.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {

TrayPresence trays(bool statusNotifierHost, bool xembedTray, bool xembedFollowed = true)
{
    TrayPresence presence;
    presence.statusNotifierHost = statusNotifierHost;
    presence.xembedTray = xembedTray;
    presence.xembedFollowed = xembedFollowed;
    return presence;
}

} // namespace

TEST(TrayRoute, WithoutAnyTrayTheIconWaits)
{
    EXPECT_EQ(chooseTrayRoute(trays(false, false)), TrayRoute::undecided);
}

TEST(TrayRoute, AStatusNotifierHostTakesTheIcon)
{
    EXPECT_EQ(chooseTrayRoute(trays(true, false)), TrayRoute::statusNotifier);
}

TEST(TrayRoute, AnXEmbedTrayTakesTheIconWhereNoHostIsRegistered)
{
    EXPECT_EQ(chooseTrayRoute(trays(false, true)), TrayRoute::xembed);
}

TEST(TrayRoute, WithBothTheStatusNotifierHostWinsAsInQt)
{
    EXPECT_EQ(chooseTrayRoute(trays(true, true)), TrayRoute::statusNotifier);
}

TEST(TrayRoute, WhereAnXEmbedTrayCannotBeFollowedTheIconIsMadeAtOnce)
{
    EXPECT_EQ(chooseTrayRoute(trays(false, false, false)), TrayRoute::xembed);
    EXPECT_EQ(chooseTrayRoute(trays(true, false, false)), TrayRoute::statusNotifier);
}

TEST(TrayRoute, NoIconShowsNowhere)
{
    EXPECT_FALSE(isTrayShowing(TrayRoute::undecided, trays(true, true)));
}

TEST(TrayRoute, AStatusNotifierItemShowsOnlyWhileAHostIsRegistered)
{
    EXPECT_TRUE(isTrayShowing(TrayRoute::statusNotifier, trays(true, false)));
    EXPECT_FALSE(isTrayShowing(TrayRoute::statusNotifier, trays(false, false)));
    // An XEmbed tray does not show an icon that went the StatusNotifier way.
    EXPECT_FALSE(isTrayShowing(TrayRoute::statusNotifier, trays(false, true)));
}

TEST(TrayRoute, AnXEmbedIconShowsOnlyWhileATrayRuns)
{
    EXPECT_TRUE(isTrayShowing(TrayRoute::xembed, trays(false, true)));
    EXPECT_FALSE(isTrayShowing(TrayRoute::xembed, trays(false, false)));
    // A StatusNotifier panel that starts later does not take an XEmbed icon.
    EXPECT_FALSE(isTrayShowing(TrayRoute::xembed, trays(true, false)));
    EXPECT_TRUE(isTrayShowing(TrayRoute::xembed, trays(true, true)));
}
