// A window's EWMH type set in place of Qt's "normal", and kept there: before the window manager
// takes the window in, and whenever Qt writes its own list again.
#include "LoggedMessages.h"
#include "QtWait.h"
#include "TestDisplay.h"
#include "WindowPicker.h"
#include "XSync.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/X11WindowTraits.h"
#include "platform/x11/XAtoms.h"
#include "platform/x11/XReply.h"
#include "platform/x11/XcbConnection.h"

#include <gtest/gtest.h>

#include <QWidget>
#include <QWindow>

#include <xcb/xcb.h>

using namespace lookpane;
using namespace lookpane::testing;
using X11WindowTraits::WindowType;

namespace {

const QString normal = QStringLiteral("_NET_WM_WINDOW_TYPE_NORMAL");
const QString utility = QStringLiteral("_NET_WM_WINDOW_TYPE_UTILITY");
const QString dialog = QStringLiteral("_NET_WM_WINDOW_TYPE_DIALOG");
const QString kdeOverride = QStringLiteral("_KDE_NET_WM_WINDOW_TYPE_OVERRIDE");

QStringList typesOf(QWidget *window)
{
    return windowTypeNames(testDisplay().displayName(), x11::windowId(window));
}

// The types as the server holds them between Qt's own requests: read on Qt's connection, so
// that everything Qt sent before is in, and nothing the event loop would do yet.
QStringList typesBeforeTheEventLoopRuns(QWidget *window)
{
    xcb_connection_t *c = x11::applicationConnection();
    const char name[] = "_NET_WM_WINDOW_TYPE";
    const x11::Reply<xcb_intern_atom_reply_t> property(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr));
    if (!property) {
        return {};
    }
    const x11::Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, x11::windowId(window), property->atom, XCB_ATOM_ATOM, 0, 64),
        nullptr));
    QStringList types;
    if (!reply || reply->format != 32) {
        return types;
    }
    const auto *atoms = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
    for (int i = 0; i < xcb_get_property_value_length(reply.get()) / 4; ++i) {
        types.append(x11::atomName(c, atoms[i]));
    }
    return types;
}

// The actions the window manager allows on the window (_NET_WM_ALLOWED_ACTIONS), by atom
// name: it decides them by the window's type when it takes the window in.
QStringList allowedActions(QWidget *window)
{
    const x11::OwnedConnection connection(
        xcb_connect(testDisplay().displayName().c_str(), nullptr));
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c)) {
        return {};
    }
    const char name[] = "_NET_WM_ALLOWED_ACTIONS";
    const x11::Reply<xcb_intern_atom_reply_t> property(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr));
    if (!property) {
        return {};
    }
    const x11::Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, x11::windowId(window), property->atom, XCB_ATOM_ATOM, 0, 64),
        nullptr));
    QStringList actions;
    if (!reply || reply->format != 32) {
        return actions;
    }
    const auto *atoms = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
    for (int i = 0; i < xcb_get_property_value_length(reply.get()) / 4; ++i) {
        const x11::Reply<xcb_get_atom_name_reply_t> atomName(
            xcb_get_atom_name_reply(c, xcb_get_atom_name(c, atoms[i]), nullptr));
        if (atomName) {
            actions.append(QString::fromLatin1(xcb_get_atom_name_name(atomName.get()),
                                               xcb_get_atom_name_name_length(atomName.get())));
        }
    }
    return actions;
}

// Whether a window manager holds the window in a frame of its own.
bool isFramed(QWidget *window)
{
    const x11::OwnedConnection connection(
        xcb_connect(testDisplay().displayName().c_str(), nullptr));
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c)) {
        return false;
    }
    const x11::Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, x11::windowId(window)), nullptr));
    return tree && tree->parent != tree->root;
}

// Taken in and told what it may do.
bool isManaged(QWidget *window)
{
    return isFramed(window) && !allowedActions(window).isEmpty();
}

} // namespace

TEST(WindowType, TakesThePlaceOfNormalAndQtsOtherTypesStayInTheirOrder)
{
    // Qt gives a frameless window KDE's "override" type and "normal" after it.
    QWidget box(nullptr, Qt::Window | Qt::FramelessWindowHint);
    box.resize(200, 120);
    ASSERT_TRUE(X11WindowTraits::setWindowType(&box, WindowType::utility));
    box.show();
    ASSERT_TRUE(waitUntil([&] { return box.windowHandle() && box.windowHandle()->isExposed(); }));
    EXPECT_EQ(typesOf(&box), (QStringList{kdeOverride, utility}));
}

TEST(WindowType, AnOrdinaryWindowGetsTheTypeAlone)
{
    QWidget settings;
    settings.resize(200, 120);
    settings.winId();
    ASSERT_EQ(typesOf(&settings), QStringList{normal}) << "Qt's own type for a plain window";
    EXPECT_TRUE(X11WindowTraits::setWindowType(&settings, WindowType::dialog));
    EXPECT_EQ(typesOf(&settings), QStringList{dialog}) << "a created window gets it at once";
}

TEST(WindowType, ATypeThatQtAlreadyListsIsNotListedTwice)
{
    QWidget toolbar(nullptr, Qt::Tool | Qt::FramelessWindowHint);
    toolbar.resize(200, 40);
    toolbar.winId();
    ASSERT_EQ(typesOf(&toolbar), (QStringList{utility, kdeOverride, normal}));
    EXPECT_TRUE(X11WindowTraits::setWindowType(&toolbar, WindowType::utility));
    EXPECT_EQ(typesOf(&toolbar), (QStringList{utility, kdeOverride}));
}

