#pragma once

#include "capture/ScreenCaptureState.h"
#include "model/KeyCombo.h"
#include "model/ShareMode.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class QAction;
class QMenu;

namespace lookpane {

// What the status menu shows, gathered by its owner from the application's state.
struct StatusMenuState
{
    ScreenCaptureState::Kind captureState = ScreenCaptureState::Kind::idle;
    bool captureRunning = false; // the engine has a stream (stop is what the capture item does)
    bool frameVisible = false;
    ShareMode mode = ShareMode::overlay;
    bool privacyBlur = false;
    bool drawing = false;
    bool clickThrough = false;
    bool alwaysOnTop = false;
    bool hasMarks = false; // at least one committed mark or a draft
    std::optional<KeyCombo> blurShortcut;
    std::optional<KeyCombo> drawingShortcut;
    std::optional<KeyCombo> clearShortcut;
};

// "  (Ctrl+Alt+Super+B)" for a bound combination, nothing for none: what follows the title
// of a menu item whose action also has a global shortcut.
QString shortcutSuffix(const std::optional<KeyCombo> &combo);

// The tray icon's menu, the program's main control surface. It holds no state of its own:
// every item reports its signal, and the owner pushes the state back with update(). The
// enabled states that update() sets are the ones shown (Linux menus do not enable items by
// themselves).
class StatusMenu : public QObject
{
    Q_OBJECT
public:
    // `framingMenu` (titled "Size && ratio") becomes a submenu; it stays its caller's.
    explicit StatusMenu(QMenu *framingMenu, QObject *parent = nullptr);
    ~StatusMenu() override;

    StatusMenu(const StatusMenu &) = delete;
    StatusMenu &operator=(const StatusMenu &) = delete;

    QMenu *menu() const { return m_menu.get(); }

    // Titles, enabled states and the clear item's visibility for `state`.
    void update(const StatusMenuState &state);

    // The items, for the owner's shortcuts and for inspection.
    QAction *statusAction() const { return m_status; }
    QAction *captureAction() const { return m_capture; }
    QAction *visibilityAction() const { return m_visibility; }
    QAction *moveAction() const { return m_move; }
    QAction *modeAction() const { return m_mode; }
    QAction *framingAction() const { return m_framing; }
    QAction *drawingAction() const { return m_drawing; }
    QAction *clearMarksAction() const { return m_clearMarks; }
    QAction *blurAction() const { return m_blur; }
    QAction *alwaysOnTopAction() const { return m_alwaysOnTop; }
    QAction *clickThroughAction() const { return m_clickThrough; }
    QAction *settingsAction() const { return m_settings; }
    QAction *guideAction() const { return m_guide; }
    QAction *aboutAction() const { return m_about; }
    QAction *quitAction() const { return m_quit; }

Q_SIGNALS:
    void toggleCapture();
    void toggleFrameVisibility();
    void enterMoveMode();
    void toggleMode();
    void toggleDrawingMode();
    void clearAnnotations();
    void togglePrivacyBlur();
    void toggleAlwaysOnTop();
    void toggleClickThrough();
    void openSettings();
    void openGuide();
    void showAbout();
    void quit();

private:
    QAction *addItem(const QString &title, void (StatusMenu::*signal)());

    std::unique_ptr<QMenu> m_menu;
    QAction *m_status = nullptr;
    QAction *m_capture = nullptr;
    QAction *m_visibility = nullptr;
    QAction *m_move = nullptr;
    QAction *m_mode = nullptr;
    QAction *m_framing = nullptr;
    QAction *m_drawing = nullptr;
    QAction *m_clearMarks = nullptr;
    QAction *m_blur = nullptr;
    QAction *m_alwaysOnTop = nullptr;
    QAction *m_clickThrough = nullptr;
    QAction *m_settings = nullptr;
    QAction *m_guide = nullptr;
    QAction *m_about = nullptr;
    QAction *m_quit = nullptr;
};

} // namespace lookpane
