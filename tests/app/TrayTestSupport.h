#pragma once

// What the tray tests share: a desktop of their own (a private X server with openbox, a
// private session bus, a settings folder) with the real lookpane launched on it, and the
// mouse, the windows and the pictures as a user would see them.
#include "LookpaneLaunch.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "ImageMetrics.h"
#include "PatternWindow.h"
#include "SessionBus.h"
#include "XInput.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace lookpane::testing {

class TrayDesktop
{
public:
    explicit TrayDesktop(XvfbServer::Options screen) : m_server(screen) {}

    // Whether the X server, the window manager and the bus all run.
    bool start()
    {
        return m_server.isRunning() && m_server.startWindowManager() && m_bus.isRunning();
    }

    std::string display() const { return m_server.displayName(); }
    const SessionBus &bus() const { return m_bus; }
    const XvfbServer &server() const { return m_server; }

    // Lookpane's environment: this desktop's display, bus and settings, and nothing of the
    // caller's desktop (its session, its theme, its bus).
    ChildProcess::Options lookpaneEnvironment() const
    {
        ChildProcess::Options options;
        options.environment["DISPLAY"] = display();
        options.environment["QT_QPA_PLATFORM"] = "xcb";
        options.environment["XDG_CONFIG_HOME"] = m_config.path().toStdString();
        options.environment["LIBGL_ALWAYS_SOFTWARE"] = "1";
        options.environment["DBUS_SESSION_BUS_ADDRESS"] = m_bus.address();
        options.unset = {"WAYLAND_DISPLAY",     "XAUTHORITY",      "SESSION_MANAGER",
                         "XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "KDE_FULL_SESSION",
                         "QT_QPA_PLATFORMTHEME"};
        return options;
    }

