#pragma once

#include "model/KeyCombo.h"
#include "shortcuts/KeyPress.h"

namespace lookpane {

// What a shortcut recorder does with a key press while it records.
struct RecordingStep
{
    enum class Kind
    {
        // Esc: recording ends, the combination stays as it was.
        cancel,
        // Backspace with none of Shift, Ctrl, Alt, Super: the binding is removed.
        clear,
        // A combination the recorder may not hold: a beep, and recording goes on.
        refuse,
        // The combination is taken: `combo`.
        accept
    };

    Kind kind = Kind::refuse;
    KeyCombo combo;
};

// The rules of recording. A global recorder (`allowsBareKeys` false) needs Ctrl, Alt or Super
// (command, option or control) in the combination, so Shift alone is refused too; a tool
// recorder takes single keys and Shift, Alt or Super with them, never Ctrl (command). An
// accepted combination keeps every device-independent flag of the press (0xFFFF0000): Caps
// Lock, and the function and keypad flags that the key itself carries.
RecordingStep recordingStep(const KeyPress &press, bool allowsBareKeys);

} // namespace lookpane
