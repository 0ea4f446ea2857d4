#include "app/AppDelegate.h"

#include "app/AppLog.h"
#include "app/LookpaneWindowController.h"
#include "capture/ScreenCaptureEngine.h"
#include "capture/portal/PortalCaptureBackend.h"
#include "capture/x11/X11CaptureBackend.h"
#include "capture/x11/X11WindowRedirection.h"
#include "frame/BorderlessWindow.h"
#include "frame/FrameSizePreset.h"
#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "model/ScreenCoordinates.h"
#include "panels/GuideWindowController.h"
#include "panels/SettingsWindowController.h"
#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/X11WindowTraits.h"
#include "shell/FitWindowList.h"
#include "shell/FramingMenu.h"
#include "shell/PermissionAlert.h"
#include "shell/StatusItem.h"
#include "shell/StatusMenu.h"
#include "shortcuts/GlobalHotKeyCenter.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/ToolShortcutPreferences.h"
#include "shortcuts/x11/X11HotKeyBackend.h"
#include "toolbar/FrameToolbarWindowController.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>

namespace lookpane {

namespace {

// Ends the event loop, and with it Lookpane (aboutToQuit still saves the frames). Not
// QCoreApplication::quit(): that first asks every window to close and gives up as soon as one
// refuses, and Lookpane's windows refuse (closing one hides Lookpane). Whenever another window
// of ours is visible too, such as the tray icon in an XEmbed tray, quit() only hid Lookpane and
// left it running.
void quitLookpane()
{
    QCoreApplication::exit(0);
}

} // namespace

AppDelegate::AppDelegate(Preferences &preferences, std::unique_ptr<CaptureBackend> backend,
                         std::unique_ptr<HotKeyBackend> hotKeyBackend, QObject *parent)
    : QObject(parent), m_preferences(preferences), m_givenBackend(std::move(backend))
{
    if (!hotKeyBackend) {
        hotKeyBackend = std::make_unique<x11::X11HotKeyBackend>();
    }
    m_hotKeys = std::make_unique<GlobalHotKeyCenter>(std::move(hotKeyBackend));
    // Failures of every kind end here, also those of bindings taken back after the settings
    // window's recorder suspended the shortcuts.
    connect(m_hotKeys.get(), &GlobalHotKeyCenter::registrationFailed, this,
            [this](ShortcutAction action) {
                m_hotKeyConflicts.insert(action);
                Q_EMIT hotKeyRegistrationFailed(action);
            });
}

AppDelegate::~AppDelegate()
{
    // The global shortcuts first: they are let go while the windows they act on still exist,
    // and presses still queued die with the centre.
    m_hotKeys.reset();
    m_settingsWindow.reset();
    m_guideWindow.reset();
    // The menus go before what their actions reach; the engine's signals reach into the window
    // controller: stop and drop it next.
    m_aboutBox.reset();
    m_permissionAlert.reset();
    m_statusItem.reset();
    m_statusMenu.reset();
    m_toolbarFramingMenu.reset();
    m_trayFramingMenu.reset();
    m_fitWindowList.reset();
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
    std::unique_ptr<CaptureBackend> backend = std::move(m_givenBackend);
    // A given backend of a kind Lookpane knows names the screens its own way too.
    m_portalBackend = dynamic_cast<portal::PortalCaptureBackend *>(backend.get());
    if (!backend && m_captureKind == CaptureKind::portal) {
        // The desktop's dialog asks once: the token it gives lets later sessions through.
        portal::PortalCaptureBackend::Options options;
        options.restoreTokens.load = [this] {
            return m_preferences.stringValue(QString::fromLatin1(restoreTokenKey))
                .value_or(QString());
        };
        options.restoreTokens.save = [this](const QString &token) {
            m_preferences.setValue(QString::fromLatin1(restoreTokenKey), token);
        };
        auto portalBackend = std::make_unique<portal::PortalCaptureBackend>(std::move(options));
        m_portalBackend = portalBackend.get();
        backend = std::move(portalBackend);
    }
    if (!backend) {
        auto x11Backend = std::make_unique<x11::X11CaptureBackend>();
        m_backend = x11Backend.get();
        backend = std::move(x11Backend);
    }
    m_captureEngine = std::make_unique<ScreenCaptureEngine>(std::move(backend));

    // Meeting applications that share the share window read its true contents even where the
    // frame window covers it, as long as the window stays redirected.
    m_shareWindowRedirection = std::make_unique<x11::X11WindowRedirection>(
        x11::windowId(m_windowController->shareWindow()));

    // The guide, then the settings window; both are kept for the whole run, closing them only
    // hides them.
    m_guideWindow = std::make_unique<GuideWindowController>(m_preferences, /*trayAvailable=*/false);
    m_settingsWindow = std::make_unique<SettingsWindowController>(m_preferences);

    // 3. What is changed in the settings window takes effect at once.
    installSettingsHandlers();

    // 4. The global shortcuts do what the menu's items do.
    installHotKeyHandlers();

    // 5. Frames and states from the engine.
    connect(m_captureEngine.get(), &ScreenCaptureEngine::frameCaptured, m_windowController.get(),
            &LookpaneWindowController::showCapturedFrame);
    connect(m_captureEngine.get(), &ScreenCaptureEngine::stateChanged, this,
            &AppDelegate::handleCaptureStateChange);

    // 6. The frame's changes drive the capture and the menu.
    LookpaneWindowController *controller = m_windowController.get();
    connect(controller, &LookpaneWindowController::frameChanged, this,
            [this](const ScreenRect &rect, QScreen *screen) {
                m_captureEngine->updateRegion(rect, captureDisplay(screen));
            });
    connect(controller, &LookpaneWindowController::visibilityChanged, this, [this](bool visible) {
        if (visible) {
            startCapture();
        } else {
            m_captureEngine->stop();
        }
        updateMenu();
    });
    connect(controller, &LookpaneWindowController::clickThroughChanged, this,
            &AppDelegate::updateMenu);
    connect(controller, &LookpaneWindowController::modeChanged, this, &AppDelegate::updateMenu);
    connect(controller, &LookpaneWindowController::drawingModeChanged, this,
            &AppDelegate::updateMenu);
    // The clear item shows only while there are marks, however they came or went.
    connect(&controller->annotations(), &AnnotationStore::changed, this, &AppDelegate::updateMenu);

    // 7. The stored shortcuts' defaults, so that the tool keys and the menu's suffixes work.
    // The toolbar was filled before they existed: its tool tooltips learn their keys now.
    ShortcutPreferences(m_preferences).registerDefaults();
    ToolShortcutPreferences(m_preferences).registerDefaults();
    controller->updateToolbar();

    // 8. The stored global shortcuts. One that another application holds stays unbound; the
    // settings window shows the conflict (hotKeyConflict, hotKeyRegistrationFailed).
    registerStoredGlobalShortcuts();

    // 9. and 10. The tray icon with the status menu, and the toolbar's framing menu.
    configureStatusItem();
    installApplicationShortcuts();

    // 11. Showing the frame reports it visible, which starts the capture.
    controller->show();

    // 12. The guide on the first launches, until the user unticks it.
    if (m_preferences.boolValue(QStringLiteral("ShowGuideOnLaunch"))) {
        m_guideWindow->show();
    }
}

void AppDelegate::installSettingsHandlers()
{
    SettingsWindowController *settings = m_settingsWindow.get();
    // A recorder must get the combination that is bound already; the shortcuts come back
    // before a newly recorded one is registered.
    connect(settings, &SettingsWindowController::recordingChanged, m_hotKeys.get(),
            &GlobalHotKeyCenter::setSuspended);
    connect(settings, &SettingsWindowController::shortcutChanged, this,
            [this](ShortcutAction action, std::optional<KeyCombo> combo) {
                registerGlobalShortcut(combo, action);
            });
    // Every refusal shows in the window, also those at launch, while it is closed: the user
    // sees it the next time it opens.
    connect(this, &AppDelegate::hotKeyRegistrationFailed, settings,
            &SettingsWindowController::showConflict);
    connect(settings, &SettingsWindowController::blurStrengthChanged, this,
            [this](BlurStrength strength) {
                FramePreferences(m_preferences, currentScreenLayout).setBlurStrength(strength);
                m_windowController->setBlurStrength(strength);
            });
    connect(settings, &SettingsWindowController::toolShortcutsChanged, m_windowController.get(),
            &LookpaneWindowController::updateToolbar);
}

void AppDelegate::installHotKeyHandlers()
{
    m_hotKeys->setHandler(hotKeyIdentifier(ShortcutAction::privacyBlur),
                          [this] { togglePrivacyBlur(); });
    m_hotKeys->setHandler(hotKeyIdentifier(ShortcutAction::drawingMode),
                          [this] { toggleDrawingMode(); });
    m_hotKeys->setHandler(hotKeyIdentifier(ShortcutAction::clearAnnotations),
                          [this] { clearAnnotations(); });
}

void AppDelegate::registerStoredGlobalShortcuts()
{
    // A corrupt stored key code or modifier word ends the program here, with a message.
    const ShortcutPreferences shortcuts(m_preferences);
    for (const ShortcutAction action : allCases<ShortcutAction>()) {
        registerGlobalShortcut(shortcuts.combo(action), action);
    }
}

bool AppDelegate::registerGlobalShortcut(std::optional<KeyCombo> combo, ShortcutAction action)
{
    const bool registered = m_hotKeys->registerCombo(combo, action);
    if (registered) {
        m_hotKeyConflicts.erase(action);
    }
    updateMenu();
    return registered;
}

std::unique_ptr<FramingMenu> AppDelegate::makeFramingMenu()
{
    auto menu = std::make_unique<FramingMenu>(*m_fitWindowList);
    FramingMenu *framing = menu.get();
    connect(framing, &FramingMenu::aboutToShow, this,
            [this, framing] { framing->showRatio(m_windowController->ratio()); });
    connect(framing, &FramingMenu::ratioChosen, this, &AppDelegate::selectRatio);
    connect(framing, &FramingMenu::sizePresetChosen, this, &AppDelegate::selectSizePreset);
    return menu;
}

void AppDelegate::configureStatusItem()
{
    m_fitWindowList = std::make_unique<FitWindowList>(
        [this](std::function<void(std::vector<ShareableWindow>)> done) {
            m_captureEngine->shareableWindows(std::move(done));
        });
    connect(m_fitWindowList.get(), &FitWindowList::windowChosen, this, &AppDelegate::fitToWindow);
    m_trayFramingMenu = makeFramingMenu();
    m_toolbarFramingMenu = makeFramingMenu();

    m_statusMenu = std::make_unique<StatusMenu>(m_trayFramingMenu->menu());
    StatusMenu *menu = m_statusMenu.get();
    connect(menu, &StatusMenu::toggleCapture, this, &AppDelegate::toggleCapture);
    connect(menu, &StatusMenu::toggleFrameVisibility, this, &AppDelegate::toggleFrameVisibility);
    connect(menu, &StatusMenu::enterMoveMode, this, &AppDelegate::enterMoveMode);
    connect(menu, &StatusMenu::toggleMode, this, &AppDelegate::toggleMode);
    connect(menu, &StatusMenu::toggleDrawingMode, this, &AppDelegate::toggleDrawingMode);
    connect(menu, &StatusMenu::clearAnnotations, this, &AppDelegate::clearAnnotations);
    connect(menu, &StatusMenu::togglePrivacyBlur, this, &AppDelegate::togglePrivacyBlur);
    connect(menu, &StatusMenu::toggleAlwaysOnTop, this, &AppDelegate::toggleAlwaysOnTop);
    connect(menu, &StatusMenu::toggleClickThrough, this, &AppDelegate::toggleClickThrough);
    connect(menu, &StatusMenu::openSettings, this, &AppDelegate::openSettings);
    connect(menu, &StatusMenu::openGuide, this, &AppDelegate::openGuide);
    connect(menu, &StatusMenu::showAbout, this, &AppDelegate::showAbout);
    // Queued: the menu closes first.
    connect(menu, &StatusMenu::quit, this, &quitLookpane, Qt::QueuedConnection);
    // Marks drawn or taken away since the last change are counted when the menu opens.
    connect(menu->menu(), &QMenu::aboutToShow, this, &AppDelegate::updateMenu);

    m_statusItem = std::make_unique<StatusItem>(QApplication::windowIcon(), menu->menu());

    FrameToolbarWindowController *toolbar = m_windowController->toolbar();
    toolbar->framingMenu = m_toolbarFramingMenu->menu();
    toolbar->contextMenu = menu->menu();
    // The hide button mentions the tray only while the icon shows in one; a panel may start,
    // quit or restart at any time.
    toolbar->setTrayAvailable(m_statusItem->isTrayAvailable());
    connect(m_statusItem.get(), &StatusItem::availabilityChanged, toolbar,
            &FrameToolbarWindowController::setTrayAvailable);
    // The guide tells where the menu opens in the same way.
    m_guideWindow->setTrayAvailable(m_statusItem->isTrayAvailable());
    connect(m_statusItem.get(), &StatusItem::availabilityChanged, m_guideWindow.get(),
            &GuideWindowController::setTrayAvailable);

    m_permissionAlert = std::make_unique<PermissionAlert>();
    connect(m_permissionAlert.get(), &PermissionAlert::tryAgain, this, &AppDelegate::startCapture);
    connect(m_permissionAlert.get(), &PermissionAlert::quit, this, &quitLookpane,
            Qt::QueuedConnection);
    updateMenu();
}

void AppDelegate::installApplicationShortcuts()
{
    // Linux windows have no menu bar: the menu's Ctrl+, Ctrl+? and Ctrl+Q work in every
    // Lookpane window instead.
    const QList<QWidget *> windows = {m_windowController->frameWindow(),
                                      m_windowController->shareWindow(),
                                      m_windowController->toolbar()->window(),
                                      m_settingsWindow->window(), m_guideWindow->window()};
    for (QWidget *window : windows) {
        window->addActions({m_statusMenu->settingsAction(), m_statusMenu->guideAction(),
                            m_statusMenu->quitAction()});
    }
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
    window.windowNumber = x11::windowId(m_windowController->frameWindow());
    window.contentRect = m_windowController->contentRect();
    window.screen = captureDisplay(m_windowController->screen());
    m_captureEngine->start(window);
    updateMenu();
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
        showPermissionAlert();
        break;
    case ScreenCaptureState::Kind::failed:
        setCaptureMessage(state.message());
        break;
    }
    updateMenu();
}

