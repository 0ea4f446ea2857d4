#include "panels/ShortcutRecording.h"

#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {

using Kind = RecordingStep::Kind;

constexpr bool globalRecorder = false;
constexpr bool toolRecorder = true;

RecordingStep step(std::uint16_t keyCode, std::uint64_t modifiers, bool allowsBareKeys)
{
    return recordingStep(KeyPress{keyCode, modifiers}, allowsBareKeys);
}

} // namespace

TEST(ShortcutRecording, EscCancelsWhateverModifiersAreHeld)
{
    EXPECT_EQ(step(VirtualKeyCode::escape, 0, globalRecorder).kind, Kind::cancel);
    EXPECT_EQ(step(VirtualKeyCode::escape, 0, toolRecorder).kind, Kind::cancel);
    EXPECT_EQ(step(VirtualKeyCode::escape, ModifierFlag::hotKeyMask, globalRecorder).kind,
              Kind::cancel);
}

TEST(ShortcutRecording, BackspaceWithoutShiftCtrlAltOrSuperClears)
{
    EXPECT_EQ(step(VirtualKeyCode::backspace, 0, globalRecorder).kind, Kind::clear);
    EXPECT_EQ(step(VirtualKeyCode::backspace, 0, toolRecorder).kind, Kind::clear);
    // Caps Lock is no modifier for this.
    EXPECT_EQ(step(VirtualKeyCode::backspace, ModifierFlag::capsLock, toolRecorder).kind,
              Kind::clear);
}

TEST(ShortcutRecording, ShiftBackspaceIsAToolComboAndRefusedByAGlobalRecorder)
{
    const RecordingStep tool = step(VirtualKeyCode::backspace, ModifierFlag::shift, toolRecorder);
    EXPECT_EQ(tool.kind, Kind::accept);
    EXPECT_EQ(tool.combo, (KeyCombo{VirtualKeyCode::backspace, ModifierFlag::shift}));
    EXPECT_EQ(step(VirtualKeyCode::backspace, ModifierFlag::shift, globalRecorder).kind,
              Kind::refuse);
    // With Ctrl a global recorder takes it.
    EXPECT_EQ(step(VirtualKeyCode::backspace, ModifierFlag::command, globalRecorder).kind,
              Kind::accept);
}

TEST(ShortcutRecording, AGlobalRecorderNeedsCtrlAltOrSuper)
{
    EXPECT_EQ(step(VirtualKeyCode::b, 0, globalRecorder).kind, Kind::refuse);
    EXPECT_EQ(step(VirtualKeyCode::b, ModifierFlag::shift, globalRecorder).kind, Kind::refuse);
    EXPECT_EQ(step(VirtualKeyCode::b, ModifierFlag::capsLock, globalRecorder).kind, Kind::refuse);
    EXPECT_EQ(
        step(VirtualKeyCode::f5, ModifierFlag::function | ModifierFlag::shift, globalRecorder).kind,
        Kind::refuse);
    for (const std::uint64_t modifier :
         {ModifierFlag::control, ModifierFlag::option, ModifierFlag::command}) {
        const RecordingStep accepted = step(VirtualKeyCode::b, modifier, globalRecorder);
        EXPECT_EQ(accepted.kind, Kind::accept);
        EXPECT_EQ(accepted.combo, (KeyCombo{VirtualKeyCode::b, modifier}));
    }
}

TEST(ShortcutRecording, AToolRecorderTakesBareKeysAndAnyModifierButCtrl)
{
    EXPECT_EQ(step(VirtualKeyCode::p, 0, toolRecorder).combo, (KeyCombo{VirtualKeyCode::p, 0}));
    for (const std::uint64_t modifier :
         {ModifierFlag::shift, ModifierFlag::control, ModifierFlag::option}) {
        EXPECT_EQ(step(VirtualKeyCode::p, modifier, toolRecorder).kind, Kind::accept);
    }
    EXPECT_EQ(step(VirtualKeyCode::p, ModifierFlag::command, toolRecorder).kind, Kind::refuse);
    EXPECT_EQ(
        step(VirtualKeyCode::p, ModifierFlag::command | ModifierFlag::option, toolRecorder).kind,
        Kind::refuse);
}

TEST(ShortcutRecording, AnAcceptedComboKeepsTheDeviceIndependentFlagsOnly)
{
    const std::uint64_t held = ModifierFlag::option | ModifierFlag::function |
                               ModifierFlag::numericPad | ModifierFlag::capsLock;
    // Bits below 0x10000 say which physical modifier key was held; they are not stored.
    const RecordingStep accepted = step(VirtualKeyCode::leftArrow, held | 0x120, globalRecorder);
    EXPECT_EQ(accepted.kind, Kind::accept);
    EXPECT_EQ(accepted.combo, (KeyCombo{VirtualKeyCode::leftArrow, held}));
}
