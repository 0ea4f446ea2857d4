// Window traits on Qt's own connection: a request that the server refuses comes back as
// false with a warning that names it, instead of reaching Qt's error handler unexplained.
#include "LoggedMessages.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/X11WindowTraits.h"
#include "platform/x11/XErrors.h"

#include <gtest/gtest.h>

#include <QWidget>

using namespace lookpane;
using lookpane::testing::LoggedMessages;

TEST(WindowTraits, RoleIsSetWithoutAWord)
{
    QWidget window;
    window.resize(120, 80);
    LoggedMessages log;
    EXPECT_TRUE(X11WindowTraits::setWindowRole(&window, "frame"));
    EXPECT_TRUE(log.all().empty());
}

TEST(WindowTraits, AWindowDestroyedBehindQtsBackIsRefusedAndLogged)
{
    xcb_connection_t *c = x11::applicationConnection();
    ASSERT_NE(c, nullptr);
    auto window = std::make_unique<QWidget>();
    window->resize(120, 80);
    const auto id = static_cast<xcb_window_t>(window->winId());
    ASSERT_TRUE(window->testAttribute(Qt::WA_WState_Created));
    // Any client may destroy any window; this one goes while Qt still holds it.
    ASSERT_FALSE(x11::checkRequest(c, xcb_destroy_window_checked(c, id), lcPlatformX11()));

    LoggedMessages log;
    EXPECT_FALSE(
        X11WindowTraits::setInputRegion(window.get(), X11WindowTraits::edgeBands({120, 80}, 12)));
    const auto warnings = log.ofType(QtWarningMsg);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].category, QStringLiteral("lookpane.platform.x11"));
    EXPECT_TRUE(warnings[0].text.contains(QStringLiteral("BadWindow")))
        << warnings[0].text.toStdString();
    EXPECT_TRUE(warnings[0].text.contains(QStringLiteral("SHAPE Rectangles")))
        << warnings[0].text.toStdString();
}
