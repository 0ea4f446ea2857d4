#include "capture/x11/X11WindowRedirection.h"

#include "capture/x11/CaptureX11Log.h"

#include <xcb/composite.h>

namespace lookpane::x11 {

X11WindowRedirection::X11WindowRedirection(std::uint32_t window, const std::string &displayName)
    : m_connection(std::make_unique<XcbConnection>(displayName, lcCaptureX11())), m_window(window)
{
    if (!m_connection->isValid()) {
        m_failure = m_connection->failure();
        return;
    }
    if (!m_connection->extensions().composite.present) {
        m_failure = QStringLiteral("the X server lacks the Composite extension");
        return;
    }
    if (std::optional<XError> error = m_connection->check(xcb_composite_redirect_window_checked(
            m_connection->get(), window, XCB_COMPOSITE_REDIRECT_AUTOMATIC))) {
        m_failure = QStringLiteral("the window 0x%1 cannot be redirected (%2)")
                        .arg(window, 0, 16)
                        .arg(describe(*error, m_connection->errorCodes()));
        return;
    }
    m_active = true;
}

X11WindowRedirection::~X11WindowRedirection()
{
    if (m_active) {
        // The window may be gone already; the error that then comes back is a routine one
        // and changes nothing.
        m_connection->check(xcb_composite_unredirect_window_checked(
            m_connection->get(), m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC));
    }
}

} // namespace lookpane::x11
