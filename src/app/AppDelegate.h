#pragma once

#include "capture/CaptureDisplay.h"
#include "capture/ScreenCaptureState.h"

#include <QObject>

#include <memory>
#include <optional>

class QScreen;

namespace lookpane {

class LookpaneWindowController;
class Preferences;
class ScreenCaptureEngine;

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
    explicit AppDelegate(Preferences &preferences, QObject *parent = nullptr);
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

    LookpaneWindowController *windowController() const { return m_windowController.get(); }
    ScreenCaptureEngine *captureEngine() const { return m_captureEngine.get(); }

private:
    void installApplicationShortcuts();
    std::optional<CaptureDisplay> captureDisplay(QScreen *screen) const;
    void setCaptureMessage(const std::optional<QString> &message);

    Preferences &m_preferences;
    x11::X11CaptureBackend *m_backend = nullptr; // owned by the engine
    std::unique_ptr<LookpaneWindowController> m_windowController;
    std::unique_ptr<ScreenCaptureEngine> m_captureEngine;
    std::unique_ptr<x11::X11WindowRedirection> m_shareWindowRedirection;
};

} // namespace lookpane
