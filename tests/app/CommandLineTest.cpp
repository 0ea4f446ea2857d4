// The lookpane executable's command line, and a start without a display: answered without
// touching any X server.
#include "PatternWindow.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>

using namespace lookpane::testing;

namespace {

struct Outcome
{
    int exitCode = -1;
    bool crashed = false;
    QString out;
    QString err;
};

// Runs lookpane with `arguments`; DISPLAY and WAYLAND_DISPLAY removed unless `display` names
// one.
Outcome runLookpane(const QStringList &arguments, const QString &display = {})
{
    static int argc = 1;
    static char name[] = "app_command_line_tests";
    static char *argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    if (!display.isEmpty()) {
        environment.insert(QStringLiteral("DISPLAY"), display);
    }
    process.setProcessEnvironment(environment);
    process.start(QString::fromStdString(lookpaneExecutable()), arguments);
    Outcome outcome;
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished();
        return outcome;
    }
    outcome.crashed = process.exitStatus() == QProcess::CrashExit;
    outcome.exitCode = process.exitCode();
    outcome.out = QString::fromUtf8(process.readAllStandardOutput());
    outcome.err = QString::fromUtf8(process.readAllStandardError());
    return outcome;
}

} // namespace

TEST(CommandLine, VersionPrintsTheBuildsVersionAndExits)
{
    const Outcome outcome = runLookpane({QStringLiteral("--version")});
    ASSERT_FALSE(outcome.crashed);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, QStringLiteral("Lookpane %1\n").arg(QStringLiteral(LOOKPANE_VERSION)));
}

TEST(CommandLine, HelpListsTheOptionsAndExits)
{
    const Outcome outcome = runLookpane({QStringLiteral("--help")});
    ASSERT_FALSE(outcome.crashed);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(outcome.out.startsWith(QStringLiteral("Usage: "))) << outcome.out.toStdString();
    EXPECT_TRUE(outcome.out.contains(QStringLiteral("--version")));
    EXPECT_TRUE(outcome.out.contains(QStringLiteral("--help")));
}

TEST(CommandLine, AnUnknownOptionIsAMistakeSaidOnStandardError)
{
    const Outcome outcome = runLookpane({QStringLiteral("--frobnicate")});
    ASSERT_FALSE(outcome.crashed);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(outcome.out.isEmpty());
    EXPECT_TRUE(outcome.err.contains(QStringLiteral("frobnicate"))) << outcome.err.toStdString();
}

TEST(CommandLine, HelpNamesTheCaptureChoice)
{
    const Outcome outcome = runLookpane({QStringLiteral("--help")});
    EXPECT_TRUE(outcome.out.contains(QStringLiteral("--capture <x11|portal>")))
        << outcome.out.toStdString();
}

TEST(CommandLine, AnUnknownCaptureIsAMistakeSaidOnStandardError)
{
    const Outcome outcome = runLookpane({QStringLiteral("--capture"), QStringLiteral("pipewire")});
    ASSERT_FALSE(outcome.crashed);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, QStringLiteral("lookpane: --capture takes x11 or portal, not "
                                          "\"pipewire\"; see lookpane --help\n"));
}

TEST(CommandLine, PortalCaptureStillNeedsAnXDisplayAndSaysSo)
{
    // A Wayland session without XWayland: Lookpane's windows have nowhere to go.
    const Outcome outcome = runLookpane({QStringLiteral("--capture"), QStringLiteral("portal")});
    ASSERT_FALSE(outcome.crashed);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(outcome.err.contains(QStringLiteral("DISPLAY is not set")))
        << outcome.err.toStdString();
}

TEST(CommandLine, WithoutADisplayLookpaneSaysSoInOneLineAndExitsWithOne)
{
    const Outcome outcome = runLookpane({});
    ASSERT_FALSE(outcome.crashed);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(
        outcome.err,
        QStringLiteral("lookpane: Lookpane needs an X11 display, and DISPLAY is not set (in a "
                       "Wayland session, XWayland provides one)\n"));
}

TEST(CommandLine, ADisplayThatCannotBeOpenedIsNamed)
{
    // Display 999 on this machine has no server: nothing listens on its socket.
    const Outcome outcome = runLookpane({}, QStringLiteral(":999"));
    ASSERT_FALSE(outcome.crashed);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err,
              QStringLiteral("lookpane: Lookpane cannot open the X display \":999\"\n"));
}
