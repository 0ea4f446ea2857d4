#include "capture/x11/X11CaptureBackend.h"

#include "capture/x11/CaptureX11Log.h"
#include "capture/x11/DisplayResolver.h"
#include "capture/x11/ShareableWindows.h"
#include "capture/x11/X11CaptureStream.h"
#include "platform/x11/XcbConnection.h"

#include <xcb/composite.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMetaObject>
#include <QScreen>

#include <unistd.h>

#include <algorithm>

namespace lookpane::x11 {

X11CaptureBackend::X11CaptureBackend(std::string displayName)
    : m_displayName(std::move(displayName))
{
    resolver();
}

X11CaptureBackend::~X11CaptureBackend()
{
    if (m_redirected && m_resolver && m_resolver->connection()->isValid()) {
        const XcbConnection &connection = *m_resolver->connection();
        xcb_composite_unredirect_subwindows(connection.get(), connection.root(),
                                            XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        connection.sync();
    }
}

const std::shared_ptr<DisplayResolver> &X11CaptureBackend::resolver()
{
    // Opened on first use; a connection that broke (server restarted) is opened again.
    if (!m_resolver || !m_resolver->connection()->isValid() ||
        xcb_connection_has_error(m_resolver->connection()->get())) {
        m_resolver = std::make_shared<DisplayResolver>(
            std::make_shared<XcbConnection>(m_displayName, lcCaptureX11()));
        const XcbConnection &connection = *m_resolver->connection();
        m_redirected = connection.isValid() && connection.extensions().composite.present;
        if (m_redirected) {
            // Several clients may redirect automatically at once; it cannot conflict.
            xcb_composite_redirect_subwindows(connection.get(), connection.root(),
                                              XCB_COMPOSITE_REDIRECT_AUTOMATIC);
            xcb_flush(connection.get());
        }
    } else {
        // Replies read without asking for their errors leave them in the queue (a window
        // listed a moment ago may have gone); nothing else reads this connection's queue.
        m_resolver->connection()->reportQueuedErrors();
    }
    return m_resolver;
}

void X11CaptureBackend::requestAccess(std::function<void(bool)> done)
{
    if (!done) {
        return;
    }
    QMetaObject::invokeMethod(
        &m_context, [done = std::move(done)] { done(true); }, Qt::QueuedConnection);
}

ShareableContentResult X11CaptureBackend::readContent(bool excludingDesktopWindows,
                                                      bool onScreenWindowsOnly)
{
    const XcbConnection &connection = *resolver()->connection();
    if (std::optional<QString> missing = missingCaptureSupport(connection)) {
        return {std::nullopt, *missing};
    }
    ShareableContent content;
    std::vector<ScaledMonitor> monitors;
    for (const Monitor &monitor : resolver()->monitors()) {
        content.displays.push_back({monitor.displayID, monitor.geometry});
        monitors.push_back({monitor.geometry, DisplayResolver::devicePixelRatio(monitor)});
    }
    content.windows =
        readShareableWindows(connection, excludingDesktopWindows, onScreenWindowsOnly, monitors);
    // This process is an application on the display too, whether or not its windows are
    // listed yet: filters exclude it by its process id.
    if (qGuiApp) {
        content.applications.push_back(
            {getpid(), QCoreApplication::applicationName(), QGuiApplication::desktopFileName()});
    }
    for (const ShareableWindowEntry &window : content.windows) {
        if (!window.owningApplication) {
            continue;
        }
        const auto known =
            std::find_if(content.applications.begin(), content.applications.end(),
                         [&](const ShareableApplication &application) {
                             return application.processID == window.owningApplication->processID;
                         });
        if (known == content.applications.end()) {
            content.applications.push_back(*window.owningApplication);
        }
    }
    return {std::move(content), QString()};
}

void X11CaptureBackend::loadShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                             std::function<void(ShareableContentResult)> done)
{
    if (!done) {
        return;
    }
    // A handful of pipelined round trips: read now, answer later as promised.
    ShareableContentResult result = readContent(excludingDesktopWindows, onScreenWindowsOnly);
    QMetaObject::invokeMethod(
        &m_context,
        [done = std::move(done), result = std::move(result)]() mutable { done(std::move(result)); },
        Qt::QueuedConnection);
}

std::unique_ptr<CaptureStream>
X11CaptureBackend::createStream(const ContentFilter &filter,
                                const StreamConfiguration &configuration)
{
    return std::make_unique<X11CaptureStream>(m_displayName, resolver(), filter, configuration);
}

std::optional<std::uint32_t> X11CaptureBackend::displayIDForScreen(const QScreen &screen)
{
    const std::vector<Monitor> monitors = resolver()->monitors();
    for (const Monitor &monitor : monitors) {
        if (!monitor.name.isEmpty() && monitor.name == screen.name()) {
            return monitor.displayID;
        }
    }
    const QRect pixels(screen.geometry().topLeft(),
                       screen.geometry().size() * screen.devicePixelRatio());
    for (const Monitor &monitor : monitors) {
        if (monitor.geometry == pixels) {
            return monitor.displayID;
        }
    }
    return std::nullopt;
}

} // namespace lookpane::x11
