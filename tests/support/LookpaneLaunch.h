#pragma once

#include "ChildProcess.h"

#include <QString>

#include <string>

namespace lookpane::testing {

// The environment of a Lookpane that a test starts: the test's display and settings folder
// (XDG_CONFIG_HOME), software OpenGL, and nothing of the caller's desktop session.
ChildProcess::Options lookpaneEnvironment(const std::string &display, const QString &configHome);

// Lookpane's settings file under `configHome`.
QString lookpaneSettingsFile(const QString &configHome);

// Stores "ShowGuideOnLaunch" false, so that the guide does not open over what a test looks at
// or clicks; a first launch otherwise opens it in the middle of the screen.
void keepGuideClosedAtLaunch(const QString &configHome);

} // namespace lookpane::testing
