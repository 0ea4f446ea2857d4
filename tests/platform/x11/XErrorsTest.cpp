// Sorting X errors into routine ones and failures, and the text they are logged with, over
// errors made up here for a server with a known numbering of its extensions.
#include "LoggedMessages.h"

#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XErrors.h"

#include <gtest/gtest.h>

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/render.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

using namespace lookpane;
using namespace lookpane::x11;
using lookpane::testing::LoggedMessages;
using lookpane::testing::ScopedFilterRules;

namespace {

// Resource ids 0x00400000 to 0x005FFFFF are this client's; extensions numbered as a typical
// Xorg server numbers them.
constexpr std::uint32_t ownBase = 0x00400000;
constexpr std::uint32_t ownMask = 0x001FFFFF;
constexpr std::uint32_t ownPixmap = ownBase | 0x12;
constexpr std::uint32_t ownWindow = ownBase | 0x05;
constexpr std::uint32_t othersWindow = 0x00a00007;

constexpr std::uint8_t compositeMajor = 142;
constexpr std::uint8_t damageMajor = 143;
constexpr std::uint8_t damageFirstError = 152;
constexpr std::uint8_t renderMajor = 139;
constexpr std::uint8_t renderFirstError = 142;
constexpr std::uint8_t xfixesMajor = 138;
constexpr std::uint8_t xfixesFirstError = 140;
constexpr std::uint8_t shmMajor = 130;
constexpr std::uint8_t shmFirstError = 128;

XErrorCodes serverCodes()
{
    XErrorCodes codes;
    codes.resourceIdBase = ownBase;
    codes.resourceIdMask = ownMask;
    codes.extensions = {
        {"Composite", compositeMajor, 0},          {"DAMAGE", damageMajor, damageFirstError},
        {"RENDER", renderMajor, renderFirstError}, {"XFIXES", xfixesMajor, xfixesFirstError},
        {"MIT-SHM", shmMajor, shmFirstError},
    };
    return codes;
}

XError error(std::uint8_t code, std::uint8_t major, std::uint16_t minor, std::uint32_t resource)
{
    return {code, major, minor, resource};
}

} // namespace

TEST(XErrorClassification, AnotherClientsVanishedWindowIsRoutine)
{
    const XErrorCodes codes = serverCodes();
    EXPECT_EQ(classify(error(XCB_WINDOW, XCB_GET_GEOMETRY, 0, othersWindow), codes),
              XErrorClass::routine);
    EXPECT_EQ(classify(error(XCB_DRAWABLE, XCB_GET_IMAGE, 0, othersWindow), codes),
              XErrorClass::routine);
    EXPECT_EQ(
        classify(error(XCB_WINDOW, compositeMajor, XCB_COMPOSITE_NAME_WINDOW_PIXMAP, othersWindow),
                 codes),
        XErrorClass::routine);
}

TEST(XErrorClassification, ErrorsOnOurOwnWindowAreFailures)
{
    const XErrorCodes codes = serverCodes();
    EXPECT_EQ(classify(error(XCB_WINDOW, XCB_CHANGE_PROPERTY, 0, ownWindow), codes),
              XErrorClass::failure);
    // No window is numbered 0: asking about it is a mistake, whoever made it.
    EXPECT_EQ(classify(error(XCB_WINDOW, XCB_MAP_WINDOW, 0, 0), codes), XErrorClass::failure);
}

