#pragma once

#include "capture/CaptureBackend.h"

#include <QObject>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lookpane {

class ScriptedCaptureStream;

// What happened to one stream that the scripted backend made, kept after the stream itself is
// gone. Requests wait here until the test answers them (or are answered from the event loop
// when the backend has an automatic answer for them).
struct ScriptedStreamRecord
{
    ContentFilter filter;
    StreamConfiguration configuration;

    bool outputAdded = false;
    int startRequests = 0;
    int stopRequests = 0;
    std::vector<StreamConfiguration> configurationUpdates;
    std::vector<ContentFilter> filterUpdates;
    // The stream while it exists; null once its owner has released it.
    ScriptedCaptureStream *stream = nullptr;

    std::deque<CaptureCompletion> pendingStarts;
    std::deque<CaptureCompletion> pendingStops;
    std::deque<CaptureCompletion> pendingConfigurationUpdates;
    std::deque<CaptureCompletion> pendingFilterUpdates;

    // Answer the oldest waiting request of each kind (which must exist).
    void answerStart(CaptureError error = std::nullopt);
    void answerStop(CaptureError error = std::nullopt);
    void answerConfigurationUpdate(CaptureError error = std::nullopt);
    void answerFilterUpdate(CaptureError error = std::nullopt);

    bool isAlive() const { return stream != nullptr; }
};

class ScriptedCaptureStream : public CaptureStream
{
public:
    ScriptedCaptureStream(class ScriptedCaptureBackend &backend,
                          std::shared_ptr<ScriptedStreamRecord> record);
    ~ScriptedCaptureStream() override;

    CaptureError addStreamOutput() override;
    void startCapture(CaptureCompletion done) override;
    void stopCapture(CaptureCompletion done) override;
    void updateConfiguration(const StreamConfiguration &configuration,
                             CaptureCompletion done) override;
    void updateContentFilter(const ContentFilter &filter, CaptureCompletion done) override;

    // Delivers `samples` through onSample on a thread of their own, as a capture thread
    // would, and returns when all are delivered.
    void deliverOnCaptureThread(const std::vector<CaptureSample> &samples);
    // The system ends the stream: onStopped from another thread.
    void stopBySystem(const QString &error);

private:
    ScriptedCaptureBackend &m_backend;
    std::shared_ptr<ScriptedStreamRecord> m_record;
};

// A capture backend whose every answer the test decides. A request waits until the test
// answers it, unless an automatic answer is set for its kind, in which case it is answered
// from the event loop. Answers always run on the main thread, never inside the request.
class ScriptedCaptureBackend : public CaptureBackend
{
public:
    ScriptedCaptureBackend();
    ~ScriptedCaptureBackend() override;

    // Automatic answers; none means "wait for the test".
    std::optional<bool> accessAnswer;
    std::optional<ShareableContentResult> contentAnswer;
    std::optional<CaptureError> startAnswer;
    std::optional<CaptureError> stopAnswer;
    std::optional<CaptureError> configurationAnswer;
    std::optional<CaptureError> filterAnswer;
    // What addStreamOutput answers (synchronously, as the interface has it).
    CaptureError addStreamOutputAnswer;
    // When set, createStream makes no stream.
    bool failStreamCreation = false;

    // Sets every automatic answer to success, with `content` as the shareable content.
    void answerEverything(const ShareableContent &content);

    struct ContentRequest
    {
        bool excludingDesktopWindows = false;
        bool onScreenWindowsOnly = false;
    };
    int accessRequests = 0;
    std::vector<ContentRequest> contentRequests;
    std::vector<std::shared_ptr<ScriptedStreamRecord>> streams;

    std::deque<std::function<void(bool)>> pendingAccess;
    std::deque<std::function<void(ShareableContentResult)>> pendingContent;
    void answerAccess(bool granted);
    void answerContent(const ShareableContentResult &result);

    // Runs `answer` from the event loop, unless the backend is gone by then.
    void answerLater(std::function<void()> answer);

    void requestAccess(std::function<void(bool granted)> done) override;
    void loadShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                              std::function<void(ShareableContentResult)> done) override;
    std::unique_ptr<CaptureStream> createStream(const ContentFilter &filter,
                                                const StreamConfiguration &configuration) override;

private:
    QObject m_context;
};

} // namespace lookpane
