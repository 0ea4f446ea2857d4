#include "capture/portal/PortalDisplays.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace lookpane::portal {

std::uint32_t ScreenNumbering::displayIDForScreen(const QScreen &screen)
{
    const auto known = m_ids.find(screen.name());
    if (known != m_ids.end()) {
        return known->second;
    }
    // 0 stays free: it stands for "no display" elsewhere.
    const std::uint32_t id = static_cast<std::uint32_t>(m_ids.size()) + 1;
    m_ids.emplace(screen.name(), id);
    return id;
}

std::vector<PortalDisplay> ScreenNumbering::displays()
{
    std::vector<PortalDisplay> result;
    if (!qGuiApp) {
        return result;
    }
    for (QScreen *screen : QGuiApplication::screens()) {
        PortalDisplay display;
        display.displayID = displayIDForScreen(*screen);
        // Qt keeps a screen's corner at its pixel position and scales only distances.
        const double ratio = screen->devicePixelRatio();
        display.frame = QRect(screen->geometry().topLeft(),
                              (QSizeF(screen->geometry().size()) * ratio).toSize());
        display.scale = std::max(1.0, ratio);
        result.push_back(display);
    }
    return result;
}

} // namespace lookpane::portal