void AppDelegate::showPermissionAlert()
{
    if (m_permissionAlert) {
        m_permissionAlert->show();
    }
}

void AppDelegate::updateMenu()
{
    if (!m_statusMenu) {
        return;
    }
    const LookpaneWindowController &controller = *m_windowController;
    const AnnotationStore &marks = m_windowController->annotations();
    const ShortcutPreferences shortcuts(m_preferences);
    StatusMenuState state;
    state.captureState = m_captureEngine->state().kind();
    state.captureRunning = m_captureEngine->isRunning();
    state.frameVisible = controller.isFrameVisible();
    state.mode = controller.mode();
    state.privacyBlur = controller.isPrivacyBlurActive();
    state.drawing = controller.isDrawing();
    state.clickThrough = controller.clickThrough();
    state.alwaysOnTop = controller.alwaysOnTop();
    state.hasMarks = !marks.annotations().empty() || marks.draft().has_value();
    state.blurShortcut = shortcuts.combo(ShortcutAction::privacyBlur);
    state.drawingShortcut = shortcuts.combo(ShortcutAction::drawingMode);
    state.clearShortcut = shortcuts.combo(ShortcutAction::clearAnnotations);
    m_statusMenu->update(state);
}

// --- menu actions ---------------------------------------------------------------------------

