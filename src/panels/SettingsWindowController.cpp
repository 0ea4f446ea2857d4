#include "panels/SettingsWindowController.h"

#include "model/FramePreferences.h"
#include "model/Preferences.h"
#include "panels/PanelsLog.h"
#include "panels/SettingsContent.h"
#include "panels/ShortcutRecorderView.h"
#include "platform/x11/X11DesktopHints.h"
#include "platform/x11/X11WindowTraits.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/ToolShortcutPreferences.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QScreen>
#include <QWidget>

#include <algorithm>
#include <vector>

namespace lookpane {

namespace {

const QString showGuideKey = QStringLiteral("ShowGuideOnLaunch");

} // namespace

SettingsWindowController::SettingsWindowController(Preferences &preferences, QObject *parent)
    : QObject(parent), m_preferences(preferences),
      m_window(std::make_unique<QWidget>(
          nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                       Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint))
{
    m_window->setWindowTitle(QStringLiteral("Lookpane Settings"));
    m_window->setFixedSize(windowWidth, windowHeight);
    // Closing only hides the window, and never ends the application.
    m_window->setAttribute(Qt::WA_QuitOnClose, false);
    build();
    X11WindowTraits::setWindowRole(m_window.get(), "settings");
    // Not a normal window, so that meeting applications' window pickers leave it out.
    X11WindowTraits::setWindowType(m_window.get(), X11WindowTraits::WindowType::dialog);
    m_window->installEventFilter(this);
}

SettingsWindowController::~SettingsWindowController()
{
    m_window->removeEventFilter(this);
}

void SettingsWindowController::build()
{
    SettingsControls controls = buildSettingsContent(m_window.get());
    m_recorders = std::move(controls.recorders);
    m_toolRecorders = std::move(controls.toolRecorders);
    m_strengthPopUp = controls.strengthPopUp;
    m_guideCheckbox = controls.guideCheckbox;
    m_conflictLabel = controls.conflictLabel;

    for (const auto &[action, recorder] : m_recorders) {
        connect(recorder, &ShortcutRecorderView::comboChanged, this,
                [this, action = action](std::optional<KeyCombo> combo) {
                    globalComboChanged(action, combo);
                });
    }
    for (const auto &[tool, recorder] : m_toolRecorders) {
        connect(
            recorder, &ShortcutRecorderView::comboChanged, this,
            [this, tool = tool](std::optional<KeyCombo> combo) { toolComboChanged(tool, combo); });
    }
    for (ShortcutRecorderView *recorder : m_window->findChildren<ShortcutRecorderView *>()) {
        connect(
            recorder, &ShortcutRecorderView::recordingChanged, this,
            [this, recorder](bool recording) { recorderRecordingChanged(recorder, recording); });
    }
    // `activated`, not a change of index: choosing the strength already chosen reports too.
    connect(m_strengthPopUp, &QComboBox::activated, this, [this](int index) {
        Q_EMIT blurStrengthChanged(index == 0 ? BlurStrength::light : BlurStrength::strong);
    });
    connect(m_guideCheckbox, &QCheckBox::clicked, this,
            [this](bool checked) { m_preferences.setValue(showGuideKey, checked); });
}

ShortcutRecorderView *SettingsWindowController::recorder(ShortcutAction action) const
{
    return m_recorders.at(action);
}

ShortcutRecorderView *SettingsWindowController::toolRecorder(AnnotationTool tool) const
{
    return m_toolRecorders.at(tool);
}

void SettingsWindowController::show()
{
    const ShortcutPreferences shortcuts(m_preferences);
    for (const auto &[action, recorder] : m_recorders) {
        recorder->setCombo(shortcuts.combo(action));
    }
    refreshToolRecorders();
    const BlurStrength strength =
        FramePreferences(m_preferences, currentScreenLayout).blurStrength();
    m_strengthPopUp->setCurrentIndex(static_cast<int>(caseIndex(strength)));
    m_guideCheckbox->setChecked(m_preferences.boolValue(showGuideKey));
    if (m_conflictUnseen) {
        m_conflictUnseen = false;
    } else {
        hideConflict();
    }
    fitHeight();

    if (const QScreen *primary = QGuiApplication::primaryScreen()) {
        // The window manager's frame is centred. Its size is known once the window has been
        // framed; the first time the window itself is centred instead.
        QRect placed(QPoint(0, 0), m_window->frameGeometry().size());
        placed.moveCenter(primary->availableGeometry().center());
        m_window->move(placed.topLeft());
    }
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void SettingsWindowController::refreshToolRecorders()
{
    const ToolShortcutPreferences tools(m_preferences);
    for (const auto &[tool, recorder] : m_toolRecorders) {
        recorder->setCombo(tools.combo(tool));
    }
}

void SettingsWindowController::showConflict()
{
    m_conflictLabel->show();
    m_conflictUnseen = !m_windowShown;
    fitHeight();
}

void SettingsWindowController::hideConflict()
{
    m_conflictLabel->hide();
    m_conflictUnseen = false;
    fitHeight();
}

void SettingsWindowController::fitHeight()
{
    // Where the fonts make the content and its margins taller than the window (the conflict
    // message does with common Linux fonts), the window grows rather than squeezing its
    // controls, and shrinks back once the content fits again.
    m_window->ensurePolished();
    const int needed = m_window->layout()->totalHeightForWidth(windowWidth);
    const int height = std::max(windowHeight, needed);
    if (height != m_window->height()) {
        qCDebug(lcPanels) << "settings window content needs" << needed << "pixels of height";
        m_window->setFixedSize(windowWidth, height);
    }
}

bool SettingsWindowController::isConflictShown() const
{
    return m_conflictLabel->isVisibleTo(m_window.get());
}

void SettingsWindowController::globalComboChanged(ShortcutAction action,
                                                  std::optional<KeyCombo> combo)
{
    ShortcutPreferences(m_preferences).setCombo(combo, action);
    // Cleared before the application tries the new binding, so it shows again only if that
    // registration fails.
    hideConflict();
    Q_EMIT shortcutChanged(action, combo);
}

void SettingsWindowController::toolComboChanged(AnnotationTool tool, std::optional<KeyCombo> combo)
{
    ToolShortcutPreferences tools(m_preferences);
    tools.setCombo(combo, tool);
    if (combo) {
        // A key taken from another tool is removed from that tool.
        const std::vector<AnnotationTool> cleared = tools.clearDuplicates(*combo, tool);
        qCDebug(lcPanels) << "tool binding stored;" << cleared.size() << "other tools cleared";
    }
    refreshToolRecorders();
    Q_EMIT toolShortcutsChanged();
}

void SettingsWindowController::recorderRecordingChanged(ShortcutRecorderView *recorder,
                                                        bool recording)
{
    if (recording) {
        // One recorder at a time: the keyboard goes to the one clicked last.
        for (ShortcutRecorderView *other : m_window->findChildren<ShortcutRecorderView *>()) {
            if (other != recorder) {
                other->cancelRecording();
            }
        }
    }
    updateRecording();
}

bool SettingsWindowController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window.get()) {
        if (event->type() == QEvent::Show) {
            x11::showOnAllDesktops(m_window.get());
            windowShownChanged(true);
        } else if (event->type() == QEvent::Hide) {
            windowShownChanged(false);
        }
    }
    return QObject::eventFilter(watched, event);
}

void SettingsWindowController::windowShownChanged(bool shown)
{
    m_windowShown = shown;
    updateRecording();
}

void SettingsWindowController::updateRecording()
{
    bool anyRecording = false;
    for (const auto &[action, view] : m_recorders) {
        anyRecording = anyRecording || view->isRecording();
    }
    for (const auto &[tool, view] : m_toolRecorders) {
        anyRecording = anyRecording || view->isRecording();
    }
    const bool recording = m_windowShown && anyRecording;
    if (recording == m_isRecording) {
        return;
    }
    m_isRecording = recording;
    Q_EMIT recordingChanged(recording);
}

} // namespace lookpane
