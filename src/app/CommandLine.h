#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace lookpane {

// What the command line asks for before any window exists.
struct CommandLineRequest
{
    // Text to print on standard output before exiting with `exitCode` (--help, --version),
    // or on standard error for a mistake; none to go on and start Lookpane.
    std::optional<QString> output;
    bool toStandardError = false;
    int exitCode = 0;
    // The value of --capture, if given (checked by chooseCapture).
    std::optional<QString> capture;
};

// Reads `arguments` (argv, the program's name first) with the options --help, --version and
// --capture <x11|portal>.
// Needs a QCoreApplication for the program's name and version, no display.
CommandLineRequest readCommandLine(const QStringList &arguments);

// Why Lookpane cannot open its windows on this machine's display, in one line; none when it
// can. Lookpane's windows need an X server (XWayland in a Wayland session).
std::optional<QString> displayProblem();

// The Qt platform for Lookpane's windows, which need X11 (an input shape, a place of their own
// on the screen): xcb, also in a Wayland session, where XWayland provides the X server.
struct PlatformChoice
{
    // What QT_QPA_PLATFORM is to say: "xcb", or the xcb entry (with its options) of the
    // user's list of choices.
    QByteArray platform;
    // Why Lookpane cannot run on what QT_QPA_PLATFORM asks for, in one line; none when it can.
    std::optional<QString> problem;
};

// The choice for `requested`, the value of QT_QPA_PLATFORM (platforms separated by ';', each
// a name with options after ':'). Any other platform alone is refused: Lookpane's windows do
// not work on it (offscreen, minimal, a Wayland compositor's own).
PlatformChoice choosePlatform(const QByteArray &requested);

// How the screen is captured: from the X server (an X11 session), or through the desktop's
// ScreenCast portal and PipeWire (a Wayland session, where XWayland shows only X11 windows).
enum class CaptureKind
{
    x11,
    portal
};

struct CaptureChoice
{
    CaptureKind kind = CaptureKind::x11;
    // Why the request cannot be followed, in one line; none when it can.
    std::optional<QString> problem;
};

// The capture for `requested` (--capture's value: "x11" or "portal"), else for the session: the
// portal where WAYLAND_DISPLAY (`waylandDisplay`) is set, X11 otherwise.
CaptureChoice chooseCapture(const std::optional<QString> &requested, const QString &waylandDisplay);

} // namespace lookpane
