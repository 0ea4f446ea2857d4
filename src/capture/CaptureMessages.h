#pragma once

#include <QString>

namespace lookpane::captureMessages {

// The texts of the capture engine's failures, shown to the user as they stand.

inline QString shareWindowUnavailable()
{
    return QStringLiteral("The share window is unavailable");
}

inline QString noDisplayAvailable()
{
    return QStringLiteral("No display is available for capture");
}

inline QString couldNotExcludeItself()
{
    return QStringLiteral("Lookpane could not exclude itself from screen capture");
}

inline QString unableToStart(const QString &description)
{
    return QStringLiteral("Unable to start capture: ") + description;
}

inline QString unableToUpdateRegion(const QString &description)
{
    return QStringLiteral("Unable to update capture region: ") + description;
}

inline QString captureStopped(const QString &description)
{
    return QStringLiteral("Capture stopped: ") + description;
}

// A backend that cannot make a stream at all; it reads after "Unable to start capture: ".
inline QString streamNotCreated()
{
    return QStringLiteral("The capture stream could not be created");
}

} // namespace lookpane::captureMessages
