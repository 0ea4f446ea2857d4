// The desktop entry's StartupWMClass is how a desktop ties Lookpane's windows to its launcher
// (the taskbar's icon and grouping); it has to name the class the running program gives them.
#include "LookpaneLaunch.h"
#include "ChildProcess.h"
#include "PatternWindow.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include <gtest/gtest.h>

#include <xcb/xcb.h>
#include <xcb/xcb_icccm.h>

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QTextStream>

#include <chrono>
#include <memory>
#include <optional>

using namespace lookpane::testing;

namespace {

// The value of `key` in the [Desktop Entry] group of a desktop file; none when it has none.
std::optional<QString> desktopEntryValue(const QString &path, const QString &key)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return std::nullopt;
    }
    QTextStream in(&file);
    bool inMainGroup = false;
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inMainGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (inMainGroup && equals > 0 && line.left(equals).trimmed() == key) {
            return line.mid(equals + 1).trimmed();
        }
    }
    return std::nullopt;
}

struct WindowClass
{
    QString instance;
    QString className;
};

// WM_CLASS of a window, as the window manager and the desktop read it.
std::optional<WindowClass> windowClass(const std::string &display, std::uint32_t window)
{
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(connection.get())) {
        return std::nullopt;
    }
    xcb_icccm_get_wm_class_reply_t reply;
    if (!xcb_icccm_get_wm_class_reply(
            connection.get(), xcb_icccm_get_wm_class(connection.get(), window), &reply, nullptr)) {
        return std::nullopt;
    }
    WindowClass result{QString::fromLocal8Bit(reply.instance_name),
                       QString::fromLocal8Bit(reply.class_name)};
    xcb_icccm_get_wm_class_reply_wipe(&reply);
    return result;
}

} // namespace

TEST(Packaging, DesktopEntryStartupWMClassIsTheClassOfEveryLookpaneWindow)
{
    const QString entry = QStringLiteral(LOOKPANE_DESKTOP_ENTRY);
    const std::optional<QString> startupClass =
        desktopEntryValue(entry, QStringLiteral("StartupWMClass"));
    ASSERT_TRUE(startupClass.has_value()) << qPrintable(entry) << " names no StartupWMClass";

    XvfbServer server({1280, 720});
    ASSERT_TRUE(server.isRunning());
    QTemporaryDir config;
    keepGuideClosedAtLaunch(config.path());
    ChildProcess::Options options;
    options.environment["DISPLAY"] = server.displayName();
    options.environment["QT_QPA_PLATFORM"] = "xcb";
    options.environment["XDG_CONFIG_HOME"] = config.path().toStdString();
    options.unset = {"WAYLAND_DISPLAY", "XAUTHORITY", "SESSION_MANAGER", "RESOURCE_NAME"};
    ChildProcess lookpane({lookpaneExecutable()}, options);

    // The share window is the one meetings share and a taskbar shows; the box and the toolbar
    // belong to the same application. The toolbar may come a moment after the other two.
    const QStringList roles = {QStringLiteral("share"), QStringLiteral("frame"),
                               QStringLiteral("toolbar")};
    for (const QString &role : roles) {
        if (!waitForViewableRole(server.displayName(), role, 15000)) {
            const std::optional<int> status = lookpane.waitForExit(std::chrono::milliseconds(0));
            FAIL() << "no " << qPrintable(role) << " window appeared; lookpane "
                   << (status ? "had ended, wait status " + std::to_string(*status)
                              : std::string("was still running"));
        }
    }
    for (const QString &role : roles) {
        for (const WindowInfo &info : findWindowsByRole(server.displayName(), role)) {
            const std::optional<WindowClass> wmClass = windowClass(server.displayName(), info.id);
            ASSERT_TRUE(wmClass.has_value())
                << "the " << qPrintable(role) << " window has no WM_CLASS";
            EXPECT_EQ(wmClass->className.toStdString(), startupClass->toStdString())
                << "the " << qPrintable(role) << " window";
            // The instance half is the executable's name, which desktops also try.
            EXPECT_EQ(wmClass->instance.toStdString(), "lookpane")
                << "the " << qPrintable(role) << " window";
        }
    }
    lookpane.stop();
}
