#include "capture/x11/RandrMonitors.h"

#include "platform/x11/XAtoms.h"
#include "platform/x11/XcbConnection.h"

#include <xcb/randr.h>

#include <algorithm>

namespace lookpane::x11 {

std::vector<Monitor> readMonitors(const XcbConnection &connection)
{
    std::vector<Monitor> monitors;
    if (!connection.isValid()) {
        return monitors;
    }
    xcb_connection_t *c = connection.get();
    if (connection.extensions().randr.present) {
        Reply<xcb_randr_get_monitors_reply_t> reply(xcb_randr_get_monitors_reply(
            c, xcb_randr_get_monitors(c, connection.root(), 1), nullptr));
        if (reply) {
            for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
                 xcb_randr_monitor_info_next(&it)) {
                const xcb_randr_monitor_info_t *info = it.data;
                Monitor monitor;
                monitor.displayID = xcb_randr_monitor_info_outputs_length(info) > 0
                                        ? *xcb_randr_monitor_info_outputs(info)
                                        : info->name;
                monitor.name = atomName(c, info->name);
                monitor.geometry = QRect(info->x, info->y, info->width, info->height);
                monitor.primary = info->primary != 0;
                monitors.push_back(monitor);
            }
        }
    }
    if (monitors.empty()) {
        const xcb_screen_t *screen = connection.screen();
        monitors.push_back(
            {0, QString(), QRect(0, 0, screen->width_in_pixels, screen->height_in_pixels), true});
    }
    std::stable_partition(monitors.begin(), monitors.end(),
                          [](const Monitor &monitor) { return monitor.primary; });
    return monitors;
}

} // namespace lookpane::x11
