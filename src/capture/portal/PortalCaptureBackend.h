#pragma once

#include "capture/CaptureBackend.h"
#include "capture/portal/PortalDisplays.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QScreen;

namespace lookpane::portal {

class ScreenCastSession;

// Where the portal's restore token lives between runs (the settings, in the application); the
// backend reads it before asking the portal and writes each new one it is given.
struct RestoreTokenStore
{
    std::function<QString()> load;
    std::function<void(const QString &)> save;
};

// Screen capture in a Wayland session, through the desktop's ScreenCast portal and PipeWire.
//
// requestAccess opens a portal session: the desktop asks the user which monitor to share
// (unless a stored restore token answers for the user) and starts the screen cast. A refusal
// is "not granted"; a missing or failing portal is granted, and the failure's reason then
// fails loadShareableContent, so that the engine reports it. The streams made after a grant
// share its session (a start that was stopped meanwhile may still make one before it notices);
// once the last of them stops, the screen cast ends, and a new start opens a new session,
// which the restore token lets through without a dialog.
//
// No portal lets an application leave its own windows out of a monitor's picture; the
// content lists no windows (the portal cannot), and Lookpane's windows must stay off the
// captured region.
class PortalCaptureBackend : public CaptureBackend
{
public:
    struct Options
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        RestoreTokenStore restoreTokens;
        // The displays region requests refer to; by default Qt's screens (`ScreenNumbering`).
        PortalDisplayList displays;
    };

    explicit PortalCaptureBackend(Options options);
    ~PortalCaptureBackend() override;

    void requestAccess(std::function<void(bool granted)> done) override;
    void loadShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                              std::function<void(ShareableContentResult)> done) override;
    std::unique_ptr<CaptureStream> createStream(const ContentFilter &filter,
                                                const StreamConfiguration &configuration) override;

    // The display id of `screen` under the default numbering (Qt's screens).
    std::uint32_t displayIDForScreen(const QScreen &screen);

private:
    std::vector<PortalDisplay> displays();
    // The session that streams made now use: the granted one, else the one streams hold.
    std::shared_ptr<ScreenCastSession> currentSession() const;

    QObject m_context; // main-thread anchor of queued completions and of the session
    Options m_options;
    ScreenNumbering m_numbering;
    // Granted and not yet taken by a stream; then held by the streams alone.
    std::shared_ptr<ScreenCastSession> m_granted;
    std::weak_ptr<ScreenCastSession> m_taken;
    std::unique_ptr<ScreenCastSession> m_opening; // asking the portal
    std::vector<std::function<void(bool)>> m_waiting;
    std::optional<QString> m_error; // why the last session could not be opened
};

} // namespace lookpane::portal
