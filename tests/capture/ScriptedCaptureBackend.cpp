#include "ScriptedCaptureBackend.h"

#include <QMetaObject>

#include <cassert>
#include <stdexcept>
#include <thread>
#include <utility>

namespace lookpane {

namespace {

template <typename Completion, typename Answer>
void answerOldest(std::deque<Completion> &pending, Answer answer, const char *what)
{
    if (pending.empty()) {
        throw std::logic_error(std::string("no waiting request to answer: ") + what);
    }
    Completion done = std::move(pending.front());
    pending.pop_front();
    done(std::move(answer));
}

} // namespace

void ScriptedStreamRecord::answerStart(CaptureError error)
{
    answerOldest(pendingStarts, std::move(error), "startCapture");
}

void ScriptedStreamRecord::answerStop(CaptureError error)
{
    answerOldest(pendingStops, std::move(error), "stopCapture");
}

void ScriptedStreamRecord::answerConfigurationUpdate(CaptureError error)
{
    answerOldest(pendingConfigurationUpdates, std::move(error), "updateConfiguration");
}

void ScriptedStreamRecord::answerFilterUpdate(CaptureError error)
{
    answerOldest(pendingFilterUpdates, std::move(error), "updateContentFilter");
}

ScriptedCaptureStream::ScriptedCaptureStream(ScriptedCaptureBackend &backend,
                                             std::shared_ptr<ScriptedStreamRecord> record)
    : m_backend(backend), m_record(std::move(record))
{
    m_record->stream = this;
}

ScriptedCaptureStream::~ScriptedCaptureStream()
{
    m_record->stream = nullptr;
}

CaptureError ScriptedCaptureStream::addStreamOutput()
{
    m_record->outputAdded = !m_backend.addStreamOutputAnswer.has_value();
    return m_backend.addStreamOutputAnswer;
}

namespace {

// Either waits in `pending` for the test, or is answered from the event loop with `answer`.
void request(ScriptedCaptureBackend &backend, std::deque<CaptureCompletion> &pending,
             const std::optional<CaptureError> &answer, CaptureCompletion done)
{
    if (answer) {
        backend.answerLater([done = std::move(done), error = *answer] { done(error); });
        return;
    }
    pending.push_back(std::move(done));
}

} // namespace

void ScriptedCaptureStream::startCapture(CaptureCompletion done)
{
    ++m_record->startRequests;
    request(m_backend, m_record->pendingStarts, m_backend.startAnswer, std::move(done));
}

void ScriptedCaptureStream::stopCapture(CaptureCompletion done)
{
    ++m_record->stopRequests;
    request(m_backend, m_record->pendingStops, m_backend.stopAnswer, std::move(done));
}

void ScriptedCaptureStream::updateConfiguration(const StreamConfiguration &configuration,
                                                CaptureCompletion done)
{
    m_record->configurationUpdates.push_back(configuration);
    request(m_backend, m_record->pendingConfigurationUpdates, m_backend.configurationAnswer,
            std::move(done));
}

void ScriptedCaptureStream::updateContentFilter(const ContentFilter &filter, CaptureCompletion done)
{
    m_record->filterUpdates.push_back(filter);
    request(m_backend, m_record->pendingFilterUpdates, m_backend.filterAnswer, std::move(done));
}

void ScriptedCaptureStream::deliverOnCaptureThread(const std::vector<CaptureSample> &samples)
{
    std::thread captureThread([this, &samples] {
        for (const CaptureSample &sample : samples) {
            if (onSample) {
                onSample(sample);
            }
        }
    });
    captureThread.join();
}

void ScriptedCaptureStream::stopBySystem(const QString &error)
{
    std::thread systemThread([this, &error] {
        if (onStopped) {
            onStopped(error);
        }
    });
    systemThread.join();
}

ScriptedCaptureBackend::ScriptedCaptureBackend() = default;
ScriptedCaptureBackend::~ScriptedCaptureBackend() = default;

void ScriptedCaptureBackend::answerEverything(const ShareableContent &content)
{
    accessAnswer = true;
    contentAnswer = ShareableContentResult{content, {}};
    startAnswer = CaptureError{};
    stopAnswer = CaptureError{};
    configurationAnswer = CaptureError{};
    filterAnswer = CaptureError{};
}

void ScriptedCaptureBackend::answerAccess(bool granted)
{
    answerOldest(pendingAccess, granted, "requestAccess");
}

void ScriptedCaptureBackend::answerContent(const ShareableContentResult &result)
{
    answerOldest(pendingContent, result, "loadShareableContent");
}

void ScriptedCaptureBackend::answerLater(std::function<void()> answer)
{
    QMetaObject::invokeMethod(&m_context, std::move(answer), Qt::QueuedConnection);
}

void ScriptedCaptureBackend::requestAccess(std::function<void(bool)> done)
{
    ++accessRequests;
    if (accessAnswer) {
        answerLater([done = std::move(done), granted = *accessAnswer] { done(granted); });
        return;
    }
    pendingAccess.push_back(std::move(done));
}

void ScriptedCaptureBackend::loadShareableContent(bool excludingDesktopWindows,
                                                  bool onScreenWindowsOnly,
                                                  std::function<void(ShareableContentResult)> done)
{
    contentRequests.push_back({excludingDesktopWindows, onScreenWindowsOnly});
    if (contentAnswer) {
        answerLater([done = std::move(done), result = *contentAnswer] { done(result); });
        return;
    }
    pendingContent.push_back(std::move(done));
}

std::unique_ptr<CaptureStream>
ScriptedCaptureBackend::createStream(const ContentFilter &filter,
                                     const StreamConfiguration &configuration)
{
    if (failStreamCreation) {
        return nullptr;
    }
    auto record = std::make_shared<ScriptedStreamRecord>();
    record->filter = filter;
    record->configuration = configuration;
    streams.push_back(record);
    return std::make_unique<ScriptedCaptureStream>(*this, record);
}

} // namespace lookpane
