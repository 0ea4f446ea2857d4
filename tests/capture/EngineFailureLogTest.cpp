// Failures of the capture engine reach standard error through "lookpane.capture", not only the
// windows: a user who started Lookpane from a terminal, or reads its journal, learns why
// nothing is captured.
#include "EngineTestSupport.h"
#include "LoggedMessages.h"

namespace lookpane {
namespace {

using State = ScreenCaptureState;

// The texts of the capture category's warnings.
std::vector<QString> captureWarnings(const testing::LoggedMessages &logged)
{
    std::vector<QString> texts;
    for (const testing::LoggedMessages::Message &message : logged.ofType(QtWarningMsg)) {
        if (message.category == QLatin1String("lookpane.capture")) {
            texts.push_back(message.text);
        }
    }
    return texts;
}

TEST_F(EngineTest, AMissingExtensionIsWarnedWithTheWholeMessageOnce)
{
    testing::LoggedMessages logged;
    backend->accessAnswer = true;
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return !backend->pendingContent.empty(); }));
    const QString reason =
        QStringLiteral("the X server lacks the Composite 0.2 extension that screen capture needs");
    backend->answerContent(ShareableContentResult{std::nullopt, reason});
    drainEvents();
    ASSERT_TRUE(engine->state().isFailed());
    EXPECT_EQ(captureWarnings(logged),
              std::vector<QString>{QStringLiteral("Unable to start capture: ") + reason});
}

TEST_F(EngineTest, AStartWithoutAShareWindowIsWarned)
{
    testing::LoggedMessages logged;
    engine->start(std::nullopt);
    drainEvents();
    EXPECT_EQ(captureWarnings(logged),
              std::vector<QString>{QStringLiteral("The share window is unavailable")});
}

TEST_F(EngineTest, AStreamThatCannotStartIsWarned)
{
    testing::LoggedMessages logged;
    backend->answerEverything(contentWithThisApplication());
    backend->startAnswer = CaptureError(QStringLiteral("no shared memory segment"));
    engine->start(testWindow());
    ASSERT_TRUE(waitUntil([this] { return engine->state().isFailed(); }));
    EXPECT_EQ(captureWarnings(logged), std::vector<QString>{QStringLiteral(
                                           "Unable to start capture: no shared memory segment")});
}

TEST_F(EngineTest, ACaptureThatTheSystemEndsIsWarned)
{
    testing::LoggedMessages logged;
    startRunning();
    lastStream().stream->stopBySystem(QStringLiteral("The display was removed"));
    ASSERT_TRUE(waitUntil([this] { return !engine->isRunning(); }));
    EXPECT_EQ(captureWarnings(logged),
              std::vector<QString>{QStringLiteral("Capture stopped: The display was removed")});
}

TEST_F(EngineTest, StartingRunningAndStoppingWarnNothing)
{
    testing::LoggedMessages logged;
    startRunning();
    engine->stop();
    drainEvents();
    ASSERT_EQ(reportedStates.back(), State::idle());
    EXPECT_TRUE(captureWarnings(logged).empty());
}

} // namespace
} // namespace lookpane
