#include "capture/x11/WindowSources.h"

#include "capture/x11/RenderFormats.h"
#include "platform/x11/XcbConnection.h"

#include <xcb/composite.h>

namespace lookpane::x11 {

WindowSources::WindowSources(const XcbConnection &connection, const RenderFormats &formats)
    : m_connection(connection), m_formats(formats)
{}

void WindowSources::track(const TopLevelWindow &window)
{
    if (m_sources.contains(window.id)) {
        return;
    }
    xcb_connection_t *c = m_connection.get();
    Source &source = m_sources[window.id];
    source.damage = Damage(c);
    // Bounding-box reports: one event whenever the damaged area grows, until acknowledged.
    source.createSequence = static_cast<std::uint16_t>(
        xcb_damage_create(c, source.damage.id(), window.id, XCB_DAMAGE_REPORT_LEVEL_BOUNDING_BOX)
            .sequence);
}

void WindowSources::untrack(xcb_window_t window)
{
    m_sources.erase(window);
}

void WindowSources::invalidatePixmap(xcb_window_t window)
{
    const auto it = m_sources.find(window);
    if (it != m_sources.end()) {
        it->second.picture.reset();
        it->second.pixmap.reset();
        it->second.size = QSize();
    }
}

std::optional<WindowPicture> WindowSources::picture(const TopLevelWindow &window)
{
    const auto it = m_sources.find(window.id);
    if (it == m_sources.end()) {
        return std::nullopt;
    }
    Source &source = it->second;
    if (source.picture && source.size != window.outer.size()) {
        source.picture.reset();
        source.pixmap.reset();
    }
    if (!source.picture) {
        const xcb_render_pictformat_t format = m_formats.forVisual(window.visual);
        if (format == 0) {
            return std::nullopt;
        }
        xcb_connection_t *c = m_connection.get();
        source.pixmap = Pixmap(c);
        xcb_composite_name_window_pixmap(c, window.id, source.pixmap.id());
        source.picture = Picture(c);
        xcb_render_create_picture(c, source.picture.id(), source.pixmap.id(), format, 0, nullptr);
        source.size = window.outer.size();
        source.hasAlpha = m_formats.hasAlpha(format);
    }
    return WindowPicture{source.picture.id(), source.hasAlpha};
}

bool WindowSources::isCreationReport(const xcb_damage_notify_event_t &event)
{
    const auto it = m_sources.find(event.drawable);
    if (it == m_sources.end() || it->second.damage.id() != event.damage) {
        return false;
    }
    Source &source = it->second;
    const bool creation = source.creationReportPending && event.sequence == source.createSequence;
    source.creationReportPending = false;
    return creation;
}

std::optional<QRect> WindowSources::damagedArea(const xcb_damage_notify_event_t &event,
                                                const TopLevelWindow *window) const
{
    if (!window) {
        return std::nullopt;
    }
    // The area is relative to the window's inside corner, within its border.
    const QPoint inside =
        window->outer.topLeft() + QPoint(window->borderWidth, window->borderWidth);
    return QRect(inside.x() + event.area.x, inside.y() + event.area.y, event.area.width,
                 event.area.height);
}

void WindowSources::acknowledgeDamage()
{
    xcb_connection_t *c = m_connection.get();
    for (auto &[window, source] : m_sources) {
        xcb_damage_subtract(c, source.damage.id(), XCB_NONE, XCB_NONE);
    }
}

} // namespace lookpane::x11