void AppDelegate::toggleCapture()
{
    if (m_captureEngine->isRunning()) {
        m_captureEngine->stop();
    } else {
        startCapture();
    }
}

void AppDelegate::toggleFrameVisibility()
{
    if (m_windowController->isFrameVisible()) {
        m_windowController->hide();
    } else {
        m_windowController->show();
    }
    updateMenu();
}

void AppDelegate::enterMoveMode()
{
    m_windowController->beginMoveMode();
    updateMenu();
}

void AppDelegate::toggleMode()
{
    m_windowController->setMode(toggled(m_windowController->mode()));
    updateMenu();
}

void AppDelegate::toggleClickThrough()
{
    m_windowController->toggleClickThrough();
    updateMenu();
}

void AppDelegate::togglePrivacyBlur()
{
    m_windowController->setPrivacyBlur(!m_windowController->isPrivacyBlurActive());
    updateMenu();
}

void AppDelegate::toggleDrawingMode()
{
    m_windowController->setDrawingMode(!m_windowController->isDrawing());
    updateMenu();
}

void AppDelegate::toggleAlwaysOnTop()
{
    m_windowController->setAlwaysOnTop(!m_windowController->alwaysOnTop());
    updateMenu();
}

void AppDelegate::clearAnnotations()
{
    m_windowController->clearAnnotations();
    updateMenu();
}

