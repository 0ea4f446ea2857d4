#pragma once

#include "capture/CaptureBackend.h"
#include "capture/CaptureDisplay.h"

#include <cstdint>
#include <optional>

namespace lookpane {

// What a stream is bound to: the display as the backend lists it, and the filter that leaves
// this application out of the picture.
struct CaptureTarget
{
    ShareableDisplay display;
    ContentFilter filter;
};

// The filter for `display` that leaves this application out: every window of the process
// `ownProcessID` if the content lists it, else the window `windowID` if the content lists
// that, else nothing (the application cannot exclude itself).
std::optional<ContentFilter> makeFilter(const ShareableContent &content,
                                        const ShareableDisplay &display,
                                        std::optional<std::uint32_t> windowID,
                                        std::int64_t ownProcessID);

// The stream configuration that captures `frame` (global coordinates, points, origin
// bottom-left) from `display`: frames of the rectangle's size in the display's pixels, rounded
// as Qt rounds a window's size (DevicePixels.h) and at least 2 x 2, the source rectangle relative
// to the display's top-left corner, at most 60 frames a second, a queue of 2, no cursor, opaque. A
// pixel size that is not finite or does not fit in 64 bits stops the program.
StreamConfiguration makeConfiguration(const ScreenRect &frame, const CaptureDisplay &display);

// Whether a sample carries a complete frame: only the status `complete` counts; idle, blank,
// suspended or missing statuses do not.
bool frameIsComplete(const CaptureSample &sample);

} // namespace lookpane
