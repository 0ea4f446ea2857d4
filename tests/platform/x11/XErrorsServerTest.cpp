// X errors from a real server: a request on a window that another client destroyed is a
// routine error and logs no warning; a request that fails on our own resource is a warning
// that names it. Both for errors waited for (checked requests) and for errors that arrive in
// the event queue.
#include "LoggedMessages.h"
#include "TestDisplay.h"

#include "platform/x11/XErrors.h"
#include "platform/x11/XcbConnection.h"

#include <gtest/gtest.h>

using namespace lookpane;
using namespace lookpane::x11;
using lookpane::testing::LoggedMessages;
using lookpane::testing::ScopedFilterRules;
using lookpane::testing::testDisplay;

namespace {

class XErrorsOnServer : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_ours.isValid()) << m_ours.failure().toStdString();
        ASSERT_TRUE(m_other.isValid()) << m_other.failure().toStdString();
    }

    // A window of the other client, destroyed again: what a window that vanished under a
    // request looks like to us.
    xcb_window_t destroyedWindowOfAnotherClient()
    {
        xcb_connection_t *c = m_other.get();
        const xcb_window_t window = xcb_generate_id(c);
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, m_other.root(), 0, 0, 16, 16, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        EXPECT_FALSE(m_other.check(xcb_destroy_window_checked(c, window)));
        return window;
    }

    // CreatePixmap with depth 0, which no screen offers: BadValue on a pixmap of our own.
    xcb_void_cookie_t createPixmapOfNoDepth(bool checked)
    {
        xcb_connection_t *c = m_ours.get();
        const xcb_pixmap_t pixmap = xcb_generate_id(c);
        return checked ? xcb_create_pixmap_checked(c, 0, pixmap, m_ours.root(), 8, 8)
                       : xcb_create_pixmap(c, 0, pixmap, m_ours.root(), 8, 8);
    }

    XcbConnection m_ours{testDisplay().displayName()};
    XcbConnection m_other{testDisplay().displayName()};
};

bool mentions(const LoggedMessages::Message &message, const char *text)
{
    return message.text.contains(QLatin1String(text));
}

} // namespace

TEST_F(XErrorsOnServer, RequestOnAWindowThatAnotherClientDestroyedIsRoutine)
{
    const xcb_window_t window = destroyedWindowOfAnotherClient();
    LoggedMessages log;
    const std::optional<XError> error = m_ours.check(xcb_map_window_checked(m_ours.get(), window));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code, XCB_WINDOW);
    EXPECT_EQ(error->resource, window);
    EXPECT_FALSE(m_ours.errorCodes().isOwnResource(window));
    EXPECT_EQ(classify(*error, m_ours.errorCodes()), XErrorClass::routine);
    EXPECT_TRUE(log.ofType(QtWarningMsg).empty());
}

TEST_F(XErrorsOnServer, FailingRequestOnOurOwnPixmapIsAWarningWithItsOpcode)
{
    LoggedMessages log;
    const std::optional<XError> error = m_ours.check(createPixmapOfNoDepth(true));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code, XCB_VALUE);
    EXPECT_EQ(error->majorOpcode, XCB_CREATE_PIXMAP);
    EXPECT_EQ(classify(*error, m_ours.errorCodes()), XErrorClass::failure);
    const auto warnings = log.ofType(QtWarningMsg);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].category, QStringLiteral("lookpane.platform.x11"));
    EXPECT_TRUE(mentions(warnings[0], "BadValue")) << warnings[0].text.toStdString();
    EXPECT_TRUE(mentions(warnings[0], "CreatePixmap (major opcode 53, minor opcode 0)"))
        << warnings[0].text.toStdString();
}

TEST_F(XErrorsOnServer, QueuedErrorsAreSortedLikeCheckedOnes)
{
    const ScopedFilterRules rules(QStringLiteral("lookpane.platform.x11.debug=true"));
    const xcb_window_t window = destroyedWindowOfAnotherClient();
    LoggedMessages log;
    // Unchecked: the errors come back as events, as in the capture loop.
    xcb_map_window(m_ours.get(), window);
    createPixmapOfNoDepth(false);
    ASSERT_TRUE(m_ours.sync());
    m_ours.reportQueuedErrors();

    const auto warnings = log.ofType(QtWarningMsg);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_TRUE(mentions(warnings[0], "CreatePixmap")) << warnings[0].text.toStdString();
    const auto debug = log.ofType(QtDebugMsg);
    ASSERT_EQ(debug.size(), 1u);
    EXPECT_TRUE(mentions(debug[0], "BadWindow")) << debug[0].text.toStdString();
    EXPECT_TRUE(mentions(debug[0], "MapWindow")) << debug[0].text.toStdString();
}

TEST_F(XErrorsOnServer, ServerNumberingIsReadFromTheConnection)
{
    const XErrorCodes &codes = m_ours.errorCodes();
    // The private server runs with Composite, RENDER, DAMAGE and XFIXES, as capture needs.
    for (const char *name : {"Composite", "RENDER", "DAMAGE", "XFIXES"}) {
        const XExtensionCodes *extension = codes.extension(name);
        ASSERT_NE(extension, nullptr) << name;
        EXPECT_GE(extension->majorOpcode, 128) << name;
        EXPECT_EQ(codes.extensionOfRequest(extension->majorOpcode), extension) << name;
    }
    EXPECT_TRUE(codes.isOwnResource(xcb_generate_id(m_ours.get())));
    EXPECT_FALSE(codes.isOwnResource(xcb_generate_id(m_other.get())));
}
