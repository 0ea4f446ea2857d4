#include "EngineTestSupport.h"

#include <QImage>

namespace lookpane {
namespace {

using State = ScreenCaptureState;

CapturedFrame solidFrame(int width, QRgb colour)
{
    QImage image(width, 4, QImage::Format_RGB32);
    image.fill(colour);
    return CapturedFrame::fromImage(image);
}

TEST_F(EngineTest, StartsAndRunsWithAFilterThatExcludesThisProcess)
{
    startRunning();
    ASSERT_EQ(backend->streams.size(), 1u);
    const ScriptedStreamRecord &stream = lastStream();
    EXPECT_EQ(stream.filter,
              (ContentFilter{testDisplayID, {QCoreApplication::applicationPid()}, {}}));
    EXPECT_TRUE(stream.outputAdded);
    EXPECT_EQ(stream.startRequests, 1);
    // The very configuration it was made with, once more right after the start.
    ASSERT_EQ(stream.configurationUpdates.size(), 1u);
    EXPECT_EQ(stream.configurationUpdates.front(), stream.configuration);
    EXPECT_EQ(stream.configuration.width, 2000);
    EXPECT_EQ(stream.configuration.height, 1000);
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), State::running()}));
    // Capture targets come from all windows, desktop included.
    ASSERT_FALSE(backend->contentRequests.empty());
    EXPECT_FALSE(backend->contentRequests.front().excludingDesktopWindows);
    EXPECT_TRUE(backend->contentRequests.front().onScreenWindowsOnly);
}

TEST_F(EngineTest, SecondQuickStartIsIgnored)
{
    engine->start(testWindow());
    EXPECT_EQ(engine->state(), State::starting());
    engine->start(testWindow());
    EXPECT_EQ(engine->state(), State::starting());
    ASSERT_TRUE(waitUntil([this] { return !backend->pendingAccess.empty(); }));
    drainEvents();
    EXPECT_EQ(backend->accessRequests, 1);
    EXPECT_EQ(backend->pendingAccess.size(), 1u);
    EXPECT_EQ(reportedStates, std::vector<State>{State::starting()});
}

TEST_F(EngineTest, StartWhileRunningIsIgnored)
{
    startRunning();
    engine->start(testWindow());
    drainEvents();
    EXPECT_EQ(backend->accessRequests, 1);
    EXPECT_EQ(backend->streams.size(), 1u);
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), State::running()}));
}

TEST_F(EngineTest, StopWhileAwaitingGrantedPermissionLeavesIdle)
{
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return !backend->pendingAccess.empty(); }));
    engine->stop();
    EXPECT_EQ(engine->state(), State::idle());

    // The outdated start goes on when permission arrives, but changes nothing, and the stream
    // it makes is stopped again instead of kept.
    backend->answerEverything(contentWithThisApplication());
    backend->answerAccess(true);
    ASSERT_TRUE(
        waitUntil([this] { return !backend->streams.empty() && lastStream().stopRequests == 1; }));
    drainEvents();
    EXPECT_EQ(engine->state(), State::idle());
    EXPECT_FALSE(engine->isRunning());
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), State::idle()}));
}

TEST_F(EngineTest, StopWhileAwaitingDeniedPermissionLeavesIdle)
{
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return !backend->pendingAccess.empty(); }));
    engine->stop();
    EXPECT_EQ(engine->state(), State::idle());

    backend->answerAccess(false);
    drainEvents();
    EXPECT_EQ(engine->state(), State::idle());
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), State::idle()}));
    // The outdated start left the starting flag alone; the engine accepts a new start.
    engine->start(testWindow());
    EXPECT_EQ(engine->state(), State::starting());
    EXPECT_EQ(backend->streams.size(), 0u);
}

