#pragma once

#include "ScriptedCaptureBackend.h"
#include "capture/CaptureDisplay.h"
#include "capture/ScreenCaptureEngine.h"
#include "capture/ScreenCaptureState.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace lookpane {

// The Qt application object that the engine's event-loop work needs; made once per test
// program and kept until it exits.
void ensureCoreApplication();

// Runs the event loop until `condition` holds; false if it still does not after `timeout`.
bool waitUntil(const std::function<bool()> &condition,
               std::chrono::milliseconds timeout = std::chrono::seconds(10));
// Runs the event loop for `duration` (to show that something does not happen).
void runEventLoopFor(std::chrono::milliseconds duration);
// Handles every event posted so far, and those they post in turn.
void drainEvents();

// The display of the engine tests: id 7, 1440 x 900 points at scale 2, the primary screen.
constexpr std::uint32_t testDisplayID = 7;
CaptureDisplay testDisplay();
// A second display, right of the first and 200 points lower: (1440, -200, 1920, 1080).
constexpr std::uint32_t secondDisplayID = 9;
CaptureDisplay secondDisplay();
// The frame window: number 0x4200001, content (100, 200, 1000, 500) on the test display.
constexpr std::uint32_t testWindowID = 0x4200001;
MirroredWindow testWindow();
// Shareable content that lists both displays, this process and the frame window.
ShareableContent contentWithThisApplication();
ShareableApplication thisApplication();

// A scripted backend under an engine, with every state report and frame recorded.
class EngineTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the engine with every request answered successfully; the engine is running
    // afterwards (asserted).
    void startRunning();
    // The stream record of the most recent stream.
    ScriptedStreamRecord &lastStream();

    ScriptedCaptureBackend *backend = nullptr;
    std::unique_ptr<ScreenCaptureEngine> engine;
    std::vector<ScreenCaptureState> reportedStates;
    std::vector<CapturedFrame> deliveredFrames;
};

} // namespace lookpane
