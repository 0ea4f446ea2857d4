#pragma once

#include "capture/CaptureBackend.h"
#include "capture/portal/PortalDisplays.h"
#include "capture/portal/StreamPicture.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

namespace lookpane::portal {

class PipeWireStream;
class ScreenCastSession;

// What the stream's thread needs to cut the region out of a monitor's picture.
struct PortalCrop
{
    StreamConfiguration configuration;
    QRect displayRect;  // the display the source rectangle counts from, in root pixels
    double scale = 1.0; // pixels per point on it
    StreamPlacement placement;

    // The captured rectangle in root pixels.
    QRect sourcePixels() const;
    // The delivered frame size, at least 1 x 1.
    QSize frameSize() const;
};

// A capture stream over a granted ScreenCast portal session: the portal's PipeWire stream of
// one monitor, cropped to the configured rectangle on the stream's thread and delivered as
// complete samples; a picture identical to the last one delivered is not delivered again. The
// streams of a session share it: once none holds it any more, the screen cast ends. A stream
// that the desktop ends closes the session, so the next start asks for a new one. Completions
// run on the main thread.
class PortalCaptureStream : public CaptureStream
{
public:
    // How long the portal's stream may take to deliver its first picture.
    static constexpr std::chrono::seconds startTimeout{10};

    PortalCaptureStream(std::shared_ptr<ScreenCastSession> session, PortalDisplayList displays,
                        const ContentFilter &filter, const StreamConfiguration &configuration);
    ~PortalCaptureStream() override;

    CaptureError addStreamOutput() override;
    void startCapture(CaptureCompletion done) override;
    void stopCapture(CaptureCompletion done) override;
    void updateConfiguration(const StreamConfiguration &configuration,
                             CaptureCompletion done) override;
    void updateContentFilter(const ContentFilter &filter, CaptureCompletion done) override;

private:
    // Shared with the stream's thread.
    struct Shared
    {
        std::mutex mutex;
        PortalCrop crop;
        CapturedFrame lastDelivered;
    };

    void connectPipeWire(int fd);
    void finishStart(CaptureError error);
    void ended(const QString &reason);
    void deliver(const StreamPicture &picture, std::int64_t timestampNs);
    std::optional<PortalDisplay> display(std::uint32_t displayID) const;

    // Main-thread anchor of queued work; declared first so that it goes last.
    QObject m_context;
    std::shared_ptr<ScreenCastSession> m_session;
    PortalDisplayList m_displays;
    std::shared_ptr<Shared> m_shared;
    CaptureError m_displayError;
    std::unique_ptr<PipeWireStream> m_pipeWire;
    CaptureCompletion m_startCompletion;
    QTimer m_startTimer;
    bool m_ended = false;
};

} // namespace lookpane::portal
