#pragma once

#include "app/CommandLine.h"
#include "capture/CaptureBackend.h"
#include "capture/CaptureDisplay.h"
#include "capture/ScreenCaptureState.h"
#include "model/FrameRatio.h"
#include "model/KeyCombo.h"
#include "model/ShortcutAction.h"
#include "shortcuts/HotKeyBackend.h"

#include <QObject>

#include <memory>
#include <optional>
#include <set>

class QMessageBox;
class QScreen;

namespace lookpane {

class FitWindowList;
class FramingMenu;
class GlobalHotKeyCenter;
class GuideWindowController;
class LookpaneWindowController;
class PermissionAlert;
class Preferences;
class ScreenCaptureEngine;
class SettingsWindowController;
struct ShareableWindow;
class StatusItem;
class StatusMenu;

namespace x11 {
class X11CaptureBackend;
class X11WindowRedirection;
} // namespace x11
namespace portal {
class PortalCaptureBackend;
} // namespace portal

// The application controller: creates the long-lived objects, wires the frame window
// controller to the capture engine, and turns capture states into the messages the preview
// views show. Lives from launch until the event loop ends.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    // `backend` is the capture backend to use and `hotKeyBackend` the desktop's hot-key
    // service (tests script them); the X11 ones by default. The hot-key centre exists from
    // here on, before the launch.
    explicit AppDelegate(Preferences &preferences, std::unique_ptr<CaptureBackend> backend = {},
                         std::unique_ptr<HotKeyBackend> hotKeyBackend = {},
                         QObject *parent = nullptr);
    ~AppDelegate() override;

    // How to capture when no backend was given: from the X server (the default), or through
    // the desktop's ScreenCast portal. Before the launch.
    void useCapture(CaptureKind kind) { m_captureKind = kind; }
    // The settings key of the ScreenCast portal's restore token.
    static constexpr const char *restoreTokenKey = "ScreenCastRestoreToken";

    // The launch sequence: creates and wires everything, then shows the frame, which starts
    // capture.
    void applicationDidFinishLaunching();
    // Stops capture and saves the frames; the windows stay until the delegate goes.
    void applicationWillTerminate();
    // Another launch asked this instance to show itself.
    void applicationShouldHandleReopen();

    void startCapture();
    void handleCaptureStateChange(const ScreenCaptureState &state);
    // Brings the status menu's titles, enabled states and the clear item in line with the
    // application; nothing before the menu exists.
    void updateMenu();

    // The menu actions.
    void toggleCapture();
    void toggleFrameVisibility();
    void enterMoveMode();
    void toggleMode();
    void toggleClickThrough();
    void togglePrivacyBlur();
    void toggleDrawingMode();
    void toggleAlwaysOnTop();
    void clearAnnotations();
    void openSettings();
    void openGuide();
    void showAbout();
    void selectRatio(FrameRatio ratio);
    void selectSizePreset(int index);
    void fitToWindow(const ShareableWindow &window);
    void showPermissionAlert();

    // Gives `action` the global shortcut `combo` (none: no shortcut), as the settings window
    // asks when the user records one; then refreshes the menu's shortcut texts. False when the
    // desktop refuses the combination: hotKeyRegistrationFailed has then been emitted.
    bool registerGlobalShortcut(std::optional<KeyCombo> combo, ShortcutAction action);
    // Whether an action's global shortcut could not be registered (at launch, after a change,
    // or when a suspension of the shortcuts ended) and none has been registered for it since:
    // the settings window shows its conflict message then.
    bool hotKeyConflict() const { return !m_hotKeyConflicts.empty(); }

    LookpaneWindowController *windowController() const { return m_windowController.get(); }
    ScreenCaptureEngine *captureEngine() const { return m_captureEngine.get(); }
    StatusMenu *statusMenu() const { return m_statusMenu.get(); }
    StatusItem *statusItem() const { return m_statusItem.get(); }
    FramingMenu *trayFramingMenu() const { return m_trayFramingMenu.get(); }
    FramingMenu *toolbarFramingMenu() const { return m_toolbarFramingMenu.get(); }
    FitWindowList *fitWindowList() const { return m_fitWindowList.get(); }
    PermissionAlert *permissionAlert() const { return m_permissionAlert.get(); }
    // The About box once it has been shown; none before.
    QMessageBox *aboutBox() const { return m_aboutBox.get(); }
    SettingsWindowController *settingsWindow() const { return m_settingsWindow.get(); }
    GuideWindowController *guideWindow() const { return m_guideWindow.get(); }
    // The global shortcuts; a shortcut recorder suspends them while it waits for a key.
    GlobalHotKeyCenter *hotKeys() const { return m_hotKeys.get(); }

Q_SIGNALS:
    // `action` was asked for a global shortcut and is left without one: another application
    // holds the combination. Reported whenever it happens, at launch too.
    void hotKeyRegistrationFailed(lookpane::ShortcutAction action);

private:
    void installSettingsHandlers();
    void installHotKeyHandlers();
    void registerStoredGlobalShortcuts();
    void configureStatusItem();
    std::unique_ptr<FramingMenu> makeFramingMenu();
    void installApplicationShortcuts();
    std::optional<CaptureDisplay> captureDisplay(QScreen *screen) const;
    void setCaptureMessage(const std::optional<QString> &message);

    Preferences &m_preferences;
    std::unique_ptr<GlobalHotKeyCenter> m_hotKeys;
    std::set<ShortcutAction> m_hotKeyConflicts;
    std::unique_ptr<CaptureBackend> m_givenBackend; // until the engine takes it
    CaptureKind m_captureKind = CaptureKind::x11;
    x11::X11CaptureBackend *m_backend = nullptr; // owned by the engine; none when given one
    portal::PortalCaptureBackend *m_portalBackend = nullptr; // the same, in portal capture
    std::unique_ptr<LookpaneWindowController> m_windowController;
    std::unique_ptr<ScreenCaptureEngine> m_captureEngine;
    std::unique_ptr<x11::X11WindowRedirection> m_shareWindowRedirection;
    std::unique_ptr<FitWindowList> m_fitWindowList;
    std::unique_ptr<FramingMenu> m_trayFramingMenu;
    std::unique_ptr<FramingMenu> m_toolbarFramingMenu;
    std::unique_ptr<StatusMenu> m_statusMenu;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<PermissionAlert> m_permissionAlert;
    std::unique_ptr<QMessageBox> m_aboutBox;
    std::unique_ptr<GuideWindowController> m_guideWindow;
    std::unique_ptr<SettingsWindowController> m_settingsWindow;
};

} // namespace lookpane