TEST_F(EngineTest, StopAfterStreamCreatedBeforeStartFinishedDropsTheStream)
{
    backend->answerEverything(contentWithThisApplication());
    backend->startAnswer.reset(); // the start waits for the test
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil(
        [this] { return !backend->streams.empty() && !lastStream().pendingStarts.empty(); }));
    engine->stop();
    EXPECT_EQ(engine->state(), State::idle());

    ScriptedStreamRecord &stream = lastStream();
    EXPECT_EQ(stream.stopRequests, 0);
    stream.answerStart();
    ASSERT_TRUE(waitUntil([&stream] { return stream.stopRequests == 1; }));
    drainEvents();
    // Stopped, released and never stored: nothing is left for a later stop to stop.
    EXPECT_FALSE(stream.isAlive());
    EXPECT_EQ(engine->state(), State::idle());
    EXPECT_FALSE(engine->isRunning());
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), State::idle()}));
    engine->stop();
    drainEvents();
    EXPECT_EQ(stream.stopRequests, 1);
    // Region requests find no stream either.
    engine->updateRegion(ScreenRect(0, 0, 400, 300), testDisplay());
    runEventLoopFor(ScreenCaptureEngine::regionUpdateInterval * 3);
    EXPECT_EQ(stream.configurationUpdates.size(), 1u);
}

TEST_F(EngineTest, StopWhileRunningStopsTheStreamAfterReportingIdle)
{
    startRunning();
    ScriptedStreamRecord &stream = lastStream();
    engine->stop();
    EXPECT_EQ(engine->state(), State::idle());
    EXPECT_FALSE(engine->isRunning());
    // The stop of the old stream runs from the event loop.
    EXPECT_EQ(stream.stopRequests, 0);
    ASSERT_TRUE(waitUntil([&stream] { return stream.stopRequests == 1; }));
    drainEvents();
    EXPECT_FALSE(stream.isAlive());
    EXPECT_EQ(reportedStates,
              (std::vector<State>{State::starting(), State::running(), State::idle()}));
}

TEST_F(EngineTest, StopWhenIdleReportsIdleAgain)
{
    engine->stop();
    EXPECT_EQ(engine->state(), State::idle());
    EXPECT_TRUE(reportedStates.empty()); // reported later, never inside the call
    drainEvents();
    EXPECT_EQ(reportedStates, std::vector<State>{State::idle()});
}

TEST_F(EngineTest, SystemStopReportsCaptureStoppedAndAcceptsNewStart)
{
    startRunning();
    ScriptedStreamRecord &stream = lastStream();
    stream.stream->stopBySystem(QStringLiteral("The display was removed"));
    ASSERT_TRUE(waitUntil([this] { return !engine->isRunning(); }));
    EXPECT_EQ(engine->state(), State::failed("Capture stopped: The display was removed"));
    drainEvents();
    EXPECT_EQ(reportedStates.back(), State::failed("Capture stopped: The display was removed"));
    // Released without being asked to stop.
    EXPECT_EQ(stream.stopRequests, 0);
    EXPECT_FALSE(stream.isAlive());

    engine->start(testWindow());
    EXPECT_EQ(engine->state(), State::starting());
    ASSERT_TRUE(waitUntil([this] { return engine->isRunning(); }));
    EXPECT_EQ(backend->streams.size(), 2u);
    EXPECT_EQ(engine->state(), State::running());
}

TEST_F(EngineTest, NoWindowGoesStartingThenFailed)
{
    engine->start(std::nullopt);
    EXPECT_EQ(engine->state(), State::failed("The share window is unavailable"));
    EXPECT_TRUE(reportedStates.empty());
    drainEvents();
    EXPECT_EQ(
        reportedStates,
        (std::vector<State>{State::starting(), State::failed("The share window is unavailable")}));
    EXPECT_EQ(backend->accessRequests, 0);
    // A failed start leaves the engine ready for the next one.
    backend->answerEverything(contentWithThisApplication());
    engine->start(testWindow());
    EXPECT_TRUE(waitUntil([this] { return engine->isRunning(); }));
}

TEST_F(EngineTest, DeniedPermissionReportsPermissionRequired)
{
    backend->accessAnswer = false;
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->state() == State::permissionRequired(); }));
    drainEvents();
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), State::permissionRequired()}));
    EXPECT_TRUE(backend->contentRequests.empty());
    // Accepted again afterwards.
    backend->answerEverything(contentWithThisApplication());
    engine->start(testWindow());
    EXPECT_TRUE(waitUntil([this] { return engine->isRunning(); }));
}

