// The platform's logging category: warnings show, debug messages only once switched on.
#include "LoggedMessages.h"

#include "platform/x11/PlatformX11Log.h"

#include <gtest/gtest.h>

using namespace lookpane;
using lookpane::testing::LoggedMessages;
using lookpane::testing::ScopedFilterRules;

TEST(PlatformLogging, WarningsShowAndDebugIsOffByDefault)
{
    EXPECT_STREQ(lcPlatformX11().categoryName(), "lookpane.platform.x11");
    EXPECT_TRUE(lcPlatformX11().isWarningEnabled());
    EXPECT_FALSE(lcPlatformX11().isDebugEnabled());
    EXPECT_FALSE(lcPlatformX11().isInfoEnabled());

    LoggedMessages log;
    qCDebug(lcPlatformX11) << "not shown";
    qCWarning(lcPlatformX11) << "shown";
    ASSERT_EQ(log.all().size(), 1u);
    EXPECT_EQ(log.all()[0].type, QtWarningMsg);
    EXPECT_EQ(log.all()[0].text, QStringLiteral("shown"));
}

TEST(PlatformLogging, FilterRulesSwitchDebugOutputOn)
{
    {
        const ScopedFilterRules rules(QStringLiteral("lookpane.platform.x11.debug=true"));
        EXPECT_TRUE(lcPlatformX11().isDebugEnabled());
        LoggedMessages log;
        qCDebug(lcPlatformX11) << "now shown";
        ASSERT_EQ(log.all().size(), 1u);
        EXPECT_EQ(log.all()[0].type, QtDebugMsg);
        EXPECT_EQ(log.all()[0].category, QStringLiteral("lookpane.platform.x11"));
        EXPECT_EQ(log.all()[0].text, QStringLiteral("now shown"));
    }
    // The rules gone, the default holds again.
    EXPECT_FALSE(lcPlatformX11().isDebugEnabled());
}

TEST(PlatformLogging, AWildcardRuleReachesEveryLookpaneCategory)
{
    const ScopedFilterRules rules(QStringLiteral("lookpane.*.debug=true"));
    EXPECT_TRUE(lcPlatformX11().isDebugEnabled());
}
