#include "capture/StreamSetup.h"

#include "capture/FatalError.h"
#include "model/DevicePixels.h"
#include "model/ScreenCoordinates.h"

#include <algorithm>
#include <cmath>

namespace lookpane {

namespace {

// The frame's extent in pixels, never below 2: the device pixels that the region covers, by
// the same rule that sizes the share window (rounded, halves up), so that a frame is exactly as
// large as the window that shows it.
std::int64_t pixelCount(double points, double scale, const char *dimension)
{
    const double pixels = devicePixelDistance(std::max(2.0, points), scale);
    // 2^63: the first value that no longer fits in a signed 64-bit integer.
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(pixels) || pixels >= limit || pixels < -limit) {
        fatalError(QStringLiteral("capture %1 of %2 pixels is out of range")
                       .arg(QLatin1String(dimension))
                       .arg(pixels));
    }
    return std::max<std::int64_t>(2, static_cast<std::int64_t>(pixels));
}

} // namespace

std::optional<ContentFilter> makeFilter(const ShareableContent &content,
                                        const ShareableDisplay &display,
                                        std::optional<std::uint32_t> windowID,
                                        std::int64_t ownProcessID)
{
    const auto application = std::find_if(
        content.applications.begin(), content.applications.end(),
        [&](const ShareableApplication &entry) { return entry.processID == ownProcessID; });
    if (application != content.applications.end()) {
        // Every window of this application (frame, toolbar, share window, menus) stays out.
        return ContentFilter{display.displayID, {application->processID}, {}};
    }
    if (windowID) {
        const auto window = std::find_if(
            content.windows.begin(), content.windows.end(),
            [&](const ShareableWindowEntry &entry) { return entry.windowID == *windowID; });
        if (window != content.windows.end()) {
            return ContentFilter{display.displayID, {}, {window->windowID}};
        }
    }
    return std::nullopt;
}

StreamConfiguration makeConfiguration(const ScreenRect &frame, const CaptureDisplay &display)
{
    StreamConfiguration configuration;
    const double scale = std::max(1.0, display.backingScaleFactor);
    configuration.width = pixelCount(frame.width(), scale, "width");
    configuration.height = pixelCount(frame.height(), scale, "height");
    // The display's own coordinates start at its top-left corner.
    configuration.sourceRect = qtRectWithin(frame, display.frame);
    configuration.maximumFramesPerSecond = 60;
    configuration.queueDepth = 2;
    configuration.showsCursor = false;
    configuration.shouldBeOpaque = true;
    configuration.ignoreShadowsDisplay = true;
    return configuration;
}

bool frameIsComplete(const CaptureSample &sample)
{
    return sample.status == FrameStatus::complete;
}

} // namespace lookpane
