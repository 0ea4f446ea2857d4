#include "app/AppDelegate.h"

#include "app/LookpaneWindowController.h"
#include "capture/ScreenCaptureEngine.h"
#include "capture/x11/X11CaptureBackend.h"
#include "capture/x11/X11WindowRedirection.h"
#include "frame/BorderlessWindow.h"
#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "model/ScreenCoordinates.h"

#include <QApplication>
#include <QKeySequence>
#include <QScreen>
#include <QShortcut>

namespace lookpane {

AppDelegate::AppDelegate(Preferences &preferences, QObject *parent)
    : QObject(parent), m_preferences(preferences)
{}

AppDelegate::~AppDelegate()
{
    // The engine's signals reach into the window controller: stop and drop it first.
    if (m_captureEngine) {
        m_captureEngine->stop();
    }
    m_captureEngine.reset();
    m_shareWindowRedirection.reset();
    m_windowController.reset();
}

void AppDelegate::applicationDidFinishLaunching()
{
    // 1. Defaults first, so that everything created below reads them.
    m_preferences.registerDefaults();

    // 2. The frame window controller at the restored frame, and the capture engine.
    FramePreferences framePreferences(m_preferences, currentScreenLayout);
    m_windowController =
        std::make_unique<LookpaneWindowController>(m_preferences, framePreferences.restoredFrame());
    auto backend = std::make_unique<x11::X11CaptureBackend>();
    m_backend = backend.get();
    m_captureEngine = std::make_unique<ScreenCaptureEngine>(std::move(backend));

    // Meeting applications that share the share window read its true contents even where the
    // frame window covers it, as long as the window stays redirected.
    m_shareWindowRedirection = std::make_unique<x11::X11WindowRedirection>(
        static_cast<std::uint32_t>(m_windowController->shareWindow()->winId()));

    // 5. Frames and states from the engine.
    connect(m_captureEngine.get(), &ScreenCaptureEngine::frameCaptured, m_windowController.get(),
            &LookpaneWindowController::showCapturedFrame);
    connect(m_captureEngine.get(), &ScreenCaptureEngine::stateChanged, this,
            &AppDelegate::handleCaptureStateChange);

    // 6. The frame's changes drive the capture.
    connect(m_windowController.get(), &LookpaneWindowController::frameChanged, this,
            [this](const ScreenRect &rect, QScreen *screen) {
                m_captureEngine->updateRegion(rect, captureDisplay(screen));
            });
    connect(m_windowController.get(), &LookpaneWindowController::visibilityChanged, this,
            [this](bool visible) {
                if (visible) {
                    startCapture();
                } else {
                    m_captureEngine->stop();
                }
            });

    installApplicationShortcuts();

    // 11. Showing the frame reports it visible, which starts the capture.
    m_windowController->show();
}

void AppDelegate::installApplicationShortcuts()
{
    // Linux windows have no global menu bar: Ctrl+Q works in every Lookpane window instead.
    auto *quit =
        new QShortcut(QKeySequence(QStringLiteral("Ctrl+Q")), m_windowController->frameWindow());
    quit->setContext(Qt::ApplicationShortcut);
    connect(quit, &QShortcut::activated, qApp, &QCoreApplication::quit);
}

void AppDelegate::applicationWillTerminate()
{
    if (m_captureEngine) {
        m_captureEngine->stop();
    }
    if (m_windowController) {
        m_windowController->saveFrames();
    }
}

void AppDelegate::applicationShouldHandleReopen()
{
    if (m_windowController && !m_windowController->isFrameVisible()) {
        m_windowController->show();
    }
}

void AppDelegate::startCapture()
{
    setCaptureMessage(QStringLiteral("Starting screen capture…"));
    MirroredWindow window;
    window.windowNumber = static_cast<std::int64_t>(m_windowController->frameWindow()->winId());
    window.contentRect = m_windowController->contentRect();
    window.screen = captureDisplay(m_windowController->screen());
    m_captureEngine->start(window);
}

void AppDelegate::handleCaptureStateChange(const ScreenCaptureState &state)
{
    switch (state.kind()) {
    case ScreenCaptureState::Kind::idle:
        setCaptureMessage(QStringLiteral("Capture stopped"));
        break;
    case ScreenCaptureState::Kind::starting:
        setCaptureMessage(QStringLiteral("Starting screen capture…"));
        break;
    case ScreenCaptureState::Kind::running:
        setCaptureMessage(std::nullopt);
        break;
    case ScreenCaptureState::Kind::permissionRequired:
        setCaptureMessage(
            QStringLiteral("Allow screen sharing for Lookpane, then choose Start capture"));
        break;
    case ScreenCaptureState::Kind::failed:
        setCaptureMessage(state.message());
        break;
    }
}

void AppDelegate::setCaptureMessage(const std::optional<QString> &message)
{
    m_windowController->setCaptureMessage(message);
}

std::optional<CaptureDisplay> AppDelegate::captureDisplay(QScreen *screen) const
{
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    if (!screen) {
        return std::nullopt;
    }
    QScreen *primary = QGuiApplication::primaryScreen();
    const std::optional<std::uint32_t> mainID =
        primary && m_backend ? m_backend->displayIDForScreen(*primary) : std::nullopt;
    const std::optional<std::uint32_t> screenID =
        m_backend ? m_backend->displayIDForScreen(*screen) : std::nullopt;
    CaptureDisplay display;
    display.id = displayIDForScreen(screenID, mainID.value_or(0));
    display.frame = screenRectFromQt(QRectF(screen->geometry()), primaryScreenHeight());
    display.backingScaleFactor = screen->devicePixelRatio();
    return display;
}

} // namespace lookpane
