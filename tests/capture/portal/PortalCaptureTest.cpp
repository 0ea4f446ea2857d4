// The capture engine over the portal backend, against the project's own ScreenCast portal and a
// private PipeWire: the picture, the restore token, a refused dialog and a stream that ends.

#include "EngineTestSupport.h"
#include "PortalHarness.h"
#include "PortalPattern.h"
#include "capture/CaptureMessages.h"
#include "capture/ScreenCaptureEngine.h"
#include "capture/portal/PortalCaptureBackend.h"

#include <gtest/gtest.h>

#include <QDBusConnection>

#include <memory>
#include <mutex>

namespace lookpane {
namespace {

using testing::ScreenCastPortalHarness;

constexpr std::uint32_t portalDisplayID = 1;
// The monitor lies at (100, 50) on the desktop, 640 x 480 root pixels, as the portal reports.
const QRect monitorPixels(100, 50, 640, 480);

CaptureDisplay monitor()
{
    return CaptureDisplay{portalDisplayID, ScreenRect(0, 0, 640, 480), 1.0};
}

// The box's content: 200 x 100 points, 30 from the monitor's left and 20 below its top.
MirroredWindow boxAt(double left, double top)
{
    MirroredWindow window;
    window.windowNumber = 0x600001;
    window.contentRect = ScreenRect(left, 480 - top - 100, 200, 100);
    window.screen = monitor();
    return window;
}

class PortalCaptureTest : public ::testing::Test
{
protected:
    void SetUp() override { ensureCoreApplication(); }

    void TearDown() override
    {
        if (engine) {
            engine->stop();
            drainEvents();
        }
        engine.reset();
        harness.reset();
    }

    void startPortal(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.end(), {"--position", "100,50", "--size", "640x480"});
        harness = std::make_unique<ScreenCastPortalHarness>(std::move(arguments));
        ASSERT_TRUE(harness->isReady()) << harness->problem();
        makeEngine(harness->bus());
    }

    void makeEngine(const QDBusConnection &bus)
    {
        portal::PortalCaptureBackend::Options options;
        options.bus = bus;
        options.restoreTokens.load = [this] { return storedToken; };
        options.restoreTokens.save = [this](const QString &token) {
            storedToken = token;
            ++tokenSaves;
        };
        options.displays = [] {
            return std::vector<portal::PortalDisplay>{{portalDisplayID, monitorPixels, 1.0}};
        };
        engine = std::make_unique<ScreenCaptureEngine>(
            std::make_unique<portal::PortalCaptureBackend>(std::move(options)));
        QObject::connect(engine.get(), &ScreenCaptureEngine::stateChanged, engine.get(),
                         [this](const ScreenCaptureState &state) { states.push_back(state); });
        QObject::connect(engine.get(), &ScreenCaptureEngine::frameCaptured, engine.get(),
                         [this](const CapturedFrame &frame) { frames.push_back(frame); });
    }

    bool startAndWaitForRunning(const MirroredWindow &window = boxAt(30, 20))
    {
        states.clear();
        engine->start(window);
        return waitUntil([&] { return !states.empty() && !states.back().isStarting(); },
                         std::chrono::seconds(30)) &&
               states.back().isRunning();
    }

    bool waitForFrames(std::size_t count)
    {
        return waitUntil([&] { return frames.size() >= count; }, std::chrono::seconds(20));
    }

    // Pixels of `frame` that differ from the pattern at (left, top) of the stream; every frame
    // must also be opaque and of one picture (one blue throughout).
    static int mismatches(const CapturedFrame &frame, int left, int top)
    {
        int count = 0;
        const int sequence = frame.pixels()[0];
        for (int y = 0; y < frame.height(); ++y) {
            for (int x = 0; x < frame.width(); ++x) {
                const std::uint8_t *pixel = frame.pixels() + y * frame.bytesPerRow() + x * 4;
                const std::uint32_t expected =
                    testing::portalPatternRgb(left + x, top + y, sequence);
                const std::uint32_t actual =
                    (std::uint32_t(pixel[2]) << 16) | (std::uint32_t(pixel[1]) << 8) | pixel[0];
                if (actual != expected || pixel[3] != 0xff) {
                    ++count;
                }
            }
        }
        return count;
    }

