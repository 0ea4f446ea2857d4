#pragma once

#include "model/ScreenRect.h"

#include <cstdint>
#include <optional>

namespace lookpane {

// A screen as the capture engine sees it.
struct CaptureDisplay
{
    // The window system's identifier of the display: the RandR output id on X11.
    std::uint32_t id = 0;
    // The screen's rectangle in global coordinates: points, origin at the bottom-left of the
    // primary screen, y up.
    ScreenRect frame;
    // Pixels per point.
    double backingScaleFactor = 1.0;

    friend bool operator==(const CaptureDisplay &, const CaptureDisplay &) = default;
};

// The newest region request that the region loop has not applied yet.
struct PendingRegionUpdate
{
    // The rectangle to capture, in the same coordinates as CaptureDisplay::frame.
    ScreenRect frame;
    // The display that the rectangle is on.
    CaptureDisplay display;
};

// The window whose area is mirrored, described without any widget: the caller builds it from
// its frame window.
struct MirroredWindow
{
    // The window system's number of the window (the X window id). It must fit in 32 bits.
    std::int64_t windowNumber = 0;
    // The window's content area in global coordinates (points, origin bottom-left, y up).
    ScreenRect contentRect;
    // The screen that the window is on, else the main screen; none when there is no screen.
    std::optional<CaptureDisplay> screen;
};

// A screen's display identifier: the number the window system gives it, else the main
// display's identifier (a screen the window system cannot name is taken for the main one).
std::uint32_t displayIDForScreen(std::optional<std::uint32_t> screenNumber,
                                 std::uint32_t mainDisplayID);

} // namespace lookpane
