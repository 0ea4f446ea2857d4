#include "EngineTestSupport.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace lookpane {

void ensureCoreApplication()
{
    if (QCoreApplication::instance()) {
        return;
    }
    static int argc = 1;
    static char name[] = "capture_engine_tests";
    static char *argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
}

bool waitUntil(const std::function<bool()> &condition, std::chrono::milliseconds timeout)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > timeout.count()) {
            return false;
        }
        QEventLoop loop;
        QTimer::singleShot(2, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

void runEventLoopFor(std::chrono::milliseconds duration)
{
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

void drainEvents()
{
    for (int round = 0; round < 20; ++round) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
}

CaptureDisplay testDisplay()
{
    return CaptureDisplay{testDisplayID, ScreenRect(0, 0, 1440, 900), 2.0};
}

CaptureDisplay secondDisplay()
{
    return CaptureDisplay{secondDisplayID, ScreenRect(1440, -200, 1920, 1080), 1.0};
}

MirroredWindow testWindow()
{
    return MirroredWindow{testWindowID, ScreenRect(100, 200, 1000, 500), testDisplay()};
}

ShareableApplication thisApplication()
{
    return ShareableApplication{QCoreApplication::applicationPid(), QStringLiteral("Lookpane"),
                                QStringLiteral("Lookpane")};
}

ShareableContent contentWithThisApplication()
{
    ShareableContent content;
    content.displays = {ShareableDisplay{testDisplayID, QRect(0, 0, 2880, 1800)},
                        ShareableDisplay{secondDisplayID, QRect(2880, 0, 1920, 1080)}};
    const ShareableApplication other{4242, QStringLiteral("Editor"), QStringLiteral("Editor")};
    content.applications = {other, thisApplication()};
    content.windows = {
        ShareableWindowEntry{0x1000001, QRectF(0, 0, 800, 600), QStringLiteral("notes"), other, 0},
        ShareableWindowEntry{testWindowID, QRectF(100, 200, 1000, 500), QStringLiteral("Lookpane"),
                             thisApplication(), 0}};
    return content;
}

void EngineTest::SetUp()
{
    ensureCoreApplication();
    auto scripted = std::make_unique<ScriptedCaptureBackend>();
    backend = scripted.get();
    const ScreenLayoutProvider layout = [] {
        ScreenLayout screens;
        screens.screens.push_back({ScreenRect(0, 0, 1440, 900), ScreenRect(0, 0, 1440, 875)});
        screens.mainIndex = 0;
        screens.primaryGeometry = QRectF(0, 0, 1440, 900);
        return screens;
    };
    engine = std::make_unique<ScreenCaptureEngine>(std::move(scripted), layout);
    QObject::connect(engine.get(), &ScreenCaptureEngine::stateChanged,
                     [this](const ScreenCaptureState &state) { reportedStates.push_back(state); });
    QObject::connect(engine.get(), &ScreenCaptureEngine::frameCaptured,
                     [this](const CapturedFrame &frame) { deliveredFrames.push_back(frame); });
}

void EngineTest::TearDown()
{
    engine.reset();
    drainEvents();
}

void EngineTest::startRunning()
{
    backend->answerEverything(contentWithThisApplication());
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->isRunning(); }));
    drainEvents();
    ASSERT_EQ(engine->state(), ScreenCaptureState::running());
    ASSERT_FALSE(reportedStates.empty());
    ASSERT_EQ(reportedStates.back(), ScreenCaptureState::running());
}

ScriptedStreamRecord &EngineTest::lastStream()
{
    if (backend->streams.empty()) {
        throw std::logic_error("no stream was made");
    }
    return *backend->streams.back();
}

} // namespace lookpane
