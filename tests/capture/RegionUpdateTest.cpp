#include "EngineTestSupport.h"

namespace lookpane {
namespace {

using State = ScreenCaptureState;

TEST_F(EngineTest, TwentyUpdatesWithinFiftyMillisecondsApplyOnlyTheLast)
{
    startRunning();
    ScriptedStreamRecord &stream = lastStream();
    const std::size_t before = stream.configurationUpdates.size();
    // All twenty are made before the event loop runs again, so well within 50 ms.
    for (int index = 0; index < 20; ++index) {
        engine->updateRegion(ScreenRect(100 + index, 200, 1000, 500), testDisplay());
    }
    EXPECT_EQ(stream.configurationUpdates.size(), before);
    ASSERT_TRUE(waitUntil([&] { return stream.configurationUpdates.size() > before; }));
    // The loop ends by itself once nothing is pending.
    runEventLoopFor(ScreenCaptureEngine::regionUpdateInterval * 3);
    ASSERT_EQ(stream.configurationUpdates.size(), before + 1);
    EXPECT_EQ(stream.configurationUpdates.back().sourceRect, QRectF(119, 200, 1000, 500));
    EXPECT_TRUE(stream.filterUpdates.empty());
    EXPECT_EQ(engine->state(), State::running());
}

TEST_F(EngineTest, UpdateWhileTheLastIsAppliedIsAppliedNext)
{
    startRunning();
    backend->configurationAnswer.reset(); // region updates wait for the test
    ScriptedStreamRecord &stream = lastStream();
    const std::size_t before = stream.configurationUpdates.size();
    engine->updateRegion(ScreenRect(0, 0, 300, 200), testDisplay());
    ASSERT_TRUE(waitUntil([&] { return !stream.pendingConfigurationUpdates.empty(); }));
    // Requests made while one is applied overwrite one another.
    engine->updateRegion(ScreenRect(10, 0, 300, 200), testDisplay());
    engine->updateRegion(ScreenRect(20, 0, 300, 200), testDisplay());
    // One loop applies requests at a time: nothing more is asked until the first is answered.
    runEventLoopFor(ScreenCaptureEngine::regionUpdateInterval * 3);
    EXPECT_EQ(stream.pendingConfigurationUpdates.size(), 1u);
    EXPECT_EQ(stream.configurationUpdates.size(), before + 1);
    stream.answerConfigurationUpdate();
    ASSERT_TRUE(waitUntil([&] { return !stream.pendingConfigurationUpdates.empty(); }));
    stream.answerConfigurationUpdate();
    runEventLoopFor(ScreenCaptureEngine::regionUpdateInterval * 3);
    ASSERT_EQ(stream.configurationUpdates.size(), before + 2);
    EXPECT_EQ(stream.configurationUpdates[before].sourceRect.x(), 0.0);
    EXPECT_EQ(stream.configurationUpdates[before + 1].sourceRect.x(), 20.0);
    // And a request after the loop has ended starts a new one.
    backend->configurationAnswer = CaptureError{};
    engine->updateRegion(ScreenRect(30, 0, 300, 200), testDisplay());
    ASSERT_TRUE(waitUntil([&] { return stream.configurationUpdates.size() == before + 3; }));
    EXPECT_EQ(stream.configurationUpdates.back().sourceRect.x(), 30.0);
}

TEST_F(EngineTest, UpdateRegionWhileStartingDoesNothing)
{
    backend->answerEverything(contentWithThisApplication());
    backend->startAnswer.reset();
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil(
        [this] { return !backend->streams.empty() && !lastStream().pendingStarts.empty(); }));
    EXPECT_EQ(engine->state(), State::starting());
    engine->updateRegion(ScreenRect(300, 300, 200, 100), testDisplay());
    lastStream().answerStart();
    ASSERT_TRUE(waitUntil([this] { return engine->isRunning(); }));
    runEventLoopFor(ScreenCaptureEngine::regionUpdateInterval * 3);
    // Only the configuration of the start itself, for the window's original rectangle.
    ASSERT_EQ(lastStream().configurationUpdates.size(), 1u);
    EXPECT_EQ(lastStream().configurationUpdates.front().sourceRect, QRectF(100, 200, 1000, 500));
}

TEST_F(EngineTest, UpdateRegionWithoutScreenIsDropped)
{
    startRunning();
    engine->updateRegion(ScreenRect(300, 300, 200, 100), std::nullopt);
    runEventLoopFor(ScreenCaptureEngine::regionUpdateInterval * 3);
    EXPECT_EQ(lastStream().configurationUpdates.size(), 1u);
}

TEST_F(EngineTest, MovingToAnotherDisplayChangesTheFilterFirst)
{
    startRunning();
    ScriptedStreamRecord &stream = lastStream();
    engine->updateRegion(ScreenRect(1500, 300, 800, 600), secondDisplay());
    ASSERT_TRUE(waitUntil([&] { return stream.configurationUpdates.size() == 2; }));
    ASSERT_EQ(stream.filterUpdates.size(), 1u);
    EXPECT_EQ(stream.filterUpdates.front(),
              (ContentFilter{secondDisplayID, {QCoreApplication::applicationPid()}, {}}));
    EXPECT_EQ(stream.configurationUpdates.back().sourceRect, QRectF(60, -20, 800, 600));
    // Moving on within that display only reconfigures.
    engine->updateRegion(ScreenRect(1600, 300, 800, 600), secondDisplay());
    ASSERT_TRUE(waitUntil([&] { return stream.configurationUpdates.size() == 3; }));
    EXPECT_EQ(stream.filterUpdates.size(), 1u);
    EXPECT_EQ(engine->state(), State::running());
}

TEST_F(EngineTest, RegionConfigurationErrorFailsButKeepsTheStream)
{
    startRunning();
    ScriptedStreamRecord &stream = lastStream();
    backend->configurationAnswer = CaptureError(QStringLiteral("size refused"));
    engine->updateRegion(ScreenRect(0, 0, 300, 200), testDisplay());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(), State::failed("Unable to update capture region: size refused"));
    EXPECT_TRUE(engine->isRunning());
    EXPECT_TRUE(stream.isAlive());
    EXPECT_EQ(stream.stopRequests, 0);
    // A later request is applied normally; the state stays failed.
    backend->configurationAnswer = CaptureError{};
    const std::size_t before = stream.configurationUpdates.size();
    engine->updateRegion(ScreenRect(5, 0, 300, 200), testDisplay());
    ASSERT_TRUE(waitUntil([&] { return stream.configurationUpdates.size() == before + 1; }));
    drainEvents();
    EXPECT_TRUE(engine->state().isFailed());
    // The start is refused until the engine is stopped.
    engine->start(testWindow());
    EXPECT_TRUE(engine->state().isFailed());
}

