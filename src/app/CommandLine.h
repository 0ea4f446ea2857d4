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
};

// Reads `arguments` (argv, the program's name first) with the options --help and --version.
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

} // namespace lookpane
