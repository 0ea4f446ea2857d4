#include "app/InputPolicy.h"

#include <gtest/gtest.h>

#include <vector>

namespace lookpane {
namespace {

// Every combination of the modes.
std::vector<InputModes> allModes()
{
    std::vector<InputModes> all;
    for (int bits = 0; bits < (1 << 7); ++bits) {
        InputModes modes;
        modes.mode = (bits & 1) != 0 ? ShareMode::detached : ShareMode::overlay;
        modes.clickThrough = (bits & 2) != 0;
        modes.drawing = (bits & 4) != 0;
        modes.moveMode = (bits & 8) != 0;
        modes.liveResizing = (bits & 16) != 0;
        modes.ignoringMouseAfterMoveMode = (bits & 32) != 0;
        modes.compositing = (bits & 64) != 0;
        all.push_back(modes);
    }
    return all;
}

TEST(InputPolicy, ClickThroughLeavesOnlyTheEdgeBandsToTheBox)
{
    InputModes modes;
    modes.clickThrough = true;
    EXPECT_EQ(inputPolicy(modes).frameInput, FrameInput::edgeBands);
    modes.clickThrough = false;
    EXPECT_EQ(inputPolicy(modes).frameInput, FrameInput::wholeWindow);
}

TEST(InputPolicy, DrawingMoveModeAndALiveResizeTakeTheWholeBox)
{
    for (const InputModes &modes : allModes()) {
        if (modes.drawing || modes.moveMode || modes.liveResizing) {
            EXPECT_EQ(inputPolicy(modes).frameInput, FrameInput::wholeWindow)
                << "drawing " << modes.drawing << " move " << modes.moveMode << " resize "
                << modes.liveResizing;
        }
    }
}

TEST(InputPolicy, AfterMoveModeEndedElsewhereTheBoxTakesNothingUntilAModeChanges)
{
    InputModes modes;
    modes.clickThrough = false;
    modes.ignoringMouseAfterMoveMode = true;
    EXPECT_EQ(inputPolicy(modes).frameInput, FrameInput::nothing);
    // Click-through back on gives the bands back; drawing gives the whole box.
    modes.clickThrough = true;
    EXPECT_EQ(inputPolicy(modes).frameInput, FrameInput::edgeBands);
    modes.clickThrough = false;
    modes.drawing = true;
    EXPECT_EQ(inputPolicy(modes).frameInput, FrameInput::wholeWindow);
}

TEST(InputPolicy, TheShareWindowPassesClicksExactlyInOverlayMode)
{
    for (const InputModes &modes : allModes()) {
        EXPECT_EQ(inputPolicy(modes).sharePassesClicks, modes.mode == ShareMode::overlay);
    }
}

TEST(InputPolicy, TheOutlineIsCutOnlyDetachedWithoutACompositorAndNotWhileDrawing)
{
    for (const InputModes &modes : allModes()) {
        const bool expected =
            modes.mode == ShareMode::detached && !modes.compositing && !modes.drawing;
        EXPECT_EQ(inputPolicy(modes).cutsFrameToOutline, expected);
    }
}

TEST(InputPolicy, TheBoxShowsThePictureInOverlayAndWhileDrawingDetachedWithoutACompositor)
{
    InputModes modes;
    EXPECT_TRUE(inputPolicy(modes).frameShowsPicture);
    modes.mode = ShareMode::detached;
    EXPECT_FALSE(inputPolicy(modes).frameShowsPicture);
    modes.drawing = true;
    EXPECT_TRUE(inputPolicy(modes).frameShowsPicture);
    modes.compositing = true;
    EXPECT_FALSE(inputPolicy(modes).frameShowsPicture);
}

TEST(InputPolicy, ACutOutlineNeverShowsThePicture)
{
    // A box cut down to its outline shows what lies beneath it, never a picture of it.
    for (const InputModes &modes : allModes()) {
        const InputPolicy policy = inputPolicy(modes);
        EXPECT_FALSE(policy.cutsFrameToOutline && policy.frameShowsPicture);
    }
}

} // namespace
} // namespace lookpane
