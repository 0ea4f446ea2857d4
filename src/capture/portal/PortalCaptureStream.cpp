#include "capture/portal/PortalCaptureStream.h"

#include "capture/CompleteLater.h"
#include "capture/portal/CapturePortalLog.h"
#include "capture/portal/PipeWireStream.h"
#include "capture/portal/ScreenCastSession.h"
#include "model/DevicePixels.h"

#include <QDBusUnixFileDescriptor>
#include <QMetaObject>

#include <unistd.h>

#include <algorithm>
#include <limits>

namespace lookpane::portal {

namespace {

// The largest frame side the capture makes, as on X11.
constexpr int maximumFrameSide = 32767;

CaptureError validate(const StreamConfiguration &configuration)
{
    if (configuration.width < 1 || configuration.height < 1 ||
        configuration.width > maximumFrameSide || configuration.height > maximumFrameSide) {
        return QStringLiteral("A frame size of %1 × %2 pixels is not supported")
            .arg(configuration.width)
            .arg(configuration.height);
    }
    if (!configuration.sourceRect.isValid()) {
        return QStringLiteral("The capture rectangle is empty");
    }
    return std::nullopt;
}

} // namespace

QRect PortalCrop::sourcePixels() const
{
    // Offset and size rounded each on its own, as Qt places the window laid over the region.
    return devicePixelRect(configuration.sourceRect, displayRect.topLeft(), scale);
}

QSize PortalCrop::frameSize() const
{
    const auto side = [](std::int64_t value) {
        return static_cast<int>(std::clamp<std::int64_t>(value, 1, maximumFrameSide));
    };
    return QSize(side(configuration.width), side(configuration.height));
}

PortalCaptureStream::PortalCaptureStream(std::shared_ptr<ScreenCastSession> session,
                                         PortalDisplayList displays, const ContentFilter &filter,
                                         const StreamConfiguration &configuration)
    : m_session(std::move(session)), m_displays(std::move(displays)),
      m_shared(std::make_shared<Shared>())
{
    m_shared->crop.configuration = configuration;
    if (m_session) {
        m_shared->crop.placement = m_session->stream().placement;
    }
    if (const std::optional<PortalDisplay> found = display(filter.displayID)) {
        m_shared->crop.displayRect = found->frame;
        m_shared->crop.scale = found->scale;
    } else {
        m_displayError = QStringLiteral("The display %1 is not available").arg(filter.displayID);
    }
    m_startTimer.setSingleShot(true);
    QObject::connect(&m_startTimer, &QTimer::timeout, &m_context, [this] {
        finishStart(QStringLiteral("The screen cast delivered no picture within %1 seconds")
                        .arg(startTimeout.count()));
    });
}

PortalCaptureStream::~PortalCaptureStream()
{
    // Joins the stream's thread: no picture arrives after this.
    m_pipeWire.reset();
}

std::optional<PortalDisplay> PortalCaptureStream::display(std::uint32_t displayID) const
{
    if (!m_displays) {
        return std::nullopt;
    }
    for (const PortalDisplay &entry : m_displays()) {
        if (entry.displayID == displayID) {
            return entry;
        }
    }
    return std::nullopt;
}

CaptureError PortalCaptureStream::addStreamOutput()
{
    return std::nullopt;
}

void PortalCaptureStream::startCapture(CaptureCompletion done)
{
    if (m_pipeWire || m_startCompletion) {
        completeLater(m_context, std::move(done),
                      QStringLiteral("The capture stream is already running"));
        return;
    }
    if (!m_session || !m_session->isOpen()) {
        completeLater(m_context, std::move(done),
                      QStringLiteral("The screen-sharing session has ended"));
        return;
    }
    if (m_displayError) {
        completeLater(m_context, std::move(done), m_displayError);
        return;
    }
    if (CaptureError invalid = validate(m_shared->crop.configuration)) {
        completeLater(m_context, std::move(done), invalid);
        return;
    }
    m_startCompletion = std::move(done);
    m_startTimer.start(startTimeout);
    QObject::connect(m_session.get(), &ScreenCastSession::closed, &m_context,
                     [this] { ended(QStringLiteral("the desktop ended the screen cast")); });
    m_session->openPipeWireRemote(
        &m_context, [this](const QDBusUnixFileDescriptor &remote, const QString &error) {
            if (!m_startCompletion) {
                return; // stopped meanwhile
            }
            if (!remote.isValid()) {
                finishStart(error);
                return;
            }
            // PipeWire takes over a descriptor of its own.
            const int fd = dup(remote.fileDescriptor());
            if (fd < 0) {
                finishStart(QStringLiteral("The portal's PipeWire connection is unusable"));
                return;
            }
            connectPipeWire(fd);
        });
}

void PortalCaptureStream::connectPipeWire(int fd)
{
    PipeWireStream::Callbacks callbacks;
    callbacks.onPicture = [this](const StreamPicture &picture, std::int64_t timestampNs) {
        deliver(picture, timestampNs);
    };
    callbacks.onStreaming = [this] {
        QMetaObject::invokeMethod(
            &m_context, [this] { finishStart(std::nullopt); }, Qt::QueuedConnection);
    };
    callbacks.onEnded = [this](const QString &reason) {
        QMetaObject::invokeMethod(
            &m_context, [this, reason] { ended(reason); }, Qt::QueuedConnection);
    };
    QString error;
    m_pipeWire =
        PipeWireStream::connect(fd, m_session->stream().nodeID, std::move(callbacks), &error);
    if (!m_pipeWire) {
        finishStart(error);
    }
}

void PortalCaptureStream::finishStart(CaptureError error)
{
    m_startTimer.stop();
    if (CaptureCompletion done = std::exchange(m_startCompletion, nullptr)) {
        if (error) {
            m_pipeWire.reset();
        }
        done(error);
    }
}

void PortalCaptureStream::ended(const QString &reason)
{
    if (m_startCompletion) {
        finishStart(reason);
        return;
    }
    if (m_ended || !m_pipeWire) {
        return;
    }
    m_ended = true;
    qCDebug(lcCapturePortal).noquote() << "Screen cast ended:" << reason;
    // Nothing more comes of this session: the next start asks for a new one.
    if (m_session) {
        m_session->close();
    }
    if (onStopped) {
        onStopped(reason);
    }
}

void PortalCaptureStream::deliver(const StreamPicture &picture, std::int64_t timestampNs)
{
    // On the stream's thread.
    CapturedFrame frame;
    {
        std::lock_guard lock(m_shared->mutex);
        const PortalCrop &crop = m_shared->crop;
        const QRect source = streamPixelsFor(crop.sourcePixels(), crop.placement,
                                             QSize(picture.width, picture.height));
        frame = cropPicture(picture, source, crop.frameSize(), timestampNs);
        // Nothing changed in the region, nothing is delivered.
        if (samePicture(frame, m_shared->lastDelivered)) {
            return;
        }
        m_shared->lastDelivered = frame;
    }
    if (onSample) {
        onSample(CaptureSample{frame, FrameStatus::complete});
    }
}

void PortalCaptureStream::stopCapture(CaptureCompletion done)
{
    m_startTimer.stop();
    m_pipeWire.reset();
    // The screen cast ends once no stream holds the session any more.
    m_session.reset();
    if (CaptureCompletion pending = std::exchange(m_startCompletion, nullptr)) {
        completeLater(m_context, std::move(pending),
                      QStringLiteral("The capture stream was stopped"));
    }
    completeLater(m_context, std::move(done), std::nullopt);
}

void PortalCaptureStream::updateConfiguration(const StreamConfiguration &configuration,
                                              CaptureCompletion done)
{
    if (CaptureError invalid = validate(configuration)) {
        completeLater(m_context, std::move(done), invalid);
        return;
    }
    {
        std::lock_guard lock(m_shared->mutex);
        m_shared->crop.configuration = configuration;
    }
    if (m_pipeWire) {
        m_pipeWire->repeatNewest();
    }
    completeLater(m_context, std::move(done), std::nullopt);
}

void PortalCaptureStream::updateContentFilter(const ContentFilter &filter, CaptureCompletion done)
{
    const std::optional<PortalDisplay> found = display(filter.displayID);
    if (!found) {
        completeLater(m_context, std::move(done),
                      QStringLiteral("The display %1 is not available").arg(filter.displayID));
        return;
    }
    m_displayError.reset();
    {
        std::lock_guard lock(m_shared->mutex);
        m_shared->crop.displayRect = found->frame;
        m_shared->crop.scale = found->scale;
    }
    if (m_pipeWire) {
        m_pipeWire->repeatNewest();
    }
    completeLater(m_context, std::move(done), std::nullopt);
}

} // namespace lookpane::portal
