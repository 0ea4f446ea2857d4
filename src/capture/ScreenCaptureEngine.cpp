#include "capture/ScreenCaptureEngine.h"

#include "capture/CaptureLog.h"
#include "capture/CaptureMessages.h"
#include "capture/EngineGuard.h"
#include "capture/FatalError.h"
#include "capture/FrameRelay.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <QPointer>
#include <limits>

#include <utility>

namespace lookpane {

ScreenCaptureEngine::ScreenCaptureEngine(std::unique_ptr<CaptureBackend> backend,
                                         ScreenLayoutProvider screenLayout, QObject *parent)
    : QObject(parent), m_backend(std::move(backend)), m_screenLayout(std::move(screenLayout)),
      m_anchor(std::make_shared<ScreenCaptureEngine *>(this)), m_frameRelay(FrameRelay::create())
{
    // Runs on the main thread; the relay may outlive the engine by a delivery.
    m_frameRelay->onFrame = [engine =
                                 QPointer<ScreenCaptureEngine>(this)](const CapturedFrame &frame) {
        if (engine) {
            Q_EMIT engine->frameCaptured(frame);
        }
    };
}

ScreenCaptureEngine::~ScreenCaptureEngine()
{
    // Nothing queued from another thread reaches the engine any more.
    m_anchor.reset();
    m_regionUpdateTask.reset();
    // The stream goes before the backend that made it.
    m_stream.reset();
}

void ScreenCaptureEngine::setState(const ScreenCaptureState &state)
{
    m_state = state;
    // The user sees the failure in the windows; whoever started Lookpane from a terminal, or
    // reads its journal, sees it there too.
    if (state.isFailed()) {
        qCWarning(lcCapture).noquote() << state.message();
    }
    // Reported from the event loop, after the caller has returned; queued calls on one object
    // run in the order they were posted.
    QMetaObject::invokeMethod(
        this, [this, state] { Q_EMIT stateChanged(state); }, Qt::QueuedConnection);
}

void ScreenCaptureEngine::start(const std::optional<MirroredWindow> &window)
{
    if (m_isRunning || m_isStarting || m_stream) {
        return;
    }
    StartAttempt attempt;
    attempt.generation = ++m_startGeneration;
    m_isStarting = true;
    setState(ScreenCaptureState::starting());

    if (!window) {
        m_isStarting = false;
        setState(ScreenCaptureState::failed(captureMessages::shareWindowUnavailable()));
        return;
    }
    if (window->windowNumber < 0 ||
        window->windowNumber > std::numeric_limits<std::uint32_t>::max()) {
        fatalError(
            QStringLiteral("window number %1 does not fit in 32 bits").arg(window->windowNumber));
    }
    attempt.windowID = static_cast<std::uint32_t>(window->windowNumber);
    m_excludedWindowID = attempt.windowID;
    attempt.display = window->screen;
    attempt.frame = window->contentRect;

    QMetaObject::invokeMethod(
        this, [this, attempt] { startCapture(attempt); }, Qt::QueuedConnection);
}

bool ScreenCaptureEngine::isCurrent(const StartAttempt &attempt) const
{
    return m_startGeneration == attempt.generation;
}

void ScreenCaptureEngine::finishStart(const StartAttempt &attempt)
{
    // A stale attempt leaves the flag to the attempt that replaced it.
    if (isCurrent(attempt)) {
        m_isStarting = false;
    }
}

void ScreenCaptureEngine::startCapture(const StartAttempt &attempt)
{
    m_backend->requestAccess(guardedBy(m_anchor, [this, attempt](bool granted) {
        if (!granted) {
            if (isCurrent(attempt)) {
                setState(ScreenCaptureState::permissionRequired());
            }
            finishStart(attempt);
            return;
        }
        if (!attempt.display) {
            if (isCurrent(attempt)) {
                setState(ScreenCaptureState::failed(captureMessages::noDisplayAvailable()));
            }
            finishStart(attempt);
            return;
        }
        loadCaptureTarget(attempt.display->id, attempt.windowID,
                          [this, attempt](const CaptureTargetResult &result) {
                              if (result.error) {
                                  failStart(attempt, *result.error);
                                  return;
                              }
                              if (!result.target) {
                                  if (isCurrent(attempt)) {
                                      setState(ScreenCaptureState::failed(
                                          captureMessages::couldNotExcludeItself()));
                                  }
                                  finishStart(attempt);
                                  return;
                              }
                              startWithTarget(attempt, *result.target);
                          });
    }));
}

void ScreenCaptureEngine::startWithTarget(const StartAttempt &attempt, const CaptureTarget &target)
{
    const StreamConfiguration configuration = makeConfiguration(attempt.frame, *attempt.display);
    const std::shared_ptr<CaptureStream> stream = makeStream(target.filter, configuration);
    if (!stream) {
        failStart(attempt, captureMessages::streamNotCreated());
        return;
    }
    std::weak_ptr<FrameRelay> relay = m_frameRelay;
    stream->onSample = [relay](const CaptureSample &sample) {
        // On the capture thread: incomplete frames go no further.
        if (sample.frame.isNull() || !frameIsComplete(sample)) {
            return;
        }
        if (const std::shared_ptr<FrameRelay> liveRelay = relay.lock()) {
            liveRelay->submit(sample.frame);
        }
    };
    if (const CaptureError error = stream->addStreamOutput()) {
        stopThenFailStart(attempt, stream, *error);
        return;
    }
    startStream(attempt, target, stream, configuration);
}

void ScreenCaptureEngine::startStream(const StartAttempt &attempt, const CaptureTarget &target,
                                      const std::shared_ptr<CaptureStream> &stream,
                                      const StreamConfiguration &configuration)
{
    stream->startCapture(guardedBy(m_anchor, [this, attempt, target, stream,
                                              configuration](const CaptureError &startError) {
        if (startError) {
            stopThenFailStart(attempt, stream, *startError);
            return;
        }
        // The same configuration once more right after the start: the first frames then
        // already have the requested size.
        stream->updateConfiguration(
            configuration,
            guardedBy(m_anchor, [this, attempt, target, stream](const CaptureError &updateError) {
                if (updateError) {
                    stopThenFailStart(attempt, stream, *updateError);
                    return;
                }
                if (!isCurrent(attempt)) {
                    // Stopped or replaced meanwhile: this stream is not wanted.
                    stopStream(stream);
                    return;
                }
                m_displayID = target.display.displayID;
                m_stream = stream;
                m_isRunning = true;
                setState(ScreenCaptureState::running());
                finishStart(attempt);
            }));
    }));
}

void ScreenCaptureEngine::failStart(const StartAttempt &attempt, const QString &description)
{
    if (isCurrent(attempt)) {
        setState(ScreenCaptureState::failed(captureMessages::unableToStart(description)));
    }
    finishStart(attempt);
}

void ScreenCaptureEngine::stopThenFailStart(const StartAttempt &attempt,
                                            const std::shared_ptr<CaptureStream> &stream,
                                            const QString &description)
{
    stopStream(stream, guardedBy(m_anchor, [this, attempt, description] {
                   failStart(attempt, description);
               }));
}

std::shared_ptr<CaptureStream>
ScreenCaptureEngine::makeStream(const ContentFilter &filter,
                                const StreamConfiguration &configuration)
{
    std::shared_ptr<CaptureStream> stream = m_backend->createStream(filter, configuration);
    if (!stream) {
        return nullptr;
    }
    std::weak_ptr<ScreenCaptureEngine *> anchor = m_anchor;
    stream->onStopped = [anchor](const QString &error) {
        // On whatever thread the stream ends: continue on the main thread, if the engine
        // still exists there.
        QCoreApplication *application = QCoreApplication::instance();
        if (!application) {
            return;
        }
        QMetaObject::invokeMethod(
            application,
            [anchor, error] {
                if (const std::shared_ptr<ScreenCaptureEngine *> engine = anchor.lock()) {
                    (*engine)->handleStreamStopped(error);
                }
            },
            Qt::QueuedConnection);
    };
    return stream;
}

void ScreenCaptureEngine::stopStream(const std::shared_ptr<CaptureStream> &stream,
                                     std::function<void()> then)
{
    stream->stopCapture([stream, then = std::move(then)](const CaptureError &) {
        // Errors of a stop are of no interest.
        if (then) {
            then();
        }
    });
}

void ScreenCaptureEngine::stop()
{
    ++m_startGeneration;
    m_isStarting = false;

    ++m_regionUpdateGeneration;
    if (m_regionUpdateTask) {
        m_regionUpdateTask->isCancelled = true;
    }
    m_regionUpdateTask.reset();
    m_pendingRegionUpdate.reset();

    if (!m_stream) {
        m_isRunning = false;
        setState(ScreenCaptureState::idle());
        return;
    }
    std::shared_ptr<CaptureStream> stream = std::move(m_stream);
    m_stream.reset();
    m_isRunning = false;
    setState(ScreenCaptureState::idle());
    QMetaObject::invokeMethod(
        this, [stream] { stopStream(stream); }, Qt::QueuedConnection);
}

void ScreenCaptureEngine::handleStreamStopped(const QString &error)
{
    ++m_startGeneration;
    m_isStarting = false;
    m_isRunning = false;
    // The system has ended it already: released without asking it to stop.
    m_stream.reset();
    setState(ScreenCaptureState::failed(captureMessages::captureStopped(error)));
}

} // namespace lookpane
