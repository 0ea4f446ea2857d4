// The frame watcher against a real window manager: a window manager's frame must end up with
// the window's input shape, even when the window manager loses it after framing the window.
#include "QtWait.h"
#include "TestDisplay.h"
#include "XvfbServer.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/X11FrameWatcher.h"
#include "platform/x11/X11WindowTraits.h"
#include "platform/x11/XErrors.h"
#include "platform/x11/XReply.h"
#include "platform/x11/XcbConnection.h"

#include <gtest/gtest.h>

#include <QWidget>

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <memory>

using namespace lookpane;
using lookpane::testing::testDisplay;
using lookpane::testing::waitUntil;

namespace {

const QSize windowSize(300, 200);

std::vector<QRect> bands()
{
    return X11WindowTraits::edgeBands(windowSize, 12);
}

xcb_window_t parentOf(xcb_window_t window)
{
    xcb_connection_t *c = x11::applicationConnection();
    const x11::Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
    if (!tree || tree->parent == tree->root) {
        return XCB_WINDOW_NONE;
    }
    return tree->parent;
}

// A window shaped to its edge bands whenever the watcher reports it.
struct ShapedWindow
{
    ShapedWindow()
    {
        window.setWindowFlag(Qt::FramelessWindowHint);
        window.resize(windowSize);
        watcher.watch(&window);
        QObject::connect(&watcher, &x11::X11FrameWatcher::reframed, &window, [this] {
            ++reports;
            X11WindowTraits::setInputRegion(&window, bands());
        });
    }

    QWidget window;
    x11::X11FrameWatcher watcher;
    int reports = 0;
};

} // namespace

TEST(FrameWatcher, AnUnframedWindowFollowsItsOwnShape)
{
    testDisplay().stopWindowManager();
    QWidget window;
    window.resize(windowSize);
    window.show();
    ASSERT_TRUE(waitUntil([&] { return window.isVisible() && window.windowHandle(); }));
    ASSERT_TRUE(X11WindowTraits::setInputRegion(&window, bands()));
    EXPECT_TRUE(x11::X11FrameWatcher::frameFollowsInputShape(&window));
}

TEST(FrameWatcher, ANullWindowDoesNotCountAsFollowing)
{
    EXPECT_FALSE(x11::X11FrameWatcher::frameFollowsInputShape(nullptr));
}

// A window manager of the test's own on a connection of its own: it frames one window and
// copies the window's input shape onto its frame when told the shape changed, except for the
// first notice, which it misses, as a window manager that has just taken over can.
class ForgetfulWindowManager
{
public:
    explicit ForgetfulWindowManager(xcb_window_t client)
        : m_connection(xcb_connect(testDisplay().displayName().c_str(), nullptr)), m_client(client)
    {
        xcb_connection_t *c = m_connection.get();
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
        m_frame = xcb_generate_id(c);
        const uint32_t overrideRedirect = 1;
        xcb_create_window(c, XCB_COPY_FROM_PARENT, m_frame, screen->root, 100, 100,
                          windowSize.width(), windowSize.height(), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen->root_visual, XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
        xcb_shape_select_input(c, m_client, 1);
        xcb_map_window(c, m_frame);
        xcb_reparent_window(c, m_client, m_frame, 0, 0);
        xcb_flush(c);
    }
    ~ForgetfulWindowManager() { xcb_destroy_window(m_connection.get(), m_frame); }

    xcb_window_t frame() const { return m_frame; }
    int noticesSeen() const { return m_notices; }

    // Handles what has arrived so far.
    void handleEvents()
    {
        xcb_connection_t *c = m_connection.get();
        const xcb_query_extension_reply_t *shape = xcb_get_extension_data(c, &xcb_shape_id);
        while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(c)}) {
            if (!shape || (event->response_type & 0x7f) != shape->first_event) {
                continue;
            }
            const auto *notify = reinterpret_cast<const xcb_shape_notify_event_t *>(event.get());
            if (notify->shape_kind != XCB_SHAPE_SK_INPUT || ++m_notices == 1) {
                continue;
            }
            xcb_shape_combine(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_SHAPE_SK_INPUT, m_frame,
                              0, 0, m_client);
            xcb_flush(c);
        }
    }

private:
    x11::OwnedConnection m_connection;
    xcb_window_t m_client;
    xcb_window_t m_frame = XCB_WINDOW_NONE;
    int m_notices = 0;
};

TEST(FrameWatcher, AShapeTheWindowManagerMissedAfterFramingIsSetAgain)
{
    testDisplay().stopWindowManager();
    ShapedWindow shaped;
    shaped.window.show();
    ASSERT_TRUE(
        waitUntil([&] { return shaped.window.isVisible() && shaped.window.windowHandle(); }));

    ForgetfulWindowManager windowManager(x11::windowId(&shaped.window));
    ASSERT_TRUE(waitUntil(
        [&] { return parentOf(x11::windowId(&shaped.window)) == windowManager.frame(); }));
    // The shape set when the window was framed is missed; the frame then takes every click
    // until the watcher notices and the window is shaped again.
    EXPECT_TRUE(waitUntil([&] {
        windowManager.handleEvents();
        return windowManager.noticesSeen() >= 2 &&
               x11::X11FrameWatcher::frameFollowsInputShape(&shaped.window);
    }));
    EXPECT_GE(shaped.reports, 2);
}

TEST(FrameWatcher, AWindowTakenIntoAFrameIsReported)
{
    testDisplay().stopWindowManager();
    ShapedWindow shaped;
    shaped.window.show();
    ASSERT_TRUE(
        waitUntil([&] { return shaped.window.windowHandle() && shaped.window.isVisible(); }));
    const int reportsBefore = shaped.reports;
    ASSERT_TRUE(testDisplay().startWindowManager());
    EXPECT_TRUE(waitUntil([&] { return shaped.reports > reportsBefore; }));
    EXPECT_TRUE(
        waitUntil([&] { return x11::X11FrameWatcher::frameFollowsInputShape(&shaped.window); }));
    testDisplay().stopWindowManager();
}