    std::unique_ptr<ScreenCastPortalHarness> harness;
    std::unique_ptr<ScreenCaptureEngine> engine;
    std::vector<ScreenCaptureState> states;
    std::vector<CapturedFrame> frames;
    QString storedToken;
    int tokenSaves = 0;
};

class PortalFormatTest : public PortalCaptureTest,
                         public ::testing::WithParamInterface<std::vector<std::string>>
{};

TEST_P(PortalFormatTest, FramesShowTheRegionPixelExactly)
{
    startPortal(GetParam());
    ASSERT_TRUE(startAndWaitForRunning());
    ASSERT_TRUE(waitForFrames(2));
    for (const CapturedFrame &frame : frames) {
        ASSERT_EQ(frame.width(), 200);
        ASSERT_EQ(frame.height(), 100);
        // The box is 30 and 20 root pixels into the monitor, whose corner is at (100, 50).
        EXPECT_EQ(mismatches(frame, 30, 20), 0);
    }
    // An animated picture: every frame is a new one.
    EXPECT_NE(frames[0].pixels()[0], frames[1].pixels()[0]);
}

INSTANTIATE_TEST_SUITE_P(Layouts, PortalFormatTest,
                         ::testing::Values(std::vector<std::string>{"--format", "BGRx"},
                                           std::vector<std::string>{"--format", "RGBx"},
                                           std::vector<std::string>{"--format", "BGRA", "--memptr"},
                                           std::vector<std::string>{"--format", "RGBA",
                                                                    "--memptr"}),
                         [](const ::testing::TestParamInfo<std::vector<std::string>> &param) {
                             std::string name = param.param[1];
                             if (param.param.size() > 2) {
                                 name += "MemPtr";
                             }
                             return name;
                         });

TEST_F(PortalCaptureTest, SelectsAMonitorWithoutCursorToKeepUntilRevoked)
{
    startPortal({});
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_EQ(harness->lastCursorMode(), 1U); // hidden
    EXPECT_EQ(harness->lastPersistMode(), 2U);
}

TEST_F(PortalCaptureTest, RestoreTokenIsStoredAndPassedBackWithoutAnotherDialog)
{
    startPortal({});
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_EQ(harness->dialogCount(), 1);
    ASSERT_FALSE(storedToken.isEmpty());
    const QString firstToken = storedToken;

    engine->stop();
    // Stopping ends the screen cast on the desktop's side.
    ASSERT_TRUE(waitUntil([&] { return harness->openSessions() == 0; }));
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_EQ(harness->lastRestoreToken(), firstToken);
    EXPECT_EQ(harness->dialogCount(), 1);
    EXPECT_TRUE(waitForFrames(1));
    // The portal hands out a new token with every session; the newest is kept.
    EXPECT_EQ(tokenSaves, 2);
    EXPECT_NE(storedToken, firstToken);
}

TEST_F(PortalCaptureTest, CancelledDialogGivesPermissionRequiredAndTryingAgainRecovers)
{
    startPortal({});
    harness->setCancelDialog(true);
    EXPECT_FALSE(startAndWaitForRunning());
    ASSERT_FALSE(states.empty());
    EXPECT_TRUE(states.back().isPermissionRequired()) << states.back().description().toStdString();
    EXPECT_TRUE(storedToken.isEmpty());
    EXPECT_EQ(harness->openSessions(), 0);

    harness->setCancelDialog(false);
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_TRUE(waitForFrames(1));
    EXPECT_EQ(harness->dialogCount(), 2);
}

TEST_F(PortalCaptureTest, StreamThatEndsFailsWithAReasonAndAStartRecovers)
{
    startPortal({});
    ASSERT_TRUE(startAndWaitForRunning());
    ASSERT_TRUE(waitForFrames(1));

    harness->endStreams();
    ASSERT_TRUE(waitUntil([&] { return !states.empty() && states.back().isFailed(); },
                          std::chrono::seconds(20)));
    EXPECT_EQ(states.back().message(),
              captureMessages::captureStopped(QStringLiteral("the desktop ended the screen cast")));
    EXPECT_FALSE(engine->isRunning());

    frames.clear();
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_TRUE(waitForFrames(1));
    // Restored from the token: no second dialog.
    EXPECT_EQ(harness->dialogCount(), 1);
}

TEST_F(PortalCaptureTest, StaticPictureYieldsNoFramesAfterTheFirst)
{
    startPortal({});
    harness->setAnimated(false);
    ASSERT_TRUE(startAndWaitForRunning());
    ASSERT_TRUE(waitForFrames(1));
    // Long enough for 25 more pictures of the stream to have been read.
    const int sent = harness->picturesSent();
    ASSERT_TRUE(
        waitUntil([&] { return harness->picturesSent() >= sent + 25; }, std::chrono::seconds(20)));
    drainEvents();
    EXPECT_EQ(frames.size(), 1U);
}

TEST_F(PortalCaptureTest, MovedRegionShowsTheNewPlaceAlsoOnAStaticPicture)
{
    startPortal({});
    harness->setAnimated(false);
    ASSERT_TRUE(startAndWaitForRunning());
    ASSERT_TRUE(waitForFrames(1));

    engine->updateRegion(boxAt(130, 70).contentRect, monitor());
    ASSERT_TRUE(waitForFrames(2));
    EXPECT_EQ(mismatches(frames.back(), 130, 70), 0);
}

TEST_F(PortalCaptureTest, ResponsesThatArriveBeforeTheirRepliesAreFollowed)
{
    // Each request's reply then comes in after the next request went out.
    startPortal({"--respond-before-reply"});
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_TRUE(waitForFrames(1));
}

TEST_F(PortalCaptureTest, StopWhileTheDialogIsOpenLeavesIdleAndTheAnswerChangesNothing)
{
    startPortal({});
    harness->setHoldDialog(true);
    engine->start(boxAt(30, 20));
    ASSERT_TRUE(waitUntil([&] { return harness->dialogCount() == 1; }));
    engine->stop();
    harness->setHoldDialog(false);
    // The answer arrives and the stream is granted; the stopped start does nothing with it.
    ASSERT_TRUE(waitUntil([&] { return !storedToken.isEmpty(); }));
    drainEvents();
    EXPECT_TRUE(engine->state().isIdle()) << engine->state().description().toStdString();
    EXPECT_FALSE(engine->isRunning());
    EXPECT_TRUE(frames.empty());

    // The next start takes what the desktop granted: no second dialog.
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_TRUE(waitForFrames(1));
    EXPECT_EQ(harness->dialogCount(), 1);
}

TEST_F(PortalCaptureTest, AStartAfterAStopWhileTheDialogIsOpenWaitsForTheSameDialog)
{
    startPortal({});
    harness->setHoldDialog(true);
    engine->start(boxAt(30, 20));
    ASSERT_TRUE(waitUntil([&] { return harness->dialogCount() == 1; }));
    engine->stop();
    states.clear();
    engine->start(boxAt(30, 20));
    harness->setHoldDialog(false);
    ASSERT_TRUE(waitUntil([&] { return !states.empty() && !states.back().isStarting(); },
                          std::chrono::seconds(30)));
    EXPECT_TRUE(states.back().isRunning()) << states.back().description().toStdString();
    EXPECT_TRUE(waitForFrames(1));
    EXPECT_EQ(harness->dialogCount(), 1);
}

TEST_F(PortalCaptureTest, TwoQuickStartsAskOnce)
{
    startPortal({});
    engine->start(boxAt(30, 20));
    ASSERT_TRUE(startAndWaitForRunning());
    EXPECT_TRUE(waitForFrames(1));
    EXPECT_EQ(harness->dialogCount(), 1);
    EXPECT_EQ(harness->openSessions(), 1);
}

TEST_F(PortalCaptureTest, WithoutAPortalTheStartFailsWithTheReason)
{
    testing::SessionBus bus;
    ASSERT_TRUE(bus.isRunning());
    const QString name = QStringLiteral("lookpane-no-portal");
    QDBusConnection connection =
        QDBusConnection::connectToBus(QString::fromStdString(bus.address()), name);
    makeEngine(connection);
    EXPECT_FALSE(startAndWaitForRunning());
    ASSERT_FALSE(states.empty());
    EXPECT_TRUE(states.back().isFailed());
    EXPECT_TRUE(states.back().message().startsWith(
        QStringLiteral("Unable to start capture: The desktop offers no screen-sharing portal")))
        << states.back().message().toStdString();
    engine.reset();
    QDBusConnection::disconnectFromBus(name);
}

} // namespace
} // namespace lookpane
