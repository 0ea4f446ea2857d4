#pragma once

#include "capture/x11/WindowStack.h"
#include "platform/x11/XResource.h"

#include <xcb/damage.h>

#include <QRect>
#include <QSize>

#include <optional>
#include <unordered_map>

namespace lookpane::x11 {

class RenderFormats;
class XcbConnection;

// What the compositor reads a window from: a picture of the window's own off-screen pixmap.
struct WindowPicture
{
    xcb_render_picture_t picture = 0;
    bool hasAlpha = false;
};

// The server-side resources held per captured window: its damage object (for as long as the
// window is tracked) and a picture of its named pixmap (made when first painted). A window
// gets a new pixmap whenever it is mapped or resized; the old one would show a frozen
// picture, so those events drop the picture and the next paint names the pixmap again.
class WindowSources
{
public:
    WindowSources(const XcbConnection &connection, const RenderFormats &formats);

    // Starts tracking damage on a window (nothing when already tracked).
    void track(const TopLevelWindow &window);
    void untrack(xcb_window_t window);
    bool isTracked(xcb_window_t window) const { return m_sources.contains(window); }
    template <typename Predicate> void untrackIf(Predicate keep)
    {
        std::erase_if(m_sources, [&](const auto &entry) { return !keep(entry.first); });
    }
    void clear() { m_sources.clear(); }

    // The window's pixmap is new (mapped, resized): name it again on next use.
    void invalidatePixmap(xcb_window_t window);

    // A picture of the window's current contents, naming its pixmap where needed.
    std::optional<WindowPicture> picture(const TopLevelWindow &window);

    // The tracked window a damage event is about, and the damaged area in root
    // coordinates; nothing for damage objects that are not ours any more.
    std::optional<QRect> damagedArea(const xcb_damage_notify_event_t &event,
                                     const TopLevelWindow *window) const;
    // Whether the event is the report that creating the damage object makes of the whole
    // window (the server marks it all damaged at once): no change of its contents.
    bool isCreationReport(const xcb_damage_notify_event_t &event);

    // Clears the damage of every tracked window so that new damage is reported again.
    void acknowledgeDamage();

private:
    struct Source
    {
        Damage damage;
        Pixmap pixmap;
        Picture picture;
        QSize size;
        bool hasAlpha = false;
        std::uint16_t createSequence = 0;
        bool creationReportPending = true;
    };

    const XcbConnection &m_connection;
    const RenderFormats &m_formats;
    std::unordered_map<xcb_window_t, Source> m_sources;
};

} // namespace lookpane::x11