void AppDelegate::openSettings()
{
    if (m_settingsWindow) {
        m_settingsWindow->show();
    }
}

void AppDelegate::openGuide()
{
    if (m_guideWindow) {
        m_guideWindow->show();
    }
}

void AppDelegate::showAbout()
{
    // One box, made once and shown again, as a dialog: window pickers of meeting applications
    // offer normal windows, and the share window is to be the only one of Lookpane's there.
    if (!m_aboutBox) {
        m_aboutBox = std::make_unique<QMessageBox>(
            QMessageBox::NoIcon, QStringLiteral("About Lookpane"),
            QStringLiteral("<b>Lookpane %1</b><p>Mirrors a part of your screen into a window of "
                           "its own, for sharing in video meetings.</p>")
                .arg(QCoreApplication::applicationVersion().toHtmlEscaped()),
            QMessageBox::Ok);
        const QIcon icon = QApplication::windowIcon();
        if (!icon.isNull()) {
            m_aboutBox->setIconPixmap(icon.pixmap(64, 64));
        }
        // Above the box and the share window, which stay on top: below them it would open
        // out of sight.
        m_aboutBox->setWindowFlag(Qt::WindowStaysOnTopHint, true);
        X11WindowTraits::setWindowType(m_aboutBox.get(), X11WindowTraits::WindowType::dialog);
    }
    m_aboutBox->show();
    m_aboutBox->raise();
    m_aboutBox->activateWindow();
}

