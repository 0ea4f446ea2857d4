// Which Qt platform Lookpane starts on, from QT_QPA_PLATFORM: X11 always, or a clear refusal.
#include "app/CommandLine.h"

#include <gtest/gtest.h>

using namespace lookpane;

TEST(PlatformChoice, UnsetOrEmptyMeansXcb)
{
    for (const QByteArray &requested : {QByteArray(), QByteArray("  ")}) {
        const PlatformChoice choice = choosePlatform(requested);
        EXPECT_EQ(choice.platform, QByteArray("xcb"));
        EXPECT_FALSE(choice.problem.has_value());
    }
}

TEST(PlatformChoice, XcbKeepsItsOptions)
{
    EXPECT_EQ(choosePlatform("xcb").platform, QByteArray("xcb"));
    EXPECT_EQ(choosePlatform("xcb:nograb").platform, QByteArray("xcb:nograb"));
    EXPECT_EQ(choosePlatform("XCB").platform, QByteArray("XCB"));
}

TEST(PlatformChoice, TheXcbEntryOfAListIsTakenWhereverItStands)
{
    // A Wayland session's usual setting: Lookpane then runs on XWayland.
    const PlatformChoice choice = choosePlatform("wayland;xcb");
    EXPECT_EQ(choice.platform, QByteArray("xcb"));
    EXPECT_FALSE(choice.problem.has_value());
    EXPECT_EQ(choosePlatform("wayland-egl; xcb:nograb ;offscreen").platform,
              QByteArray("xcb:nograb"));
}

TEST(PlatformChoice, AnyOtherPlatformAloneIsRefusedInOneLineNamingIt)
{
    for (const char *requested :
         {"offscreen", "minimal", "wayland", "wayland;eglfs", "vnc:size=800x600"}) {
        const PlatformChoice choice = choosePlatform(requested);
        ASSERT_TRUE(choice.problem.has_value()) << requested;
        EXPECT_TRUE(choice.platform.isEmpty()) << requested;
        EXPECT_TRUE(
            choice.problem->contains(QStringLiteral("\"%1\"").arg(QLatin1String(requested))))
            << choice.problem->toStdString();
        EXPECT_TRUE(choice.problem->contains(QStringLiteral("xcb")));
        EXPECT_FALSE(choice.problem->contains(QLatin1Char('\n')));
    }
}

TEST(PlatformChoice, APlatformWhoseNameMerelyContainsXcbIsNotXcb)
{
    EXPECT_TRUE(choosePlatform("xcb-egl-experimental").problem.has_value());
    EXPECT_TRUE(choosePlatform("myxcb").problem.has_value());
}
