// Click-through as X11 input shapes: the interior of a window lets clicks reach the window
// beneath, the edge bands take them.
#include "EventCounter.h"
#include "PatternWindow.h"
#include "QtWait.h"
#include "TestDisplay.h"
#include "XInput.h"
#include "XReadback.h"
#include "XSync.h"

#include "frame/BorderlessWindow.h"
#include "platform/x11/X11WindowTraits.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

void xdotool(const std::vector<std::string> &args)
{
    lookpane::testing::xdotool(testDisplay().displayName(), args);
}

// Shows `frame` at `geometry` and waits until the server shows it there.
bool showAt(BorderlessWindow &frame, const QRect &geometry)
{
    frame.setGeometry(geometry);
    frame.show();
    return waitUntil([&] {
        return windowInfo(testDisplay().displayName(), frame.winId())
                   .value_or(WindowInfo{})
                   .viewable &&
               frame.geometry() == geometry;
    });
}

QRect placedGeometry(const PatternWindow &pattern)
{
    return windowInfo(testDisplay().displayName(), pattern.window())
        .value_or(WindowInfo{})
        .geometry;
}

class ClickThrough : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(testDisplay().startWindowManager()); }
};

} // namespace

TEST_F(ClickThrough, InteriorClicksReachTheWindowBeneathAndEdgeBandsTakeThem)
{
    PatternWindow pattern(testDisplay().displayName(),
                          PatternWindow::at(QRect(200, 200, 640, 360), Pattern::bars, "Beneath"));
    ASSERT_TRUE(pattern.isShown());
    // Where the window manager put the pattern window's contents (below its title bar).
    const QRect beneath = placedGeometry(pattern);
    const auto at = [&](int x, int y) {
        return std::vector<std::string>{"mousemove", "--sync", std::to_string(beneath.x() + x),
                                        std::to_string(beneath.y() + y)};
    };

    BorderlessWindow frame;
    frame.setWindowFlag(Qt::WindowStaysOnTopHint);
    frame.setGeometry(beneath);
    PressPlaces presses;
    frame.installEventFilter(&presses);
    frame.show();
    waitUntil([&] {
        return windowInfo(testDisplay().displayName(), frame.winId())
            .value_or(WindowInfo{})
            .viewable;
    });
    ASSERT_TRUE(
        X11WindowTraits::setInputRegion(&frame, X11WindowTraits::edgeBands({640, 360}, 12)));
    // The shape is in place before the clicks come.
    ASSERT_TRUE(applicationRequestsDone());
    const auto pressedAt = [&](int x, int y) { return beneath.topLeft() + QPoint(x, y); };

    // Interior: the pattern window gets the click.
    xdotool(at(320, 180));
    xdotool({"click", "1"});
    const std::optional<QPoint> click = pattern.waitForClick(10000);
    ASSERT_TRUE(click.has_value()) << "the click did not pass through the frame";
    EXPECT_EQ(*click, QPoint(320, 180));

    // Left band (x = 5) and top band (y = 5): the frame takes the click. The first press it
    // sees is the left band's: it never had the interior click before it.
    xdotool(at(5, 180));
    xdotool({"click", "1"});
    ASSERT_TRUE(waitUntil([&] { return presses.places.size() >= 1; }));
    EXPECT_EQ(presses.places.front(), pressedAt(5, 180)) << "the frame took the interior click";
    xdotool(at(320, 5));
    xdotool({"click", "1"});
    ASSERT_TRUE(waitUntil([&] { return presses.places.size() >= 2; }));
    EXPECT_EQ(presses.places[1], pressedAt(320, 5));

    // Back to a full input shape: the interior takes clicks again.
    ASSERT_TRUE(X11WindowTraits::clearInputRegion(&frame));
    ASSERT_TRUE(applicationRequestsDone());
    xdotool(at(320, 180));
    xdotool({"click", "1"});
    ASSERT_TRUE(waitUntil([&] { return presses.places.size() >= 3; }));
    EXPECT_EQ(presses.places,
              (std::vector<QPoint>{pressedAt(5, 180), pressedAt(320, 5), pressedAt(320, 180)}));

    // The pattern window had none of the frame's clicks: with an empty input region the next
    // click goes through, and it is the first the pattern window reports since the interior one.
    ASSERT_TRUE(X11WindowTraits::setInputRegion(&frame, {}));
    ASSERT_TRUE(applicationRequestsDone());
    xdotool(at(100, 100));
    xdotool({"click", "1"});
    const std::optional<QPoint> next = pattern.waitForClick(10000);
    ASSERT_TRUE(next.has_value()) << "the click did not pass through the empty input region";
    EXPECT_EQ(*next, QPoint(100, 100)) << "a click the frame took reached the window beneath";
}

