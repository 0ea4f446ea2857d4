#pragma once

#include "model/KeyCombo.h"

#include <QPushButton>
#include <QTimer>

#include <optional>

namespace lookpane {

// The button with which the user records a key combination. A click starts recording (title
// "Press keys…"); the next key press with a key of its own ends it: Esc cancels, Backspace
// with none of Shift, Ctrl, Alt, Super removes the binding, and any other key is taken as the
// combination or refused with a beep (see recordingStep). Presses of modifier keys alone are
// swallowed. While it records and its window is shown, the recorder holds the keyboard, so
// it gets every key: the application's own shortcuts (Ctrl+,) and the desktop's or other
// programs' hot keys do not fire meanwhile. Keys are read by position (the X keycode) with
// their X modifier state, so a binding does not depend on the keyboard layout.
class ShortcutRecorderView : public QPushButton
{
    Q_OBJECT

public:
    static constexpr int bareKeyMinimumWidth = 58;
    static constexpr int comboMinimumWidth = 130;

    // `allowsBareKeys`: true for the drawing tools' single keys, false for the global
    // shortcuts, which need Ctrl, Alt or Super.
    explicit ShortcutRecorderView(bool allowsBareKeys, QWidget *parent = nullptr);
    ~ShortcutRecorderView() override;

    bool allowsBareKeys() const { return m_allowsBareKeys; }
    bool isRecording() const { return m_isRecording; }
    std::optional<KeyCombo> combo() const { return m_combo; }
    // Sets the combination shown, as the owner reads it from the settings; reports nothing.
    // While recording, the title stays "Press keys…".
    void setCombo(std::optional<KeyCombo> combo);

    // Starts recording (again): the keyboard is taken for the next key press.
    void beginRecording();
    // Ends recording without changing the combination, as Esc does.
    void cancelRecording();

    // Whether the recorder holds the keyboard of the X server now.
    bool holdsKeyboard() const { return m_holdsKeyboard; }

    static QString recordingTitle();
    static QString unsetTitle();

Q_SIGNALS:
    // Recording began (true) or ended (false). At an accept or a clear this comes first, so
    // that hot keys suspended during recording are resumed before the new combination is
    // registered.
    void recordingChanged(bool recording);
    // The user recorded a combination, or removed it (none). Not emitted on cancel, nor for
    // setCombo.
    void comboChanged(std::optional<KeyCombo> combo);

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void handleKeyPress(const QKeyEvent &event);
    // Recording ends: the title, the keyboard given back, then recordingChanged(false).
    void endRecording();
    void updateTitle();
    void takeKeyboard();
    void releaseKeyboardGrab();

    const bool m_allowsBareKeys;
    std::optional<KeyCombo> m_combo;
    bool m_isRecording = false;
    bool m_holdsKeyboard = false;
    // A window that is not mapped yet cannot take the keyboard; the recorder tries again.
    QTimer m_grabRetry;
    int m_grabAttempts = 0;
};

} // namespace lookpane