TEST_F(EngineTest, WindowWithoutScreenFailsWithNoDisplay)
{
    backend->answerEverything(contentWithThisApplication());
    MirroredWindow window = testWindow();
    window.screen.reset();
    engine->start(window);
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(), State::failed("No display is available for capture"));
    EXPECT_TRUE(backend->streams.empty());
}

TEST_F(EngineTest, ContentErrorFailsTheStartWithItsDescription)
{
    backend->accessAnswer = true;
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return !backend->pendingContent.empty(); }));
    backend->answerContent(ShareableContentResult{std::nullopt, QStringLiteral("no X server")});
    drainEvents();
    EXPECT_EQ(engine->state(), State::failed("Unable to start capture: no X server"));
    // Errors are not retried.
    EXPECT_EQ(backend->contentRequests.size(), 1u);
}

TEST_F(EngineTest, AddStreamOutputErrorStopsTheStreamAndFails)
{
    backend->answerEverything(contentWithThisApplication());
    backend->addStreamOutputAnswer = QStringLiteral("no shared memory");
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(), State::failed("Unable to start capture: no shared memory"));
    EXPECT_EQ(lastStream().stopRequests, 1);
    EXPECT_EQ(lastStream().startRequests, 0);
    EXPECT_FALSE(engine->isRunning());
}

TEST_F(EngineTest, StartErrorStopsTheStreamBeforeFailing)
{
    backend->answerEverything(contentWithThisApplication());
    backend->stopAnswer.reset(); // the stop waits for the test
    backend->startAnswer = CaptureError(QStringLiteral("Composite is missing"));
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil(
        [this] { return !backend->streams.empty() && !lastStream().pendingStops.empty(); }));
    drainEvents();
    // The failure is reported only once the stop has answered, whatever its outcome.
    EXPECT_EQ(engine->state(), State::starting());
    lastStream().answerStop(QStringLiteral("already stopped"));
    drainEvents();
    EXPECT_EQ(engine->state(), State::failed("Unable to start capture: Composite is missing"));
    EXPECT_FALSE(lastStream().isAlive());
}

TEST_F(EngineTest, ConfigurationErrorAfterStartStopsTheStreamAndFails)
{
    backend->answerEverything(contentWithThisApplication());
    backend->configurationAnswer = CaptureError(QStringLiteral("bad size"));
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(), State::failed("Unable to start capture: bad size"));
    EXPECT_EQ(lastStream().stopRequests, 1);
    EXPECT_FALSE(engine->isRunning());
}

TEST_F(EngineTest, BackendWithoutStreamFailsTheStart)
{
    backend->answerEverything(contentWithThisApplication());
    backend->failStreamCreation = true;
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(),
              State::failed("Unable to start capture: The capture stream could not be created"));
}

TEST_F(EngineTest, StateChangesAreReportedInOrderAfterTheCall)
{
    engine->start(std::nullopt);
    engine->stop();
    engine->start(std::nullopt);
    EXPECT_TRUE(reportedStates.empty());
    drainEvents();
    const State failed = State::failed("The share window is unavailable");
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), failed, State::idle(),
                                                  State::starting(), failed}));
}

TEST_F(EngineTest, HundredFramesWhileMainThreadIsBlockedGiveOneOnFrameWithTheLast)
{
    startRunning();
    std::vector<CaptureSample> samples;
    for (int index = 1; index <= 100; ++index) {
        samples.push_back({solidFrame(index, 0xff102030), FrameStatus::complete});
    }
    // The main thread handles no events while the capture thread delivers all hundred.
    lastStream().stream->deliverOnCaptureThread(samples);
    EXPECT_TRUE(deliveredFrames.empty());
    drainEvents();
    ASSERT_EQ(deliveredFrames.size(), 1u);
    EXPECT_EQ(deliveredFrames.front().width(), 100);
}