TEST(XErrorClassification, ResourcesMadeFromAVanishedWindowAreRoutine)
{
    const XErrorCodes codes = serverCodes();
    // The pixmap NameWindowPixmap should have made, then the picture over it, its damage
    // object and a region made from the window.
    EXPECT_EQ(
        classify(error(XCB_DRAWABLE, renderMajor, XCB_RENDER_CREATE_PICTURE, ownPixmap), codes),
        XErrorClass::routine);
    EXPECT_EQ(classify(error(XCB_PIXMAP, XCB_FREE_PIXMAP, 0, ownPixmap), codes),
              XErrorClass::routine);
    EXPECT_EQ(classify(error(renderFirstError + XCB_RENDER_PICTURE, renderMajor,
                             XCB_RENDER_COMPOSITE, ownBase | 0x20),
                       codes),
              XErrorClass::routine);
    EXPECT_EQ(classify(error(damageFirstError + XCB_DAMAGE_BAD_DAMAGE, damageMajor,
                             XCB_DAMAGE_DESTROY, ownBase | 0x21),
                       codes),
              XErrorClass::routine);
    EXPECT_EQ(classify(error(xfixesFirstError + XCB_XFIXES_BAD_REGION, xfixesMajor,
                             XCB_XFIXES_DESTROY_REGION, ownBase | 0x22),
                       codes),
              XErrorClass::routine);
}

TEST(XErrorClassification, BadMatchIsRoutineOnlyWhereAWindowChangedUnderTheRequest)
{
    const XErrorCodes codes = serverCodes();
    EXPECT_EQ(
        classify(error(XCB_MATCH, compositeMajor, XCB_COMPOSITE_NAME_WINDOW_PIXMAP, 0), codes),
        XErrorClass::routine);
    EXPECT_EQ(classify(error(XCB_MATCH, XCB_GET_IMAGE, 0, 0), codes), XErrorClass::routine);
    // A picture format that does not fit our own pixmap is our mistake.
    EXPECT_EQ(classify(error(XCB_MATCH, renderMajor, XCB_RENDER_CREATE_PICTURE, 0), codes),
              XErrorClass::failure);
    EXPECT_EQ(classify(error(XCB_MATCH, XCB_CREATE_PIXMAP, 0, 0), codes), XErrorClass::failure);
}

TEST(XErrorClassification, AllocValueAccessAndUnknownErrorsAreFailures)
{
    const XErrorCodes codes = serverCodes();
    EXPECT_EQ(classify(error(XCB_ALLOC, XCB_CREATE_PIXMAP, 0, 0), codes), XErrorClass::failure);
    EXPECT_EQ(classify(error(XCB_VALUE, XCB_CREATE_PIXMAP, 0, 0), codes), XErrorClass::failure);
    EXPECT_EQ(
        classify(error(XCB_ACCESS, compositeMajor, XCB_COMPOSITE_REDIRECT_SUBWINDOWS, 0x000001e5),
                 codes),
        XErrorClass::failure);
    EXPECT_EQ(classify(error(XCB_ID_CHOICE, XCB_CREATE_PIXMAP, 0, ownPixmap), codes),
              XErrorClass::failure);
    EXPECT_EQ(classify(error(shmFirstError + XCB_SHM_BAD_SEG, shmMajor, XCB_SHM_CREATE_PIXMAP,
                             ownBase | 0x30),
                       codes),
              XErrorClass::failure);
    // BadPictOp: a RENDER error, but not one a vanished window causes.
    EXPECT_EQ(
        classify(error(renderFirstError + XCB_RENDER_PICT_OP, renderMajor, XCB_RENDER_COMPOSITE, 0),
                 codes),
        XErrorClass::failure);
    EXPECT_EQ(classify(error(250, 200, 3, 0), codes), XErrorClass::failure);
}

TEST(XErrorClassification, ExtensionErrorsNeedTheServersNumbering)
{
    // Without knowing where DAMAGE's errors start, its code is just a number: a failure.
    XErrorCodes codes = serverCodes();
    codes.extensions.clear();
    EXPECT_EQ(
        classify(error(damageFirstError, damageMajor, XCB_DAMAGE_DESTROY, ownBase | 1), codes),
        XErrorClass::failure);
}

