// The watch on the screens, with monitors plugged into and out of the test's own X server.
#include "QtWait.h"
#include "TestDisplay.h"

#include "frame/ScreenWatcher.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>

#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

int screenCount()
{
    return static_cast<int>(QGuiApplication::screens().size());
}

} // namespace

TEST(ScreenWatcher, MonitorsPluggedInAndOutAreReportedOnceQtHasTheNewScreens)
{
    ScreenWatcher watcher;
    // How many screens there were at each report: the report comes when Qt has applied the
    // change, so the screens read then are the new ones.
    std::vector<int> countsAtReports;
    QObject::connect(&watcher, &ScreenWatcher::screensChanged,
                     [&] { countsAtReports.push_back(screenCount()); });
    const int before = screenCount();

    ASSERT_TRUE(testDisplay().addMonitor({"Extra", QRect(960, 0, 960, 540), false}));
    ASSERT_TRUE(waitUntil([&] { return !countsAtReports.empty(); }));
    EXPECT_EQ(countsAtReports.front(), before + 1);

    ASSERT_TRUE(testDisplay().removeMonitor("Extra"));
    ASSERT_TRUE(waitUntil([&] { return countsAtReports.back() == before; }));
}