void AppDelegate::selectRatio(FrameRatio ratio)
{
    m_windowController->setRatio(ratio);
    updateMenu();
}

void AppDelegate::selectSizePreset(int index)
{
    const auto presets = FrameSizePreset::all();
    if (index < 0 || index >= static_cast<int>(presets.size())) {
        return;
    }
    m_windowController->applySizePreset(presets[static_cast<std::size_t>(index)]);
    updateMenu();
}

void AppDelegate::fitToWindow(const ShareableWindow &window)
{
    m_windowController->snapTo(window.frame);
    updateMenu();
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
    const auto idOf = [this](QScreen *of) -> std::optional<std::uint32_t> {
        if (!of) {
            return std::nullopt;
        }
        if (m_portalBackend) {
            return m_portalBackend->displayIDForScreen(*of);
        }
        return m_backend ? m_backend->displayIDForScreen(*of) : std::nullopt;
    };
    const std::optional<std::uint32_t> mainID = idOf(primary);
    const std::optional<std::uint32_t> screenID = idOf(screen);
    CaptureDisplay display;
    display.id = displayIDForScreen(screenID, mainID.value_or(0));
    display.frame = screenRectFromQt(QRectF(screen->geometry()), primaryScreenGeometry());
    display.backingScaleFactor = screen->devicePixelRatio();
    return display;
}

} // namespace lookpane
