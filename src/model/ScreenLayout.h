#pragma once

#include "model/ScreenRect.h"

#include <QRectF>

#include <functional>
#include <optional>
#include <vector>

namespace lookpane {

// The connected screens as the geometry code sees them, in screen coordinates
// (points, origin bottom-left of the primary screen, y up).
struct ScreenLayout
{
    struct Screen
    {
        Screen() = default;
        Screen(const ScreenRect &screenFrame, const ScreenRect &screenVisibleFrame,
               double screenScale = 1.0)
            : frame(screenFrame), visibleFrame(screenVisibleFrame), scale(screenScale)
        {}

        ScreenRect frame;
        // The frame less panels and docks (Qt's available geometry).
        ScreenRect visibleFrame;
        // Device pixels per point (the QScreen's device pixel ratio).
        double scale = 1.0;
    };
    // In the system's screen order; the primary screen first.
    std::vector<Screen> screens;
    // Index of the main screen in `screens`; none when there is no screen.
    std::optional<std::size_t> mainIndex;
    // The primary screen's geometry in Qt's global coordinates, which places the origin of the
    // screen coordinates at its bottom-left corner (ScreenCoordinates.h). Empty without screens.
    QRectF primaryGeometry;
};

using ScreenLayoutProvider = std::function<ScreenLayout()>;

// The screens of the running Qt application.
ScreenLayout currentScreenLayout();

// The screens as a window on screen `index` sees them. Qt maps such a window's points to device
// pixels by that screen alone (its corner kept, distances scaled by its scale), while every
// screen's own points are scaled by its own: where scales differ (or a uniform scale leaves
// gaps between the screens' blocks of points), a window reaching from its screen onto another
// covers pixels that the other screen's points do not describe. Here every screen's frames are
// its device pixels mapped back by the viewing screen, so the frames are contiguous exactly
// where the monitors are and tell whether a window there lies on them. Where all scales are 1,
// or `index` is no screen, the layout is returned as it is.
ScreenLayout seenFrom(const ScreenLayout &layout, std::size_t index);

} // namespace lookpane
