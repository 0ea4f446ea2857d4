#pragma once

#include "capture/CaptureBackend.h"
#include "model/ScreenRect.h"

#include <QSet>
#include <QString>

#include <cstdint>
#include <vector>

namespace lookpane {

// A window of another application that the frame can be laid over ("Fit to Window").
struct ShareableWindow
{
    // The window's title trimmed of white space; the application's name when that is empty.
    QString title;
    // The owning application's name as the window system reports it.
    QString applicationName;
    // The window's frame in global coordinates: points, origin at the bottom-left of the
    // primary screen, y up.
    ScreenRect frame;

    // Applications of the desktop shell (panels, docks, desktops, notification daemons) whose
    // windows are never offered, by their identifier (the class part of WM_CLASS). Compared
    // exactly, case included.
    static const QSet<QString> &systemBundleIdentifiers();

    friend bool operator==(const ShareableWindow &, const ShareableWindow &) = default;
};

// Windows smaller than this (in points, either way) are not worth framing.
inline constexpr double shareableWindowMinimumWidth = 160.0;
inline constexpr double shareableWindowMinimumHeight = 120.0;

// The offerable windows among `entries` (in the window system's order, frames with the origin
// at the top-left of the primary screen, y down): ordinary windows (layer 0) of applications
// other than `ownProcessID` and the desktop shell, at least 160 x 120 points. Frames are
// converted to screen coordinates about `primaryGeometry`, the primary screen's geometry in
// Qt's coordinates (ScreenCoordinates.h). Sorted by application name
// and then title, both compared case-insensitively for the user's locale; application names
// that differ only in case keep their incoming order.
std::vector<ShareableWindow> makeShareableWindows(const std::vector<ShareableWindowEntry> &entries,
                                                  std::int64_t ownProcessID,
                                                  const QRectF &primaryGeometry);

} // namespace lookpane
