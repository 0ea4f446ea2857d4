// The pixels the X11 capture reads and delivers for a source rectangle in points.
#include "capture/x11/CaptureSettings.h"

#include <gtest/gtest.h>

using namespace lookpane;
using namespace lookpane::x11;

namespace {

CaptureSettings settingsFor(const QRect &monitor, double scale, const QRectF &sourceRect,
                            std::int64_t width, std::int64_t height)
{
    CaptureSettings settings;
    settings.displayRect = monitor;
    settings.scale = scale;
    settings.configuration.sourceRect = sourceRect;
    settings.configuration.width = width;
    settings.configuration.height = height;
    return settings;
}

} // namespace

TEST(X11CaptureSettings, SourcePixelsAreWhereQtPutsAWindowOverTheRegion)
{
    // 801 points from 667 at 1.5: Qt's window starts at round(1000.5) = 1001 and is
    // round(1201.5) = 1202 pixels wide; the source must be the same 1202 pixels, not the 1201
    // between the rounded edges.
    const CaptureSettings settings =
        settingsFor(QRect(0, 0, 1920, 1080), 1.5, QRectF(667, 40, 801, 529), 1202, 794);
    EXPECT_EQ(settings.sourcePixels(), QRect(1001, 60, 1202, 794));
    EXPECT_EQ(settings.sourcePixels().size(), settings.frameSize());
}

TEST(X11CaptureSettings, SourcePixelsCountFromTheMonitorsOwnCorner)
{
    // A monitor at +0+360: its corner is the same in pixels and in points; distances scale.
    const CaptureSettings settings =
        settingsFor(QRect(0, 360, 1920, 1080), 1.25, QRectF(100, 40, 800, 450), 1000, 563);
    EXPECT_EQ(settings.sourcePixels(), QRect(125, 410, 1000, 563));
    EXPECT_EQ(settings.sourcePixels().size(), settings.frameSize());
}

TEST(X11CaptureSettings, SizesStayWithinWhatTheServerAllows)
{
    const CaptureSettings settings =
        settingsFor(QRect(0, 0, 1920, 1080), 1.0, QRectF(0, 0, 1e9, 0.1), 1000000000, 0);
    EXPECT_EQ(settings.sourcePixels().width(), maximumFrameSide);
    EXPECT_EQ(settings.sourcePixels().height(), 1);
    EXPECT_EQ(settings.frameSize().height(), 1);
}