TEST(WindowType, TheTypeAskedForLastIsKept)
{
    QWidget window;
    window.resize(200, 120);
    ASSERT_TRUE(X11WindowTraits::setWindowType(&window, WindowType::utility));
    ASSERT_TRUE(X11WindowTraits::setWindowType(&window, WindowType::dialog));
    window.show();
    ASSERT_TRUE(waitUntil([&] { return window.windowHandle()->isExposed(); }));
    EXPECT_EQ(typesOf(&window), QStringList{dialog});
    // Whatever was queued when the window showed has run, and what it asked of the server
    // has been carried out.
    ASSERT_TRUE(handlePostedEvents());
    ASSERT_TRUE(applicationRequestsDone());
    EXPECT_EQ(typesOf(&window), QStringList{dialog}) << "an earlier keeper wrote its type again";
}

TEST(WindowType, OnlyTopLevelWidgetsHaveOne)
{
    QWidget window;
    QWidget child(&window);
    LoggedMessages log;
    EXPECT_FALSE(X11WindowTraits::setWindowType(&child, WindowType::utility));
    EXPECT_FALSE(X11WindowTraits::setWindowType(nullptr, WindowType::utility));
    EXPECT_TRUE(log.all().empty());
}

// Window managers read the type when they take a window in, and never again: it must be on
// the window before it is mapped. Openbox lets normal windows go full screen, and utility
// windows not.
TEST(WindowType, TheWindowManagerTakesTheWindowInWithTheType)
{
    ASSERT_TRUE(testDisplay().startWindowManager());
    QWidget ordinary;
    ordinary.setWindowTitle(QStringLiteral("Ordinary"));
    ordinary.resize(200, 120);
    QWidget tool;
    tool.setWindowTitle(QStringLiteral("Tool"));
    tool.resize(200, 120);
    ASSERT_TRUE(X11WindowTraits::setWindowType(&tool, WindowType::utility));
    ordinary.show();
    tool.show();
    ASSERT_TRUE(waitUntil([&] { return isManaged(&ordinary) && isManaged(&tool); }));
    EXPECT_TRUE(allowedActions(&ordinary).contains("_NET_WM_ACTION_FULLSCREEN"))
        << "openbox no longer lets normal windows go full screen; this test then checks nothing";
    EXPECT_FALSE(allowedActions(&tool).contains("_NET_WM_ACTION_FULLSCREEN"))
        << "openbox took the window in as a normal one";

    // And again after the window was hidden: a window manager takes it in anew at each show.
    tool.hide();
    ASSERT_TRUE(waitUntil([&] { return !isFramed(&tool); }));
    tool.show();
    ASSERT_TRUE(waitUntil([&] { return isManaged(&tool); }));
    EXPECT_FALSE(allowedActions(&tool).contains("_NET_WM_ACTION_FULLSCREEN"));
}

// Qt writes its list again whenever the window's flags change.
TEST(WindowType, ComesBackAfterQtWritesItsOwnTypesAgain)
{
    QWidget box(nullptr, Qt::Window | Qt::FramelessWindowHint);
    box.resize(200, 120);
    ASSERT_TRUE(X11WindowTraits::setWindowType(&box, WindowType::utility));
    box.show();
    ASSERT_TRUE(waitUntil([&] { return box.windowHandle()->isExposed(); }));
    ASSERT_EQ(typesOf(&box), (QStringList{kdeOverride, utility}));

    box.windowHandle()->setFlag(Qt::WindowStaysOnTopHint, true);
    ASSERT_TRUE(typesBeforeTheEventLoopRuns(&box).contains(normal))
        << "Qt no longer writes its types when the flags change; this test then checks nothing";
    EXPECT_TRUE(waitUntil([&] {
        return typesOf(&box) == QStringList{kdeOverride, utility};
    })) << typesOf(&box).join(", ").toStdString();
}

// A stay-on-top flag changed since the last show makes Qt create a new X window at the next one.
TEST(WindowType, AWindowThatQtCreatesAnewGetsTheTypeToo)
{
    QWidget box(nullptr, Qt::Window | Qt::FramelessWindowHint);
    box.resize(200, 120);
    ASSERT_TRUE(X11WindowTraits::setWindowType(&box, WindowType::utility));
    box.show();
    ASSERT_TRUE(waitUntil([&] { return box.windowHandle()->isExposed(); }));
    const WId before = box.windowHandle()->winId();
    box.hide();
    box.windowHandle()->setFlag(Qt::WindowStaysOnTopHint, true);
    box.show();
    // Created and mapped inside Qt, with no way to step in before: Qt's types come first.
    const QStringList mappedWith = typesBeforeTheEventLoopRuns(&box);
    EXPECT_NE(box.windowHandle()->winId(), before)
        << "Qt no longer creates the window anew; this test then checks less than it says";
    EXPECT_TRUE(mappedWith.contains(normal)) << mappedWith.join(", ").toStdString();
    EXPECT_TRUE(waitUntil([&] {
        return typesOf(&box) == QStringList{kdeOverride, utility};
    })) << typesOf(&box).join(", ").toStdString();
}
