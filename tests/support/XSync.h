#pragma once

#include <string>

namespace lookpane::testing {

// Waits until the X server has carried out every request this application sent over Qt's own
// connection so far (a round trip: the server answers in order), so that another client, or
// the server's own reading of the screen, sees their effect. False without an X connection.
bool applicationRequestsDone();

// Waits until the window manager of `display` has handled every event it was sent so far: a
// window of ours asks it for its frame extents, and it answers only after what came before.
// False when it does not answer within `timeoutMs`.
bool windowManagerCaughtUp(const std::string &display, int timeoutMs = 10000);

// Every request this application made so far carried out by the server, the window manager of
// `display` caught up with what they asked of it (maps, moves, focus), and the events the
// server sent this application up to then handled: what a test waited for with a pause after
// showing, moving or activating windows.
bool windowsSettled(const std::string &display);

} // namespace lookpane::testing