TEST_F(EngineTest, RegionFilterErrorFails)
{
    startRunning();
    backend->filterAnswer = CaptureError(QStringLiteral("display gone"));
    engine->updateRegion(ScreenRect(1500, 300, 800, 600), secondDisplay());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(), State::failed("Unable to update capture region: display gone"));
    EXPECT_EQ(lastStream().configurationUpdates.size(), 1u);
}

TEST_F(EngineTest, RegionContentErrorFails)
{
    startRunning();
    backend->contentAnswer = ShareableContentResult{std::nullopt, QStringLiteral("X went away")};
    engine->updateRegion(ScreenRect(1500, 300, 800, 600), secondDisplay());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(), State::failed("Unable to update capture region: X went away"));
}

TEST_F(EngineTest, StopCancelsThePendingRegionUpdate)
{
    startRunning();
    ScriptedStreamRecord &stream = lastStream();
    engine->updateRegion(ScreenRect(0, 0, 300, 200), testDisplay());
    engine->stop();
    runEventLoopFor(ScreenCaptureEngine::regionUpdateInterval * 3);
    EXPECT_EQ(stream.configurationUpdates.size(), 1u);
    EXPECT_EQ(engine->state(), State::idle());
}

TEST_F(EngineTest, FiveAttemptsWithoutOwnApplicationOrWindowFail)
{
    ShareableContent content = contentWithThisApplication();
    content.applications.pop_back();
    content.windows.pop_back();
    backend->answerEverything(content);
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(),
              State::failed("Lookpane could not exclude itself from screen capture"));
    EXPECT_EQ(backend->contentRequests.size(), 5u);
    EXPECT_TRUE(backend->streams.empty());
    // Nothing is asked after the fifth attempt.
    runEventLoopFor(ScreenCaptureEngine::captureTargetRetryInterval * 2);
    EXPECT_EQ(backend->contentRequests.size(), 5u);
}

TEST_F(EngineTest, ApplicationListedOnALaterAttemptIsFound)
{
    backend->accessAnswer = true;
    backend->startAnswer = CaptureError{};
    backend->configurationAnswer = CaptureError{};
    engine->start(testWindow());
    ShareableContent early = contentWithThisApplication();
    early.applications.pop_back();
    early.windows.pop_back();
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(waitUntil([this] { return !backend->pendingContent.empty(); }));
        backend->answerContent(ShareableContentResult{early, {}});
    }
    // The window appears first, without its application: excluded by number.
    ShareableContent withWindow = early;
    withWindow.windows.push_back(contentWithThisApplication().windows.back());
    ASSERT_TRUE(waitUntil([this] { return !backend->pendingContent.empty(); }));
    backend->answerContent(ShareableContentResult{withWindow, {}});
    ASSERT_TRUE(waitUntil([this] { return engine->isRunning(); }));
    EXPECT_EQ(backend->contentRequests.size(), 4u);
    EXPECT_EQ(lastStream().filter, (ContentFilter{testDisplayID, {}, {testWindowID}}));
}

TEST_F(EngineTest, DisplayMissingFromContentCountsAsNoTarget)
{
    ShareableContent content = contentWithThisApplication();
    content.displays.clear();
    backend->answerEverything(content);
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(engine->state(),
              State::failed("Lookpane could not exclude itself from screen capture"));
    EXPECT_EQ(backend->contentRequests.size(), 5u);
}

} // namespace
} // namespace lookpane
