// The pointer monitor on its own X connection: it starts on the private server and reports a
// release of the left button made through XTEST, as one in another application would come.
#include "LoggedMessages.h"
#include "QtWait.h"
#include "TestDisplay.h"
#include "XInput.h"

#include "platform/x11/X11PointerReleaseMonitor.h"

#include <gtest/gtest.h>

using namespace lookpane;
using namespace lookpane::testing;

TEST(PointerReleaseMonitor, ReportsALeftButtonReleaseAnywhere)
{
    LoggedMessages log;
    QString failure;
    const std::unique_ptr<x11::X11PointerReleaseMonitor> monitor =
        x11::X11PointerReleaseMonitor::create(&failure);
    ASSERT_NE(monitor, nullptr) << failure.toStdString();
    int releases = 0;
    QObject::connect(monitor.get(), &x11::X11PointerReleaseMonitor::leftButtonReleased,
                     [&releases] { ++releases; });

    ASSERT_TRUE(xdotool(testDisplay().displayName(), {"mousemove", "5", "5", "click", "1"}));
    EXPECT_TRUE(waitUntil([&] { return releases > 0; }));
    EXPECT_TRUE(log.ofType(QtWarningMsg).empty());
}
