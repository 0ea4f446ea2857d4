#pragma once

#include "capture/CaptureBackend.h"
#include "capture/CaptureDisplay.h"
#include "capture/ScreenCaptureState.h"
#include "model/FrameRatio.h"

#include <QObject>

#include <memory>
#include <optional>

class QScreen;

namespace lookpane {

class FitWindowList;
class FramingMenu;
class LookpaneWindowController;
class PermissionAlert;
class Preferences;
class ScreenCaptureEngine;
struct ShareableWindow;
class StatusItem;
class StatusMenu;

namespace x11 {
class X11CaptureBackend;
class X11WindowRedirection;
} // namespace x11

// The application controller: creates the long-lived objects, wires the frame window
// controller to the capture engine, and turns capture states into the messages the preview
// views show. Lives from launch until the event loop ends.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    // `backend` is the capture backend to use (tests script one); the X11 one by default.
    explicit AppDelegate(Preferences &preferences, std::unique_ptr<CaptureBackend> backend = {},
                         QObject *parent = nullptr);
    ~AppDelegate() override;

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

    LookpaneWindowController *windowController() const { return m_windowController.get(); }
    ScreenCaptureEngine *captureEngine() const { return m_captureEngine.get(); }
    StatusMenu *statusMenu() const { return m_statusMenu.get(); }
    StatusItem *statusItem() const { return m_statusItem.get(); }
    FramingMenu *trayFramingMenu() const { return m_trayFramingMenu.get(); }
    FramingMenu *toolbarFramingMenu() const { return m_toolbarFramingMenu.get(); }
    FitWindowList *fitWindowList() const { return m_fitWindowList.get(); }
    PermissionAlert *permissionAlert() const { return m_permissionAlert.get(); }

private:
    void configureStatusItem();
    std::unique_ptr<FramingMenu> makeFramingMenu();
    void installApplicationShortcuts();
    std::optional<CaptureDisplay> captureDisplay(QScreen *screen) const;
    void setCaptureMessage(const std::optional<QString> &message);

    Preferences &m_preferences;
    std::unique_ptr<CaptureBackend> m_givenBackend; // until the engine takes it
    x11::X11CaptureBackend *m_backend = nullptr;    // owned by the engine; none when given one
    std::unique_ptr<LookpaneWindowController> m_windowController;
    std::unique_ptr<ScreenCaptureEngine> m_captureEngine;
    std::unique_ptr<x11::X11WindowRedirection> m_shareWindowRedirection;
    std::unique_ptr<FitWindowList> m_fitWindowList;
    std::unique_ptr<FramingMenu> m_trayFramingMenu;
    std::unique_ptr<FramingMenu> m_toolbarFramingMenu;
    std::unique_ptr<StatusMenu> m_statusMenu;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<PermissionAlert> m_permissionAlert;
};

} // namespace lookpane
