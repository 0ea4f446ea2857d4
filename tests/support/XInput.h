#pragma once

#include <QPoint>

#include <optional>
#include <string>
#include <vector>

namespace lookpane::testing {

// Runs xdotool on `display` with `args` and waits for it (real input through XTEST, as a user
// would give it). Returns whether it exited with status 0.
bool xdotool(const std::string &display, const std::vector<std::string> &args);

// Moves the pointer to `p` (root coordinates) and waits until the server reports it there,
// so that what follows happens there. (xdotool's --sync waits for a motion that never comes
// when the pointer is already there.)
bool moveMouseTo(const std::string &display, QPoint p);
// Where the pointer is (root coordinates); none when the display cannot be reached.
std::optional<QPoint> pointerPosition(const std::string &display);
// Clicks `button` at `p`.
bool clickAt(const std::string &display, QPoint p, int button = 1);
// Presses the left button at `from`, moves to `to` in eight steps and releases it there.
bool dragFromTo(const std::string &display, QPoint from, QPoint to);

} // namespace lookpane::testing
