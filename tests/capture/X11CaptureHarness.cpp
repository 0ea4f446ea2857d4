#include "X11CaptureHarness.h"

#include "TestDisplay.h"
#include "XReadback.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPalette>
#include <QThread>

#include <unistd.h>

#include <cstdlib>
#include <optional>

namespace lookpane::testing {

X11CaptureHarness::X11CaptureHarness() : m_backend(testDisplay().displayName()) {}

X11CaptureHarness::X11CaptureHarness(const std::string &displayName) : m_backend(displayName) {}

X11CaptureHarness::~X11CaptureHarness()
{
    if (m_stream) {
        stop();
    }
}

std::uint32_t X11CaptureHarness::displayID()
{
    if (!m_displayKnown) {
        std::optional<ShareableContentResult> result;
        m_backend.loadShareableContent(false, true,
                                       [&](ShareableContentResult r) { result = std::move(r); });
        waitUntil([&] { return result.has_value(); }, 10000);
        if (result && result->content && !result->content->displays.empty()) {
            m_displayID = result->content->displays.front().displayID;
            m_displayKnown = true;
        }
    }
    return m_displayID;
}

StreamConfiguration X11CaptureHarness::configurationFor(const QRect &source, QSize size) const
{
    if (size.isEmpty()) {
        size = source.size();
    }
    StreamConfiguration configuration;
    configuration.width = size.width();
    configuration.height = size.height();
    configuration.sourceRect = QRectF(source);
    configuration.maximumFramesPerSecond = maximumFramesPerSecond;
    return configuration;
}

CaptureError
X11CaptureHarness::waitForCompletion(const std::function<void(CaptureCompletion)> &request)
{
    std::optional<CaptureError> outcome;
    request([&](CaptureError error) { outcome = std::move(error); });
    if (!waitUntil([&] { return outcome.has_value(); }, 10000)) {
        return QStringLiteral("no completion within 10 s");
    }
    return *outcome;
}

CaptureError X11CaptureHarness::start(const QRect &source, QSize size,
                                      std::vector<std::uint32_t> excludedWindows)
{
    ContentFilter filter;
    filter.displayID = displayID();
    if (excludeOwnProcess) {
        filter.excludedProcessIDs = {getpid()};
    }
    filter.excludedWindowIDs = std::move(excludedWindows);
    m_stream = m_backend.createStream(filter, configurationFor(source, size));
    m_stream->onSample = [this](const CaptureSample &sample) {
        std::lock_guard lock(m_mutex);
        ++m_frames;
        m_latest = sample.frame;
        m_threadName = QThread::currentThread()->objectName();
        if (sample.status) {
            m_statuses.push_back(*sample.status);
        }
    };
    m_stream->onStopped = [this](const QString &error) {
        std::lock_guard lock(m_mutex);
        m_stoppedError = error;
    };
    if (CaptureError error = m_stream->addStreamOutput()) {
        return error;
    }
    return waitForCompletion([this](CaptureCompletion done) { m_stream->startCapture(done); });
}

CaptureError X11CaptureHarness::update(const QRect &source, QSize size)
{
    const StreamConfiguration configuration = configurationFor(source, size);
    return waitForCompletion(
        [&](CaptureCompletion done) { m_stream->updateConfiguration(configuration, done); });
}

CaptureError X11CaptureHarness::stop()
{
    if (!m_stream) {
        return std::nullopt;
    }
    CaptureError error =
        waitForCompletion([this](CaptureCompletion done) { m_stream->stopCapture(done); });
    m_stream.reset();
    return error;
}

std::optional<QString> X11CaptureHarness::stoppedError() const
{
    std::lock_guard lock(m_mutex);
    return m_stoppedError;
}

int X11CaptureHarness::frameCount() const
{
    std::lock_guard lock(m_mutex);
    return m_frames;
}

CapturedFrame X11CaptureHarness::latestFrame() const
{
    std::lock_guard lock(m_mutex);
    return m_latest;
}

std::pair<int, CapturedFrame> X11CaptureHarness::countAndLatestFrame() const
{
    std::lock_guard lock(m_mutex);
    return {m_frames, m_latest};
}

QString X11CaptureHarness::sampleThreadName() const
{
    std::lock_guard lock(m_mutex);
    return m_threadName;
}

std::vector<FrameStatus> X11CaptureHarness::statuses() const
{
    std::lock_guard lock(m_mutex);
    return m_statuses;
}

bool X11CaptureHarness::waitUntil(const std::function<bool()> &condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(2);
    }
    return true;
}

void X11CaptureHarness::pump(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(2);
    }
}

bool X11CaptureHarness::waitForFrames(int count, int timeoutMs)
{
    return waitUntil([&] { return frameCount() >= count; }, timeoutMs);
}

