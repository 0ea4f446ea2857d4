#include "capture/x11/DisplayResolver.h"

#include "platform/x11/XcbConnection.h"

#include <QGuiApplication>
#include <QScreen>

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

double DisplayResolver::scale(const Monitor &monitor)
{
    if (!qGuiApp) {
        return 1.0;
    }
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen->name() == monitor.name) {
            return std::max(1.0, screen->devicePixelRatio());
        }
    }
    return 1.0;
}

} // namespace lookpane::x11