TEST_F(EngineTest, IdleOrMissingStatusSamplesAreDropped)
{
    startRunning();
    ScriptedCaptureStream &stream = *lastStream().stream;
    stream.deliverOnCaptureThread({{solidFrame(11, 0xff000000), FrameStatus::idle},
                                   {solidFrame(12, 0xff000000), std::nullopt},
                                   {solidFrame(13, 0xff000000), FrameStatus::blank},
                                   {solidFrame(14, 0xff000000), FrameStatus::suspended},
                                   {CapturedFrame(), FrameStatus::complete}});
    drainEvents();
    EXPECT_TRUE(deliveredFrames.empty());

    stream.deliverOnCaptureThread({{solidFrame(21, 0xff000000), FrameStatus::complete},
                                   {solidFrame(22, 0xff000000), FrameStatus::idle}});
    drainEvents();
    ASSERT_EQ(deliveredFrames.size(), 1u);
    EXPECT_EQ(deliveredFrames.front().width(), 21);
}

TEST_F(EngineTest, FramesKeepArrivingAcrossDeliveries)
{
    startRunning();
    ScriptedCaptureStream &stream = *lastStream().stream;
    for (int index = 1; index <= 3; ++index) {
        stream.deliverOnCaptureThread({{solidFrame(index, 0xff000000), FrameStatus::complete}});
        drainEvents();
    }
    ASSERT_EQ(deliveredFrames.size(), 3u);
    EXPECT_EQ(deliveredFrames.back().width(), 3);
}

TEST_F(EngineTest, DestroyedEngineIgnoresLateAnswers)
{
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return !backend->pendingAccess.empty(); }));
    std::function<void(bool)> lateAnswer = backend->pendingAccess.front();
    backend->pendingAccess.pop_front();
    engine.reset();
    // The backend went with the engine; its answer arrives anyway and must do nothing.
    lateAnswer(true);
    drainEvents();
    EXPECT_EQ(reportedStates, std::vector<State>{State::starting()});
}

TEST_F(EngineTest, StaleStartLeavesTheNewerStartAlone)
{
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return backend->pendingAccess.size() == 1; }));
    engine->stop();
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return backend->pendingAccess.size() == 2; }));
    // The first start learns it may not capture, but it is outdated: no state change, and the
    // newer start still counts as in progress.
    backend->answerAccess(false);
    drainEvents();
    EXPECT_EQ(engine->state(), State::starting());
    engine->start(testWindow());
    drainEvents();
    EXPECT_EQ(backend->accessRequests, 2);
    // The newer start carries on normally.
    backend->answerEverything(contentWithThisApplication());
    backend->answerAccess(true);
    ASSERT_TRUE(waitUntil([this] { return engine->isRunning(); }));
    drainEvents();
    EXPECT_EQ(reportedStates, (std::vector<State>{State::starting(), State::idle(),
                                                  State::starting(), State::running()}));
}

TEST_F(EngineTest, DestroyedEngineDropsFramesInFlight)
{
    startRunning();
    std::shared_ptr<ScriptedStreamRecord> stream = backend->streams.back();
    stream->stream->deliverOnCaptureThread({{solidFrame(8, 0xff000000), FrameStatus::complete}});
    engine.reset();
    drainEvents();
    EXPECT_TRUE(deliveredFrames.empty());
    EXPECT_FALSE(stream->isAlive());
}

TEST_F(EngineTest, SystemStopAfterTheEngineIsGoneDoesNothing)
{
    startRunning();
    ScriptedCaptureStream *stream = lastStream().stream;
    std::function<void(const QString &)> stopped = stream->onStopped;
    engine.reset();
    stopped(QStringLiteral("late"));
    drainEvents();
    EXPECT_EQ(reportedStates.back(), State::running());
}

TEST(EngineDeathTest, WindowNumberBeyondThirtyTwoBitsIsFatal)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            ensureCoreApplication();
            ScreenCaptureEngine engine(std::make_unique<ScriptedCaptureBackend>());
            MirroredWindow window = testWindow();
            window.windowNumber = std::int64_t(1) << 32;
            engine.start(window);
        },
        "fatal error: window number 4294967296");
}

} // namespace
} // namespace lookpane
