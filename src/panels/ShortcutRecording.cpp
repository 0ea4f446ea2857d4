#include "panels/ShortcutRecording.h"

#include "shortcuts/VirtualKeyCode.h"

namespace lookpane {

RecordingStep recordingStep(const KeyPress &press, bool allowsBareKeys)
{
    using Kind = RecordingStep::Kind;
    if (press.keyCode == VirtualKeyCode::escape) {
        return {Kind::cancel, {}};
    }
    if (press.keyCode == VirtualKeyCode::backspace &&
        (press.modifiers & ModifierFlag::matchMask) == 0) {
        return {Kind::clear, {}};
    }
    if (!allowsBareKeys && (press.modifiers & ModifierFlag::hotKeyMask) == 0) {
        return {Kind::refuse, {}};
    }
    if (allowsBareKeys && (press.modifiers & ModifierFlag::command) != 0) {
        return {Kind::refuse, {}};
    }
    return {Kind::accept,
            KeyCombo{press.keyCode, press.modifiers & ModifierFlag::deviceIndependentMask}};
}

} // namespace lookpane
