#include "capture/x11/DisplayResolver.h"

#include "platform/x11/XcbConnection.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace lookpane::x11 {

DisplayResolver::DisplayResolver(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection))
{}

std::vector<Monitor> DisplayResolver::monitors() const
{
    return readMonitors(*m_connection);
}

std::optional<Monitor> DisplayResolver::monitor(std::uint32_t displayID) const
{
    for (const Monitor &candidate : monitors()) {
        if (candidate.displayID == displayID) {
            return candidate;
        }
    }
    return std::nullopt;
}

double DisplayResolver::devicePixelRatio(const Monitor &monitor)
{
    if (!qGuiApp) {
        return 1.0;
    }
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen->name() == monitor.name) {
            return screen->devicePixelRatio();
        }
    }
    return 1.0;
}

double DisplayResolver::scale(const Monitor &monitor)
{
    return std::max(1.0, devicePixelRatio(monitor));
}

std::vector<ScaledMonitor> DisplayResolver::scaledMonitors() const
{
    std::vector<ScaledMonitor> scaled;
    for (const Monitor &monitor : monitors()) {
        scaled.push_back({monitor.geometry, devicePixelRatio(monitor)});
    }
    return scaled;
}

QRectF qtRectFromRootPixels(const QRectF &pixels, const std::vector<ScaledMonitor> &monitors)
{
    if (monitors.empty()) {
        return pixels;
    }
    const QPointF centre = pixels.center();
    const auto holder = std::find_if(monitors.begin(), monitors.end(), [&](const ScaledMonitor &m) {
        return QRectF(m.geometry).contains(centre);
    });
    const ScaledMonitor &monitor = holder != monitors.end() ? *holder : monitors.front();
    const double ratio = monitor.devicePixelRatio > 0 ? monitor.devicePixelRatio : 1.0;
    const QPointF corner(monitor.geometry.topLeft());
    return QRectF(corner + (pixels.topLeft() - corner) / ratio, pixels.size() / ratio);
}

} // namespace lookpane::x11