TEST_F(ClickThrough, AnEmptyInputRegionLetsEveryClickThrough)
{
    PatternWindow pattern(testDisplay().displayName(),
                          PatternWindow::at(QRect(300, 300, 400, 300), Pattern::checker, "Under"));
    ASSERT_TRUE(pattern.isShown());
    const QRect beneath = placedGeometry(pattern);
    BorderlessWindow frame;
    frame.setWindowFlag(Qt::WindowStaysOnTopHint);
    frame.setGeometry(beneath);
    frame.show();
    waitUntil([&] {
        return windowInfo(testDisplay().displayName(), frame.winId())
            .value_or(WindowInfo{})
            .viewable;
    });
    ASSERT_TRUE(X11WindowTraits::setInputRegion(&frame, {}));
    ASSERT_TRUE(applicationRequestsDone());
    xdotool(
        {"mousemove", "--sync", std::to_string(beneath.x() + 2), std::to_string(beneath.y() + 2)});
    xdotool({"click", "1"});
    const std::optional<QPoint> click = pattern.waitForClick(3000);
    ASSERT_TRUE(click.has_value());
    EXPECT_EQ(*click, QPoint(2, 2));
}

TEST_F(ClickThrough, DraggingTheRightEdgesOutermostPointsResizesAndHoldsTheLockedRatio)
{
    BorderlessWindow frame;
    frame.setMinimumSize(320, 180);
    frame.setAspect(QSize(16, 9));
    int began = 0;
    int ended = 0;
    QObject::connect(&frame, &BorderlessWindow::liveResizeBegan, [&] { ++began; });
    QObject::connect(&frame, &BorderlessWindow::liveResizeEnded, [&] { ++ended; });
    ASSERT_TRUE(showAt(frame, QRect(100, 100, 640, 360)));
    // Two points in from the right edge (the window's last column is x = 739).
    xdotool({"mousemove", "--sync", "737", "280"});
    xdotool({"mousedown", "1"});
    xdotool({"mousemove", "--sync", "897", "280"});
    waitUntil([&] { return frame.width() == 800; });
    xdotool({"mouseup", "1"});
    waitUntil([&] { return ended == 1; });
    EXPECT_EQ(began, 1);
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(frame.geometry(), QRect(100, 100, 800, 450));
}

TEST_F(ClickThrough, TheRestOfAnEdgeBandMovesTheWindowWithAHand)
{
    BorderlessWindow frame;
    frame.setMinimumSize(320, 180);
    frame.setMovableByBackground(true);
    int began = 0;
    QObject::connect(&frame, &BorderlessWindow::liveResizeBegan, [&] { ++began; });
    ASSERT_TRUE(showAt(frame, QRect(100, 100, 640, 360)));
    // Eight points into the left band, halfway down.
    xdotool({"mousemove", "--sync", "108", "280"});
    ASSERT_TRUE(waitUntil([&] { return frame.cursor().shape() == Qt::OpenHandCursor; }));
    xdotool({"mousedown", "1"});
    xdotool({"mousemove", "--sync", "158", "300"});
    xdotool({"mousemove", "--sync", "208", "320"});
    EXPECT_TRUE(waitUntil([&] { return frame.geometry() == QRect(200, 140, 640, 360); }));
    xdotool({"mouseup", "1"});
    EXPECT_EQ(began, 0);

    // The outermost points of the same edge show the resize cursor, a corner the diagonal one.
    xdotool({"mousemove", "--sync", "201", "320"});
    EXPECT_TRUE(waitUntil([&] { return frame.cursor().shape() == Qt::SizeHorCursor; }));
    xdotool({"mousemove", "--sync", "206", "146"});
    EXPECT_TRUE(waitUntil([&] { return frame.cursor().shape() == Qt::SizeFDiagCursor; }));
}

TEST_F(ClickThrough, ACornerResizesBothEdgesHoldingTheLockedRatio)
{
    BorderlessWindow frame;
    frame.setMinimumSize(320, 180);
    frame.setAspect(QSize(16, 9));
    frame.setMovableByBackground(true);
    ASSERT_TRUE(showAt(frame, QRect(100, 100, 640, 360)));
    // Inside the bottom-right corner's band, 8 points in from both edges.
    xdotool({"mousemove", "--sync", "731", "451"});
    xdotool({"mousedown", "1"});
    xdotool({"mousemove", "--sync", "811", "471"});
    xdotool({"mousemove", "--sync", "891", "491"});
    EXPECT_TRUE(waitUntil([&] { return frame.width() == 800; }));
    xdotool({"mouseup", "1"});
    EXPECT_EQ(frame.geometry(), QRect(100, 100, 800, 450));
}
