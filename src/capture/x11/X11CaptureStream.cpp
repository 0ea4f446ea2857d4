#include "capture/x11/X11CaptureStream.h"

#include "capture/CompleteLater.h"
#include "capture/x11/CaptureThread.h"
#include "capture/x11/DisplayResolver.h"
#include "platform/x11/XcbConnection.h"


namespace lookpane::x11 {

namespace {

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

X11CaptureStream::X11CaptureStream(std::string displayName,
                                   std::shared_ptr<DisplayResolver> displays,
                                   const ContentFilter &filter,
                                   const StreamConfiguration &configuration)
    : m_displayName(std::move(displayName)), m_displays(std::move(displays))
{
    m_settings.configuration = configuration;
    m_settings.filter = filter;
    if (std::optional<QString> missing = missingCaptureSupport(*m_displays->connection())) {
        m_displayError = missing;
    } else if (std::optional<Monitor> monitor = m_displays->monitor(filter.displayID)) {
        m_settings.displayRect = monitor->geometry;
        m_settings.scale = DisplayResolver::scale(*monitor);
    } else {
        m_displayError = QStringLiteral("The display %1 is not available").arg(filter.displayID);
    }
}

X11CaptureStream::~X11CaptureStream()
{
    // Joins the capture thread: no sample arrives after this.
    m_thread.reset();
}

CaptureError X11CaptureStream::addStreamOutput()
{
    return std::nullopt;
}

void X11CaptureStream::startCapture(CaptureCompletion done)
{
    if (m_thread) {
        completeLater(m_context, std::move(done),
                      QStringLiteral("The capture stream is already running"));
        return;
    }
    if (m_displayError) {
        completeLater(m_context, std::move(done), m_displayError);
        return;
    }
    if (CaptureError invalid = validate(m_settings.configuration)) {
        completeLater(m_context, std::move(done), invalid);
        return;
    }
    m_thread = std::make_unique<CaptureThread>(m_displayName, m_settings);
    CaptureThread *thread = m_thread.get();
    thread->onStarted = [this, done = std::move(done)](CaptureError failure) {
        completeLater(m_context, done, failure);
    };
    thread->onSample = [this](const CaptureSample &sample) {
        if (onSample) {
            onSample(sample);
        }
    };
    thread->onBroken = [this](const QString &error) {
        if (onStopped) {
            onStopped(error);
        }
    };
    QObject::connect(
        thread, &QThread::finished, &m_context, [this] { threadFinished(); }, Qt::QueuedConnection);
    thread->start();
}

void X11CaptureStream::threadFinished()
{
    if (m_thread && m_thread->isFinished()) {
        m_thread->wait();
        m_thread.reset();
    }
    for (CaptureCompletion &done : std::exchange(m_stopCompletions, {})) {
        if (done) {
            done(std::nullopt);
        }
    }
}

void X11CaptureStream::stopCapture(CaptureCompletion done)
{
    if (!m_thread) {
        completeLater(m_context, std::move(done), std::nullopt);
        return;
    }
    m_stopCompletions.push_back(std::move(done));
    m_thread->requestStop();
}

void X11CaptureStream::updateConfiguration(const StreamConfiguration &configuration,
                                           CaptureCompletion done)
{
    if (CaptureError invalid = validate(configuration)) {
        completeLater(m_context, std::move(done), invalid);
        return;
    }
    m_settings.configuration = configuration;
    if (m_thread) {
        m_thread->apply(m_settings);
    }
    completeLater(m_context, std::move(done), std::nullopt);
}

void X11CaptureStream::updateContentFilter(const ContentFilter &filter, CaptureCompletion done)
{
    const std::optional<Monitor> monitor = m_displays->monitor(filter.displayID);
    if (!monitor) {
        completeLater(m_context, std::move(done),
                      QStringLiteral("The display %1 is not available").arg(filter.displayID));
        return;
    }
    m_displayError.reset();
    m_settings.filter = filter;
    m_settings.displayRect = monitor->geometry;
    m_settings.scale = DisplayResolver::scale(*monitor);
    if (m_thread) {
        m_thread->apply(m_settings);
    }
    completeLater(m_context, std::move(done), std::nullopt);
}

} // namespace lookpane::x11
