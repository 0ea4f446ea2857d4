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
        ScreenRect frame;
        // The frame less panels and docks (Qt's available geometry).
        ScreenRect visibleFrame;
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

} // namespace lookpane
