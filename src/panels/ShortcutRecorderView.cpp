#include "panels/ShortcutRecorderView.h"

#include "panels/PanelsLog.h"
#include "panels/ShortcutRecording.h"
#include "platform/x11/ApplicationConnection.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/KeyEventFlags.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>

namespace lookpane {

namespace {

constexpr int grabRetryIntervalMs = 25;
// About two seconds: long enough for a window manager to map the window.
constexpr int grabAttemptLimit = 80;

bool isModifierKey(int key)
{
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
    case Qt::Key_Mode_switch:
        return true;
    default:
        return false;
    }
}

} // namespace

ShortcutRecorderView::ShortcutRecorderView(bool allowsBareKeys, QWidget *parent)
    : QPushButton(parent), m_allowsBareKeys(allowsBareKeys)
{
    setMinimumWidth(allowsBareKeys ? bareKeyMinimumWidth : comboMinimumWidth);
    setAutoDefault(false);
    m_grabRetry.setSingleShot(true);
    m_grabRetry.setInterval(grabRetryIntervalMs);
    connect(&m_grabRetry, &QTimer::timeout, this, &ShortcutRecorderView::takeKeyboard);
    connect(this, &QPushButton::clicked, this, &ShortcutRecorderView::beginRecording);
    updateTitle();
}

ShortcutRecorderView::~ShortcutRecorderView()
{
    releaseKeyboardGrab();
}

QString ShortcutRecorderView::recordingTitle()
{
    return QStringLiteral("Press keys…");
}

QString ShortcutRecorderView::unsetTitle()
{
    return QStringLiteral("Click to set");
}

void ShortcutRecorderView::setCombo(std::optional<KeyCombo> combo)
{
    m_combo = combo;
    updateTitle();
}

void ShortcutRecorderView::beginRecording()
{
    const bool began = !m_isRecording;
    m_isRecording = true;
    updateTitle();
    // Taken afresh even when already recording: another widget may have taken it meanwhile.
    m_grabAttempts = 0;
    takeKeyboard();
    if (began) {
        qCDebug(lcPanels) << "recording a shortcut; bare keys allowed:" << m_allowsBareKeys;
        Q_EMIT recordingChanged(true);
    }
}

void ShortcutRecorderView::cancelRecording()
{
    if (m_isRecording) {
        endRecording();
    }
}

void ShortcutRecorderView::endRecording()
{
    m_isRecording = false;
    updateTitle();
    releaseKeyboardGrab();
    Q_EMIT recordingChanged(false);
}

void ShortcutRecorderView::updateTitle()
{
    if (m_isRecording) {
        setText(recordingTitle());
    } else if (m_combo) {
        setText(displayString(*m_combo));
    } else {
        setText(unsetTitle());
    }
}

bool ShortcutRecorderView::event(QEvent *event)
{
    if (!m_isRecording) {
        return QPushButton::event(event);
    }
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Claiming the key keeps the application's shortcuts (Ctrl+, and the like) from
        // firing; the key then arrives here as a key press.
        event->accept();
        return true;
    case QEvent::KeyPress:
        // Before QWidget's own handling, which would move the focus on Tab.
        handleKeyPress(*static_cast<QKeyEvent *>(event));
        return true;
    case QEvent::KeyRelease:
        return true;
    default:
        return QPushButton::event(event);
    }
}

void ShortcutRecorderView::handleKeyPress(const QKeyEvent &event)
{
    if (isModifierKey(event.key())) {
        return;
    }
    const std::optional<KeyPress> press =
        keyPressFromX11(event.nativeScanCode(), event.nativeModifiers());
    if (!press) {
        // A key with no stored position (the keypad, media keys, ...) cannot be bound.
        qCDebug(lcPanels) << "refused a key without a stored code, X keycode"
                          << event.nativeScanCode();
        QApplication::beep();
        return;
    }
    const RecordingStep step = recordingStep(*press, m_allowsBareKeys);
    switch (step.kind) {
    case RecordingStep::Kind::cancel:
        endRecording();
        return;
    case RecordingStep::Kind::clear:
        m_combo.reset();
        endRecording();
        Q_EMIT comboChanged(std::nullopt);
        return;
    case RecordingStep::Kind::refuse:
        qCDebug(lcPanels) << "refused key code" << press->keyCode << "with modifiers" << Qt::hex
                          << press->modifiers;
        QApplication::beep();
        return;
    case RecordingStep::Kind::accept:
        m_combo = step.combo;
        endRecording();
        Q_EMIT comboChanged(step.combo);
        return;
    }
}

void ShortcutRecorderView::showEvent(QShowEvent *event)
{
    QPushButton::showEvent(event);
    if (m_isRecording) {
        m_grabAttempts = 0;
        takeKeyboard();
    }
}

void ShortcutRecorderView::hideEvent(QHideEvent *event)
{
    // An unmapped window loses its grab anyway; the recording itself goes on and takes the
    // keyboard again when the window is shown.
    releaseKeyboardGrab();
    QPushButton::hideEvent(event);
}

void ShortcutRecorderView::takeKeyboard()
{
    if (!m_isRecording || !isVisible()) {
        return;
    }
    // Qt routes the application's key events to this widget; the X grab makes the server send
    // every key here, whatever window has the focus and whatever passive grabs exist.
    grabKeyboard();
    QWindow *handle = window()->windowHandle();
    m_holdsKeyboard =
        handle != nullptr && handle->isExposed() && handle->setKeyboardGrabEnabled(true);
    if (m_holdsKeyboard) {
        m_grabRetry.stop();
        return;
    }
    if (++m_grabAttempts < grabAttemptLimit) {
        m_grabRetry.start();
    } else {
        qCWarning(lcPanels) << "could not take the keyboard for recording a shortcut; keys that"
                               " another program holds as hot keys will not reach the recorder";
    }
}

void ShortcutRecorderView::releaseKeyboardGrab()
{
    m_grabRetry.stop();
    m_holdsKeyboard = false;
    // Only the widget that holds the grab gives it back, so a recorder that ends after
    // another one took the keyboard does not take it from that one.
    if (QWidget::keyboardGrabber() == this) {
        releaseKeyboard();
        // Qt leaves the ungrab in its output buffer until its event loop next waits; the
        // keyboard is free from this moment on, not from then.
        if (xcb_connection_t *connection = x11::applicationConnection()) {
            xcb_flush(connection);
        }
    }
}

} // namespace lookpane
