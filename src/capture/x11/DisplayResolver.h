#pragma once

#include "capture/CaptureBackend.h"
#include "capture/x11/RandrMonitors.h"

#include <memory>
#include <optional>

namespace lookpane::x11 {

class XcbConnection;

// Main-thread lookups of the displays (RandR monitors) over the backend's own connection.
class DisplayResolver
{
public:
    explicit DisplayResolver(std::shared_ptr<XcbConnection> connection);

    const std::shared_ptr<XcbConnection> &connection() const { return m_connection; }
    std::vector<Monitor> monitors() const;
    std::optional<Monitor> monitor(std::uint32_t displayID) const;
    // Pixels per point on a monitor: the device pixel ratio of the QScreen that shows it.
    static double scale(const Monitor &monitor);

private:
    std::shared_ptr<XcbConnection> m_connection;
};

} // namespace lookpane::x11
