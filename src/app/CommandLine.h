#pragma once

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

} // namespace lookpane
