#pragma once

#include "capture/CaptureBackend.h"
#include "capture/x11/CaptureSettings.h"

#include <QObject>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lookpane::x11 {

class CaptureThread;
class DisplayResolver;

// A capture stream on an X11 display: composites the configured rectangle of one RandR
// monitor from the other windows' own pixmaps, leaving out the filter's processes and
// windows, on a capture thread of its own. Completions run on the main thread.
class X11CaptureStream : public CaptureStream
{
public:
    X11CaptureStream(std::string displayName, std::shared_ptr<DisplayResolver> displays,
                     const ContentFilter &filter, const StreamConfiguration &configuration);
    ~X11CaptureStream() override;

    CaptureError addStreamOutput() override;
    void startCapture(CaptureCompletion done) override;
    void stopCapture(CaptureCompletion done) override;
    void updateConfiguration(const StreamConfiguration &configuration,
                             CaptureCompletion done) override;
    void updateContentFilter(const ContentFilter &filter, CaptureCompletion done) override;

private:
    void threadFinished();

    // Main-thread anchor of queued completions; declared first so it outlives the thread.
    QObject m_context;
    std::string m_displayName;
    std::shared_ptr<DisplayResolver> m_displays;
    CaptureSettings m_settings;
    CaptureError m_displayError;
    std::unique_ptr<CaptureThread> m_thread;
    std::vector<CaptureCompletion> m_stopCompletions;
};

} // namespace lookpane::x11
