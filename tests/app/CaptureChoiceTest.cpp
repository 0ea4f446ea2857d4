// Which capture Lookpane uses: the session decides, --capture overrides.
#include "app/CommandLine.h"

#include <gtest/gtest.h>

namespace lookpane {
namespace {

TEST(CaptureChoice, AnX11SessionCapturesFromTheXServer)
{
    const CaptureChoice choice = chooseCapture(std::nullopt, QString());
    EXPECT_EQ(choice.kind, CaptureKind::x11);
    EXPECT_FALSE(choice.problem.has_value());
}

TEST(CaptureChoice, AWaylandSessionCapturesThroughThePortal)
{
    const CaptureChoice choice = chooseCapture(std::nullopt, QStringLiteral("wayland-0"));
    EXPECT_EQ(choice.kind, CaptureKind::portal);
    EXPECT_FALSE(choice.problem.has_value());
}

TEST(CaptureChoice, TheCommandLineOverridesTheSession)
{
    EXPECT_EQ(chooseCapture(QStringLiteral("x11"), QStringLiteral("wayland-0")).kind,
              CaptureKind::x11);
    EXPECT_EQ(chooseCapture(QStringLiteral("portal"), QString()).kind, CaptureKind::portal);
}

TEST(CaptureChoice, AnUnknownCaptureIsAProblemThatNamesIt)
{
    const CaptureChoice choice = chooseCapture(QStringLiteral("pipewire"), QString());
    ASSERT_TRUE(choice.problem.has_value());
    EXPECT_EQ(*choice.problem, QStringLiteral("--capture takes x11 or portal, not \"pipewire\""));
}

} // namespace
} // namespace lookpane
