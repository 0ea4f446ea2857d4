#pragma once

#include <QRect>
#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

class QScreen;

namespace lookpane::portal {

// A display as the portal backend knows it: the screens of Lookpane's own (X11) windows.
struct PortalDisplay
{
    std::uint32_t displayID = 0;
    QRect frame;        // in root pixels (the compositor's logical pixels under XWayland)
    double scale = 1.0; // pixels per point, at least 1
};

using PortalDisplayList = std::function<std::vector<PortalDisplay>()>;

// Names Qt's screens for the portal backend: a screen keeps the number it got when first seen
// (by its name) for the rest of the run, so a display id stays valid while monitors come and go.
// Main thread only.
class ScreenNumbering
{
public:
    std::uint32_t displayIDForScreen(const QScreen &screen);
    // Every screen Qt knows now, with its pixels and scale.
    std::vector<PortalDisplay> displays();

private:
    std::map<QString, std::uint32_t> m_ids;
};

} // namespace lookpane::portal