    std::unique_ptr<ChildProcess> launchLookpane() const
    {
        keepGuideClosedAtLaunch(m_config.path());
        return std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()},
                                              lookpaneEnvironment());
    }

    QString settingsFile() const
    {
        return QDir(m_config.path()).filePath(QStringLiteral("Lookpane/Lookpane.conf"));
    }

    // Stores a frame (screen coordinates, origin bottom-left) for Lookpane to restore.
    void storeFrame(const QString &rectText) const
    {
        QDir(m_config.path()).mkpath(QStringLiteral("Lookpane"));
        QSettings settings(settingsFile(), QSettings::NativeFormat);
        settings.setValue(QStringLiteral("FrameWindowFrame"), rectText);
    }

    // --- windows ---

    // The viewable window of Lookpane's with this WM_WINDOW_ROLE ("frame", "share",
    // "toolbar"); an empty one when none shows within the timeout.
    WindowInfo role(const char *name, int timeoutMs = 15000) const
    {
        return waitForViewableRole(display(), QString::fromLatin1(name), timeoutMs)
            .value_or(WindowInfo{});
    }

    bool isRoleViewable(const char *name) const
    {
        for (const WindowInfo &info : findWindowsByRole(display(), QString::fromLatin1(name))) {
            if (info.viewable) {
                return true;
            }
        }
        return false;
    }

    // The viewable top-level override-redirect windows of the process `pid` other than its
    // own named windows: its open popup menus.
    std::vector<WindowInfo> popupsOf(int pid) const
    {
        return findWindows(display(), [pid](const WindowInfo &info) {
            return info.viewable && info.topLevel && info.overrideRedirect && info.pid == pid &&
                   info.role.isEmpty() && info.geometry.width() > 1 && info.geometry.height() > 1;
        });
    }

    // Waits until exactly one popup of `pid` shows and returns it.
    std::optional<WindowInfo> waitForPopup(int pid, int timeoutMs = 15000) const
    {
        std::vector<WindowInfo> popups;
        if (!eventually([&] { return (popups = popupsOf(pid)).size() == 1; }, timeoutMs)) {
            return std::nullopt;
        }
        return popups.front();
    }

    // The tooltip of the toolbar's hide button as the user sees it: the pointer rests on the
    // button until the tooltip of the process `pid` shows, then goes back to the screen's
    // top-left corner, where nothing of Lookpane's lies, and the tooltip closes. Its size; an
    // empty one when none shows. The button says "Hide Lookpane (it stays in the tray)" with
    // the icon in a tray and "Hide Lookpane (open Lookpane again to bring it back)" without:
    // the wording for the tray is the narrower tooltip.
    QSize hideButtonToolTipSize(int pid) const
    {
        const WindowInfo toolbar = role("toolbar");
        if (!toolbar.viewable || !moveTo(pointerRest) ||
            !eventually([&] { return popupsOf(pid).empty(); })) {
            return {};
        }
        // Qt drops a move to where it last saw the pointer, and it does not see the pointer
        // outside its windows: the pointer comes to the centre from a point beside it.
        const QPoint centre = toolbar.geometry.topLeft() + hideButtonCentre;
        const std::optional<WindowInfo> tip =
            moveTo(centre + QPoint(3, 0)) && moveTo(centre) ? waitForPopup(pid) : std::nullopt;
        moveTo(pointerRest);
        eventually([&] { return popupsOf(pid).empty(); });
        return tip ? tip->geometry.size() : QSize();
    }

    // --- input ---

    bool xdotool(const std::vector<std::string> &args) const
    {
        return lookpane::testing::xdotool(display(), args);
    }
    bool moveTo(QPoint p) const { return moveMouseTo(display(), p); }
    bool clickAt(QPoint p, int button = 1) const
    {
        return lookpane::testing::clickAt(display(), p, button);
    }
    bool dragFromTo(QPoint from, QPoint to) const
    {
        return lookpane::testing::dragFromTo(display(), from, to);
    }

    // --- pictures ---

    // When LOOKPANE_TEST_SHOTS names a folder, a screenshot of the whole screen goes there as
    // `name`.png, for a person to look at; otherwise nothing.
    void saveScreenshot(const std::string &name) const
    {
        const QByteArray folder = qgetenv("LOOKPANE_TEST_SHOTS");
        if (folder.isEmpty()) {
            return;
        }
        QDir().mkpath(QString::fromLocal8Bit(folder));
        ChildProcess::Options options;
        options.environment["DISPLAY"] = display();
        ChildProcess import(
            {"import", "-window", "root", folder.toStdString() + "/" + name + ".png"}, options);
        import.waitForExit(std::chrono::seconds(20));
    }

    // A rectangle of the screen once it has stopped changing (a window just mapped may not
    // be painted yet); null when it does not settle.
    QImage settledPicture(const QRect &rect) const
    {
        QImage previous;
        QImage current;
        const bool settled = eventually([&] {
            previous = current;
            current = grabScreenRect(display(), rect);
            return !previous.isNull() && current == previous &&
                   countPixelsNotNear(current, current.rect(), current.pixelColor(0, 0), 0) > 0;
        });
        return settled ? current : QImage();
    }

    // --- waiting ---

    // Waits until `condition` holds, polling; the tray's tests allow the slower start of a
    // program with a session bus.
    static bool eventually(const std::function<bool()> &condition, int timeoutMs = 15000)
    {
        return lookpane::testing::eventually(condition, timeoutMs);
    }

private:
    // The hide button's centre from the toolbar's top-left corner: the last of the base row
    // (framing, draw, blur | click-through, detach, pin | hide), buttons 30 wide and 2 apart
    // inside a 10-point margin, the row 40 high.
    static constexpr QPoint hideButtonCentre{239, 20};
    static constexpr QPoint pointerRest{2, 2};

    XvfbServer m_server;
    SessionBus m_bus;
    QTemporaryDir m_config;
};

// The high-frequency energy of a window's picture: a sharp document has much of it, the same
// document blurred for viewers little.
inline double windowSharpness(const std::string &display, std::uint32_t window)
{
    const QImage picture = grabWindow(display, window);
    return picture.isNull() ? -1.0 : laplacianEnergy(picture);
}

// Waits until the share window shows a picture at least 90 % as sharp as `document` (what
// the screen showed where the box is before Lookpane started) and returns its sharpness; -1
// when it never does.
inline double waitForSharpShare(const std::string &display, std::uint32_t share, double document)
{
    double shown = -1;
    const bool sharp = TrayDesktop::eventually([&] {
        shown = windowSharpness(display, share);
        return shown >= 0.9 * document;
    });
    return sharp ? shown : -1.0;
}

// Waits until the share window's picture keeps at most a tenth of the energy it had sharp.
inline bool waitForBlurredShare(const std::string &display, std::uint32_t share, double sharp)
{
    return TrayDesktop::eventually([&] {
        const double now = windowSharpness(display, share);
        return now >= 0 && now <= 0.1 * sharp;
    });
}

} // namespace lookpane::testing