TEST(XErrorText, NamesTheErrorTheRequestAndTheResource)
{
    const XErrorCodes codes = serverCodes();
    const QString text = describe(error(XCB_ALLOC, XCB_CREATE_PIXMAP, 0, 0), codes);
    EXPECT_TRUE(text.contains(QStringLiteral("BadAlloc (code 11)"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("from CreatePixmap"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("major opcode 53"))) << text.toStdString();

    const QString picture = describe(error(renderFirstError + XCB_RENDER_PICTURE, renderMajor,
                                           XCB_RENDER_COMPOSITE, ownBase | 0x20),
                                     codes);
    EXPECT_TRUE(picture.contains(QStringLiteral("RENDER BadPicture"))) << picture.toStdString();
    EXPECT_TRUE(picture.contains(QStringLiteral("RENDER Composite"))) << picture.toStdString();
    EXPECT_TRUE(picture.contains(QStringLiteral("major opcode 139, minor opcode 8")))
        << picture.toStdString();
    EXPECT_TRUE(picture.contains(QStringLiteral("resource 0x400020 (ours)")))
        << picture.toStdString();

    const QString window = describe(error(XCB_WINDOW, XCB_GET_GEOMETRY, 0, othersWindow), codes);
    EXPECT_TRUE(window.contains(QStringLiteral("resource 0xa00007"))) << window.toStdString();
    EXPECT_FALSE(window.contains(QStringLiteral("ours"))) << window.toStdString();
}

TEST(XErrorText, RequestsWithoutANameKeepTheirNumbers)
{
    const XErrorCodes codes = serverCodes();
    EXPECT_EQ(requestName(renderMajor, 23, codes), QStringLiteral("RENDER request 23"));
    EXPECT_EQ(requestName(200, 1, codes), QStringLiteral("request of an unknown extension"));
    EXPECT_EQ(requestName(XCB_GET_IMAGE, 0, codes), QStringLiteral("GetImage"));
    EXPECT_EQ(errorName(250, codes), QStringLiteral("error 250"));
    EXPECT_EQ(errorName(shmFirstError, codes), QStringLiteral("MIT-SHM BadShmSeg"));
}

TEST(XErrorReport, FailuresAreWarningsThatNameTheRequest)
{
    LoggedMessages log;
    const XErrorClass kind =
        report(lcPlatformX11(), error(XCB_ALLOC, renderMajor, XCB_RENDER_CREATE_PICTURE, 0),
               serverCodes());
    EXPECT_EQ(kind, XErrorClass::failure);
    const auto warnings = log.ofType(QtWarningMsg);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].category, QStringLiteral("lookpane.platform.x11"));
    EXPECT_TRUE(warnings[0].text.contains(QStringLiteral("RENDER CreatePicture")))
        << warnings[0].text.toStdString();
    EXPECT_TRUE(warnings[0].text.contains(QStringLiteral("major opcode 139, minor opcode 4")))
        << warnings[0].text.toStdString();
    EXPECT_TRUE(warnings[0].text.contains(QStringLiteral("BadAlloc")))
        << warnings[0].text.toStdString();
}

TEST(XErrorReport, RoutineErrorsAreDebugMessagesOnly)
{
    const ScopedFilterRules rules(QStringLiteral("lookpane.platform.x11.debug=true"));
    LoggedMessages log;
    const XErrorClass kind = report(
        lcPlatformX11(), error(XCB_WINDOW, XCB_GET_GEOMETRY, 0, othersWindow), serverCodes());
    EXPECT_EQ(kind, XErrorClass::routine);
    EXPECT_TRUE(log.ofType(QtWarningMsg).empty());
    const auto debug = log.ofType(QtDebugMsg);
    ASSERT_EQ(debug.size(), 1u);
    EXPECT_TRUE(debug[0].text.startsWith(QStringLiteral("routine:")))
        << debug[0].text.toStdString();
    EXPECT_TRUE(debug[0].text.contains(QStringLiteral("BadWindow"))) << debug[0].text.toStdString();
    EXPECT_TRUE(debug[0].text.contains(QStringLiteral("GetGeometry")))
        << debug[0].text.toStdString();
}
