#include "capture/portal/PortalCaptureBackend.h"

#include "capture/portal/CapturePortalLog.h"
#include "capture/portal/PortalCaptureStream.h"
#include "capture/portal/ScreenCastSession.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMetaObject>

#include <unistd.h>

namespace lookpane::portal {

PortalCaptureBackend::PortalCaptureBackend(Options options) : m_options(std::move(options)) {}

PortalCaptureBackend::~PortalCaptureBackend() = default;

std::vector<PortalDisplay> PortalCaptureBackend::displays()
{
    return m_options.displays ? m_options.displays() : m_numbering.displays();
}

std::uint32_t PortalCaptureBackend::displayIDForScreen(const QScreen &screen)
{
    return m_numbering.displayIDForScreen(screen);
}

std::shared_ptr<ScreenCastSession> PortalCaptureBackend::currentSession() const
{
    std::shared_ptr<ScreenCastSession> session = m_granted ? m_granted : m_taken.lock();
    return session && session->isOpen() ? session : nullptr;
}

void PortalCaptureBackend::requestAccess(std::function<void(bool granted)> done)
{
    if (currentSession()) {
        if (done) {
            QMetaObject::invokeMethod(
                &m_context, [done = std::move(done)] { done(true); }, Qt::QueuedConnection);
        }
        return;
    }
    m_waiting.push_back(std::move(done));
    if (m_opening) {
        return;
    }
    m_error.reset();
    m_granted.reset();
    m_opening = std::make_unique<ScreenCastSession>(m_options.bus);
    const QString token = m_options.restoreTokens.load ? m_options.restoreTokens.load() : QString();
    m_opening->open(token, [this](const SessionOutcome &outcome) {
        // Runs inside the session's own callback: it is released from the event loop.
        std::unique_ptr<ScreenCastSession> session = std::move(m_opening);
        bool granted = true;
        switch (outcome.kind) {
        case SessionOutcome::Kind::granted:
            if (!session->restoreToken().isEmpty() && m_options.restoreTokens.save) {
                m_options.restoreTokens.save(session->restoreToken());
            }
            // Closed by whoever lets go of it last; deleted from the event loop, never inside
            // one of its own callbacks.
            m_granted = std::shared_ptr<ScreenCastSession>(session.release(),
                                                           [](ScreenCastSession *released) {
                                                               released->close();
                                                               released->deleteLater();
                                                           });
            break;
        case SessionOutcome::Kind::cancelled:
            granted = false;
            break;
        case SessionOutcome::Kind::failed:
            // Granted as far as the user is concerned: the engine asks for the content next
            // and reports this reason (as a warning of its own).
            m_error = outcome.error;
            qCDebug(lcCapturePortal).noquote()
                << "The screen-sharing portal could not be used:" << outcome.error;
            break;
        }
        if (session) {
            session.release()->deleteLater();
        }
        for (std::function<void(bool)> &waiting : std::exchange(m_waiting, {})) {
            if (waiting) {
                waiting(granted);
            }
        }
    });
}

void PortalCaptureBackend::loadShareableContent(bool, bool,
                                                std::function<void(ShareableContentResult)> done)
{
    if (!done) {
        return;
    }
    ShareableContentResult result;
    if (m_error) {
        // Capitalised as the engine's other reasons read after "Unable to start capture: ".
        QString reason = *m_error;
        if (!reason.isEmpty()) {
            reason[0] = reason[0].toUpper();
        }
        result.error = reason;
    } else {
        ShareableContent content;
        for (const PortalDisplay &display : displays()) {
            content.displays.push_back({display.displayID, display.frame});
        }
        // This process is an application on the desktop, whatever the portal can show.
        content.applications.push_back({getpid(), QCoreApplication::applicationName(),
                                        qGuiApp ? QGuiApplication::desktopFileName() : QString()});
        result.content = std::move(content);
    }
    QMetaObject::invokeMethod(
        &m_context,
        [done = std::move(done), result = std::move(result)]() mutable { done(std::move(result)); },
        Qt::QueuedConnection);
}

std::unique_ptr<CaptureStream>
PortalCaptureBackend::createStream(const ContentFilter &filter,
                                   const StreamConfiguration &configuration)
{
    PortalDisplayList list = m_options.displays;
    if (!list) {
        list = [this] { return m_numbering.displays(); };
    }
    // A stream without a session fails to start with the reason.
    std::shared_ptr<ScreenCastSession> session = currentSession();
    m_granted.reset();
    m_taken = session;
    return std::make_unique<PortalCaptureStream>(std::move(session), std::move(list), filter,
                                                 configuration);
}

} // namespace lookpane::portal