bool X11CaptureHarness::waitForLatestWhere(const std::function<bool(const QImage &)> &condition,
                                           int timeoutMs)
{
    int checked = 0;
    return waitUntil(
        [&] {
            const int count = frameCount();
            if (count == 0 || count == checked) {
                return false;
            }
            checked = count;
            return condition(frameImage(latestFrame()));
        },
        timeoutMs);
}

bool X11CaptureHarness::waitForFrameWhere(const std::function<bool(const QImage &)> &condition,
                                          int timeoutMs)
{
    int seen = frameCount();
    return waitUntil(
        [&] {
            if (frameCount() == seen) {
                return false;
            }
            seen = frameCount();
            return condition(frameImage(latestFrame()));
        },
        timeoutMs);
}

bool startWindowManagerAndWait()
{
    // The harness waits until openbox really maps windows.
    return testDisplay().startWindowManager();
}

QImage frameImage(const CapturedFrame &frame)
{
    return frame.isNull() ? QImage() : frame.image().copy();
}

void saveForInspection(const QImage &image, const QString &name)
{
    const char *folder = std::getenv("LOOKPANE_X11_FRAME_DIR");
    if (folder && *folder && !image.isNull()) {
        QDir().mkpath(QString::fromLocal8Bit(folder));
        image.save(QDir(QString::fromLocal8Bit(folder)).filePath(name + QStringLiteral(".png")));
    }
}

int countMismatches(const QImage &image, const QRect &area,
                    const std::function<std::uint32_t(int, int)> &expected, int tolerance)
{
    int mismatches = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb actual = image.pixel(x, y);
            const std::uint32_t want = expected(x - area.left(), y - area.top());
            const auto differs = [&](int shift) {
                return std::abs(int((actual >> shift) & 0xFF) - int((want >> shift) & 0xFF)) >
                       tolerance;
            };
            if (differs(16) || differs(8) || differs(0)) {
                ++mismatches;
            }
        }
    }
    return mismatches;
}

std::unique_ptr<QWidget> showOwnWindow(const QRect &geometry, const QColor &color,
                                       const QString &title)
{
    auto window = std::make_unique<QWidget>(nullptr, Qt::FramelessWindowHint);
    window->setWindowTitle(title);
    QPalette palette = window->palette();
    palette.setColor(QPalette::Window, color);
    window->setPalette(palette);
    window->setAutoFillBackground(true);
    window->setGeometry(geometry);
    window->show();
    const std::string display = testDisplay().displayName();
    // Shown when the screen itself shows the colour at the window's centre.
    X11CaptureHarness::waitUntil(
        [&] {
            const QImage shot = grabScreenRect(display, QRect(geometry.center(), QSize(1, 1)));
            return !shot.isNull() && QColor(shot.pixel(0, 0)) == color;
        },
        10000);
    return window;
}

std::map<std::string, std::uint32_t> clientResourceCounts(const std::string &display, pid_t pid)
{
    std::map<std::string, std::uint32_t> counts;
    xcb_connection_t *c = xcb_connect(display.c_str(), nullptr);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return counts;
    }
    const auto reply = [](auto *pointer) {
        return std::unique_ptr<std::remove_pointer_t<decltype(pointer)>, decltype(&std::free)>(
            pointer, &std::free);
    };
    auto version = reply(xcb_res_query_version_reply(c, xcb_res_query_version(c, 1, 2), nullptr));
    xcb_res_client_id_spec_t spec{XCB_NONE, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    auto ids =
        reply(xcb_res_query_client_ids_reply(c, xcb_res_query_client_ids(c, 1, &spec), nullptr));
    if (!version || !ids) {
        xcb_disconnect(c);
        return counts;
    }
    for (auto it = xcb_res_query_client_ids_ids_iterator(ids.get()); it.rem;
         xcb_res_client_id_value_next(&it)) {
        if (xcb_res_client_id_value_value_length(it.data) < 1 ||
            *xcb_res_client_id_value_value(it.data) != static_cast<std::uint32_t>(pid)) {
            continue;
        }
        auto resources = reply(xcb_res_query_client_resources_reply(
            c, xcb_res_query_client_resources(c, it.data->spec.client), nullptr));
        if (!resources) {
            continue;
        }
        const xcb_res_type_t *types = xcb_res_query_client_resources_types(resources.get());
        const int count = xcb_res_query_client_resources_types_length(resources.get());
        for (int i = 0; i < count; ++i) {
            auto name = reply(
                xcb_get_atom_name_reply(c, xcb_get_atom_name(c, types[i].resource_type), nullptr));
            const std::string type =
                name ? std::string(
                           xcb_get_atom_name_name(name.get()),
                           static_cast<std::size_t>(xcb_get_atom_name_name_length(name.get())))
                     : std::to_string(types[i].resource_type);
            counts[type] += types[i].count;
        }
    }
    xcb_disconnect(c);
    return counts;
}

} // namespace lookpane::testing
