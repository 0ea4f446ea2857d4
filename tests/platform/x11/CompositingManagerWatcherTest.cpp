// The compositing manager watch against a real X server: xcompmgr started and killed, and
// another client taking and dropping the selection the way compositing managers do.
#include "QtWait.h"
#include "TestDisplay.h"
#include "XvfbServer.h"

#include "platform/x11/CompositingManagerWatcher.h"
#include "platform/x11/XAtoms.h"
#include "platform/x11/XReply.h"
#include "platform/x11/XcbConnection.h"

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <string>
#include <vector>

using namespace lookpane;
using lookpane::testing::testDisplay;
using lookpane::testing::waitUntil;

namespace {

// The changes a watcher reported, in order.
struct Reports
{
    explicit Reports(x11::CompositingManagerWatcher &watcher)
    {
        QObject::connect(&watcher, &x11::CompositingManagerWatcher::runningChanged,
                         [this](bool running) { seen.push_back(running); });
    }

    std::vector<bool> seen;
};

// Another client on the test display that owns selections with windows of its own, as a
// compositing manager does.
class SelectionClient
{
public:
    SelectionClient() : m_connection(xcb_connect(testDisplay().displayName().c_str(), nullptr))
    {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    }

    bool isConnected() const { return xcb_connection_has_error(m_connection.get()) == 0; }

    xcb_window_t createWindow()
    {
        const xcb_window_t window = xcb_generate_id(m_connection.get());
        xcb_create_window(m_connection.get(), XCB_COPY_FROM_PARENT, window, m_root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        return window;
    }

    // Takes `selection` with `window`, and waits until the server has done it.
    void own(const std::string &selection, xcb_window_t window)
    {
        xcb_set_selection_owner(m_connection.get(), window, atom(selection), XCB_CURRENT_TIME);
        roundTrip();
    }

    void destroy(xcb_window_t window)
    {
        xcb_destroy_window(m_connection.get(), window);
        roundTrip();
    }

    void disconnect() { m_connection.reset(); }

private:
    xcb_atom_t atom(const std::string &name) { return x11::internAtom(m_connection.get(), name); }

    void roundTrip()
    {
        const x11::Reply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
            m_connection.get(), xcb_get_input_focus(m_connection.get()), nullptr));
    }

    x11::OwnedConnection m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
};

} // namespace

TEST(CompositingManagerWatcher, WithoutACompositingManagerItSaysNoneAndWatches)
{
    x11::CompositingManagerWatcher watcher;
    EXPECT_TRUE(watcher.isWatching());
    EXPECT_FALSE(watcher.isRunning());
}

TEST(CompositingManagerWatcher, FindsACompositingManagerThatRanBeforeIt)
{
    ASSERT_TRUE(testDisplay().startCompositor());
    x11::CompositingManagerWatcher watcher;
    EXPECT_TRUE(watcher.isRunning());
}

TEST(CompositingManagerWatcher, ReportsXcompmgrStartingAndBeingKilled)
{
    x11::CompositingManagerWatcher watcher;
    Reports reports(watcher);
    ASSERT_TRUE(testDisplay().startCompositor());
    ASSERT_TRUE(waitUntil([&] { return watcher.isRunning(); }));
    // Killed, xcompmgr never gives the selection up itself: the server drops it with the
    // client.
    testDisplay().stopCompositor();
    ASSERT_TRUE(waitUntil([&] { return !watcher.isRunning(); }));
    EXPECT_EQ(reports.seen, (std::vector<bool>{true, false}));

    // And once more: the watch goes on after the first departure.
    ASSERT_TRUE(testDisplay().startCompositor());
    EXPECT_TRUE(waitUntil([&] { return watcher.isRunning(); }));
    EXPECT_EQ(reports.seen, (std::vector<bool>{true, false, true}));
}

TEST(CompositingManagerWatcher, AnOwnerWhoseWindowIsDestroyedHasLeft)
{
    SelectionClient client;
    ASSERT_TRUE(client.isConnected());
    x11::CompositingManagerWatcher watcher;
    Reports reports(watcher);
    const xcb_window_t window = client.createWindow();
    client.own("_NET_WM_CM_S0", window);
    ASSERT_TRUE(waitUntil([&] { return watcher.isRunning(); }));
    client.destroy(window);
    EXPECT_TRUE(waitUntil([&] { return !watcher.isRunning(); }));
    EXPECT_EQ(reports.seen, (std::vector<bool>{true, false}));
}

TEST(CompositingManagerWatcher, OneCompositingManagerReplacingAnotherKeepsItRunning)
{
    SelectionClient first;
    SelectionClient second;
    ASSERT_TRUE(first.isConnected() && second.isConnected());
    first.own("_NET_WM_CM_S0", first.createWindow());
    x11::CompositingManagerWatcher watcher;
    Reports reports(watcher);
    ASSERT_TRUE(watcher.isRunning());

    // The newcomer takes the selection; the old one then leaves.
    second.own("_NET_WM_CM_S0", second.createWindow());
    first.disconnect();
    // The newcomer's own departure is the sentinel: every event before it has been handled
    // when it is reported.
    second.disconnect();
    ASSERT_TRUE(waitUntil([&] { return !watcher.isRunning(); }));
    EXPECT_EQ(reports.seen, (std::vector<bool>{false}));
}

TEST(CompositingManagerWatcher, OtherSelectionsChangeNothing)
{
    SelectionClient client;
    ASSERT_TRUE(client.isConnected());
    x11::CompositingManagerWatcher watcher;
    Reports reports(watcher);
    // Another screen's compositing manager and the system tray of this one.
    client.own("_NET_WM_CM_S1", client.createWindow());
    client.own("_NET_SYSTEM_TRAY_S0", client.createWindow());
    // The sentinel: this screen's selection, taken after the others.
    client.own("_NET_WM_CM_S0", client.createWindow());
    ASSERT_TRUE(waitUntil([&] { return watcher.isRunning(); }));
    EXPECT_EQ(reports.seen, (std::vector<bool>{true}));
}

TEST(CompositingManagerWatcher, NothingIsReportedAfterItIsGone)
{
    SelectionClient client;
    ASSERT_TRUE(client.isConnected());
    std::vector<bool> seen;
    {
        x11::CompositingManagerWatcher gone;
        QObject::connect(&gone, &x11::CompositingManagerWatcher::runningChanged,
                         [&](bool running) { seen.push_back(running); });
    }
    // A watcher made afterwards sees the change: the one that went would have had it by then.
    x11::CompositingManagerWatcher watcher;
    client.own("_NET_WM_CM_S0", client.createWindow());
    ASSERT_TRUE(waitUntil([&] { return watcher.isRunning(); }));
    EXPECT_TRUE(seen.empty());
}
