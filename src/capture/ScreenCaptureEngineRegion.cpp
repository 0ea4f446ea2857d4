// The capture engine's region changes while its stream runs, and how it finds the display and
// filter that a stream is bound to.

#include "capture/CaptureMessages.h"
#include "capture/EngineGuard.h"
#include "capture/ScreenCaptureEngine.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace lookpane {

void ScreenCaptureEngine::updateRegion(const ScreenRect &frame,
                                       const std::optional<CaptureDisplay> &screen)
{
    // While a start is in progress there is no stream yet: the start captures the window's
    // rectangle as it was when it began.
    if (!m_stream || !screen) {
        return;
    }
    // The newest request replaces an older one that has not been applied.
    m_pendingRegionUpdate = PendingRegionUpdate{frame, *screen};
    if (m_regionUpdateTask) {
        return;
    }
    const std::int64_t generation = ++m_regionUpdateGeneration;
    m_regionUpdateTask = std::make_shared<RegionUpdateTask>();
    processRegionUpdates(generation, m_regionUpdateTask);
}

void ScreenCaptureEngine::processRegionUpdates(std::int64_t generation,
                                               std::shared_ptr<RegionUpdateTask> task)
{
    if (task->isCancelled) {
        endRegionUpdates(generation);
        return;
    }
    // At most one reconfiguration per interval, always with the newest rectangle.
    QTimer::singleShot(regionUpdateInterval, this, [this, generation, task] {
        if (task->isCancelled || !m_pendingRegionUpdate) {
            endRegionUpdates(generation);
            return;
        }
        const PendingRegionUpdate update = *m_pendingRegionUpdate;
        m_pendingRegionUpdate.reset();
        applyRegion(update.frame, update.display,
                    [this, generation, task] { processRegionUpdates(generation, task); });
    });
}

void ScreenCaptureEngine::endRegionUpdates(std::int64_t generation)
{
    // A loop of an older generation leaves the task handle to the newer loop.
    if (m_regionUpdateGeneration == generation) {
        m_regionUpdateTask.reset();
    }
}

void ScreenCaptureEngine::applyRegion(const ScreenRect &frame, const CaptureDisplay &display,
                                      std::function<void()> done)
{
    if (!m_stream) {
        done();
        return;
    }
    const std::shared_ptr<CaptureStream> stream = m_stream;
    if (m_displayID && *m_displayID == display.id) {
        // Same display: only the rectangle and pixel size change.
        stream->updateConfiguration(
            makeConfiguration(frame, display),
            guardedBy(m_anchor, [this, done = std::move(done)](const CaptureError &error) {
                if (error) {
                    failRegionUpdate(*error);
                }
                done();
            }));
        return;
    }
    // Another display: the costlier filter change first.
    loadCaptureTarget(
        display.id, m_excludedWindowID,
        [this, frame, display, stream, done = std::move(done)](const CaptureTargetResult &result) {
            applyRegionTarget(frame, display, stream, result, done);
        });
}

void ScreenCaptureEngine::applyRegionTarget(const ScreenRect &frame, const CaptureDisplay &display,
                                            const std::shared_ptr<CaptureStream> &stream,
                                            const CaptureTargetResult &result,
                                            std::function<void()> done)
{
    if (result.error) {
        failRegionUpdate(*result.error);
        done();
        return;
    }
    if (!result.target) {
        setState(ScreenCaptureState::failed(captureMessages::couldNotExcludeItself()));
        done();
        return;
    }
    stream->updateContentFilter(
        result.target->filter,
        guardedBy(m_anchor, [this, frame, display, stream,
                             done = std::move(done)](const CaptureError &filterError) {
            if (filterError) {
                failRegionUpdate(*filterError);
                done();
                return;
            }
            m_displayID = display.id;
            stream->updateConfiguration(
                makeConfiguration(frame, display),
                guardedBy(m_anchor, [this, done](const CaptureError &error) {
                    if (error) {
                        failRegionUpdate(*error);
                    }
                    done();
                }));
        }));
}

void ScreenCaptureEngine::failRegionUpdate(const QString &description)
{
    // The stream is kept and stays running; a later request is applied normally.
    setState(ScreenCaptureState::failed(captureMessages::unableToUpdateRegion(description)));
}

void ScreenCaptureEngine::loadCaptureTarget(std::uint32_t displayID,
                                            std::optional<std::uint32_t> windowID,
                                            CaptureTargetCompletion done, int attempt)
{
    m_backend->loadShareableContent(
        false, true,
        guardedBy(m_anchor, [this, displayID, windowID, done = std::move(done),
                             attempt](const ShareableContentResult &result) {
            if (!result.content) {
                // Errors end the search at once; only a content without this application is
                // asked for again.
                done(CaptureTargetResult{std::nullopt, result.error});
                return;
            }
            const ShareableContent &content = *result.content;
            const auto display = std::find_if(
                content.displays.begin(), content.displays.end(),
                [&](const ShareableDisplay &entry) { return entry.displayID == displayID; });
            if (display != content.displays.end()) {
                if (std::optional<ContentFilter> filter = makeFilter(
                        content, *display, windowID, QCoreApplication::applicationPid())) {
                    done(CaptureTargetResult{CaptureTarget{*display, std::move(*filter)},
                                             std::nullopt});
                    return;
                }
            }
            if (attempt + 1 >= captureTargetAttempts) {
                done(CaptureTargetResult{});
                return;
            }
            // Just after launch, or just after the frame window appears, the content may not
            // list this application or its window yet.
            QTimer::singleShot(captureTargetRetryInterval, this,
                               [this, displayID, windowID, done, attempt] {
                                   loadCaptureTarget(displayID, windowID, done, attempt + 1);
                               });
        }));
}

void ScreenCaptureEngine::shareableWindows(std::function<void(std::vector<ShareableWindow>)> done)
{
    m_backend->loadShareableContent(
        true, true,
        guardedBy(m_anchor, [this, done = std::move(done)](const ShareableContentResult &result) {
            if (!result.content) {
                done({});
                return;
            }
            // Window frames come in Qt's coordinates; the primary screen's place there decides
            // where they lie in screen coordinates.
            const ScreenLayout layout = m_screenLayout ? m_screenLayout() : ScreenLayout{};
            done(makeShareableWindows(result.content->windows, QCoreApplication::applicationPid(),
                                      layout.primaryGeometry));
        }));
}

} // namespace lookpane
