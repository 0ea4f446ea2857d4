#pragma once

#include <QRect>
#include <QString>

#include <cstdint>
#include <vector>

namespace lookpane::x11 {

class XcbConnection;

// One RandR monitor: what the capture calls a display.
struct Monitor
{
    std::uint32_t displayID = 0; // its first output's id (the name atom when it has none)
    QString name;                // as Qt names the screen
    QRect geometry;              // in root pixels
    bool primary = false;
};

// The active monitors, primary first; the whole root as one monitor when RandR has none.
std::vector<Monitor> readMonitors(const XcbConnection &connection);

} // namespace lookpane::x11
