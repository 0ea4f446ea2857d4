#pragma once

#include "QtWait.h"
#include "TestDisplay.h"
#include "XInput.h"

#include <QWidget>

#include <string>
#include <vector>

namespace lookpane::testing {

inline std::string display()
{
    return testDisplay().displayName();
}

// Clicks the middle of `widget` with the real pointer.
inline bool clickOn(const QWidget *widget)
{
    return clickAt(display(), widget->mapToGlobal(widget->rect().center()));
}

// Types `keys` (xdotool key names, "ctrl+alt+super+b", "BackSpace", ...) as real key presses.
inline bool typeKeys(const std::vector<std::string> &keys)
{
    std::vector<std::string> args{"key"};
    args.insert(args.end(), keys.begin(), keys.end());
    return xdotool(display(), args);
}

} // namespace lookpane::testing
