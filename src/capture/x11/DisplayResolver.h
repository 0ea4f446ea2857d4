#pragma once

#include "capture/CaptureBackend.h"
#include "capture/x11/RandrMonitors.h"

#include <memory>
#include <optional>

namespace lookpane::x11 {

class XcbConnection;

// A monitor and the device pixel ratio of the screen Qt makes of it.
struct ScaledMonitor
{
    QRect geometry; // in root pixels
    double devicePixelRatio = 1.0;
};

// A rectangle of root pixels in Qt's global coordinates (points), as Qt maps a window there:
// by the monitor that holds its centre (else the first monitor, the primary one), whose corner
// keeps its place and from which distances shrink by the monitor's ratio. Without monitors,
// the pixels are points.
QRectF qtRectFromRootPixels(const QRectF &pixels, const std::vector<ScaledMonitor> &monitors);

// Main-thread lookups of the displays (RandR monitors) over the backend's own connection.
class DisplayResolver
{
public:
    explicit DisplayResolver(std::shared_ptr<XcbConnection> connection);

    const std::shared_ptr<XcbConnection> &connection() const { return m_connection; }
    std::vector<Monitor> monitors() const;
    std::optional<Monitor> monitor(std::uint32_t displayID) const;
    // The device pixel ratio of the QScreen that shows a monitor; 1 when Qt has no such screen.
    static double devicePixelRatio(const Monitor &monitor);
    // Pixels per point on a monitor for the capture: its device pixel ratio, at least 1.
    static double scale(const Monitor &monitor);
    // The monitors, primary first, with their ratios.
    std::vector<ScaledMonitor> scaledMonitors() const;

private:
    std::shared_ptr<XcbConnection> m_connection;
};

} // namespace lookpane::x11
