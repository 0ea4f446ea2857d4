#include "shell/TrayRoute.h"

namespace lookpane {

TrayRoute chooseTrayRoute(const TrayPresence &presence)
{
    if (presence.statusNotifierHost) {
        return TrayRoute::statusNotifier;
    }
    if (presence.xembedTray || !presence.xembedFollowed) {
        return TrayRoute::xembed;
    }
    return TrayRoute::undecided;
}

bool isTrayShowing(TrayRoute route, const TrayPresence &presence)
{
    switch (route) {
    case TrayRoute::undecided:
        return false;
    case TrayRoute::statusNotifier:
        return presence.statusNotifierHost;
    case TrayRoute::xembed:
        return presence.xembedTray;
    }
    return false;
}

} // namespace lookpane
