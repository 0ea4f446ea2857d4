#pragma once

#include "capture/CaptureBackend.h"

#include <QRect>
#include <QSize>

namespace lookpane::x11 {

// Everything the capture thread needs to know about what to capture, resolved on the main
// thread: the filter and configuration as given, and the display's place on the root.
struct CaptureSettings
{
    ContentFilter filter;
    StreamConfiguration configuration;
    QRect displayRect;  // the monitor, in root pixels
    double scale = 1.0; // pixels per point on that display

    // The captured rectangle in root pixels.
    QRect sourcePixels() const;
    // The delivered frame size in pixels.
    QSize frameSize() const;
};

// The largest frame side the X server's 16-bit sizes allow.
constexpr int maximumFrameSide = 32767;

} // namespace lookpane::x11
