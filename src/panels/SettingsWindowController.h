#pragma once

#include "model/AnnotationTool.h"
#include "model/BlurStrength.h"
#include "model/KeyCombo.h"
#include "model/ShortcutAction.h"

#include <QObject>

#include <map>
#include <memory>
#include <optional>

class QCheckBox;
class QComboBox;
class QLabel;
class QWidget;

namespace lookpane {

class Preferences;
class ShortcutRecorderView;

// The settings window: the three global shortcuts, the drawing tools' keys, the privacy blur's
// strength and whether the guide opens at launch. Created once by the application and kept;
// closing the window only hides it, and every edit takes effect at once (no apply step).
// Shortcut bindings are written here, through the shortcut preferences; the blur strength is
// only reported (the application applies and stores it); the guide switch is written here.
// The window floats above normal windows and shows on every virtual desktop.
class SettingsWindowController : public QObject
{
    Q_OBJECT

public:
    static constexpr int windowWidth = 560;
    static constexpr int windowHeight = 500;

    explicit SettingsWindowController(Preferences &preferences, QObject *parent = nullptr);
    ~SettingsWindowController() override;

    // Refreshes every control from the stored settings, hides a conflict message the user has
    // already seen, centres the window on the primary screen and brings it to the front.
    void show();
    // Reloads every tool recorder from the stored tool bindings.
    void refreshToolRecorders();
    // Reveals "That combination is already taken by another app. ...": the application calls
    // it when the desktop refuses a global shortcut, at launch or after shortcutChanged. It
    // stays until the next recorded shortcut, or until the window is opened again after the
    // user has seen it (a conflict found while the window was closed shows at the next
    // opening).
    void showConflict();
    bool isConflictShown() const;

    // Whether a recorder is taking keys: one records and the window is shown.
    bool isRecording() const { return m_isRecording; }

    QWidget *window() const { return m_window.get(); }
    ShortcutRecorderView *recorder(ShortcutAction action) const;
    ShortcutRecorderView *toolRecorder(AnnotationTool tool) const;
    QComboBox *strengthPopUp() const { return m_strengthPopUp; }
    QCheckBox *guideCheckbox() const { return m_guideCheckbox; }
    QLabel *conflictLabel() const { return m_conflictLabel; }

Q_SIGNALS:
    // A global shortcut was stored (none: removed); the application registers it anew and,
    // when that fails, calls showConflict().
    void shortcutChanged(ShortcutAction action, std::optional<KeyCombo> combo);
    // The user chose a strength, also the one already chosen; the application applies and
    // stores it.
    void blurStrengthChanged(BlurStrength strength);
    // A tool binding was stored (other tools' bindings may have been removed with it).
    void toolShortcutsChanged();
    // A recorder started (true) or stopped (false) taking keys. The application suspends its
    // global hot keys meanwhile; false comes before the shortcutChanged of a new binding.
    void recordingChanged(bool recording);

protected:
    // Watches the window's showing and hiding.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void build();
    void hideConflict();
    // Keeps the window 560 wide and at least 500 high, higher where the content needs it.
    void fitHeight();
    void globalComboChanged(ShortcutAction action, std::optional<KeyCombo> combo);
    void toolComboChanged(AnnotationTool tool, std::optional<KeyCombo> combo);
    void recorderRecordingChanged(ShortcutRecorderView *recorder, bool recording);
    void windowShownChanged(bool shown);
    void updateRecording();

    Preferences &m_preferences;
    std::unique_ptr<QWidget> m_window;
    std::map<ShortcutAction, ShortcutRecorderView *> m_recorders;
    std::map<AnnotationTool, ShortcutRecorderView *> m_toolRecorders;
    QComboBox *m_strengthPopUp = nullptr;
    QCheckBox *m_guideCheckbox = nullptr;
    QLabel *m_conflictLabel = nullptr;
    bool m_windowShown = false;
    bool m_isRecording = false;
    // A conflict revealed while the window was hidden, not yet seen by the user.
    bool m_conflictUnseen = false;
};

} // namespace lookpane
