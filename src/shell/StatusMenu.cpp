#include "shell/StatusMenu.h"

#include "shortcuts/KeyComboText.h"

#include <QAction>
#include <QMenu>

namespace lookpane {

namespace {

QString onOff(const char *title, bool on)
{
    return QString::fromUtf8(title) + (on ? QStringLiteral(": On") : QStringLiteral(": Off"));
}

QString statusLine(ScreenCaptureState::Kind state)
{
    switch (state) {
    case ScreenCaptureState::Kind::idle:
        return QStringLiteral("Capture stopped");
    case ScreenCaptureState::Kind::starting:
        return QStringLiteral("Starting capture…");
    case ScreenCaptureState::Kind::running:
        return QStringLiteral("Capture running");
    case ScreenCaptureState::Kind::permissionRequired:
        return QStringLiteral("Screen Recording permission required");
    case ScreenCaptureState::Kind::failed:
        return QStringLiteral("Capture failed");
    }
    return {};
}

} // namespace

QString shortcutSuffix(const std::optional<KeyCombo> &combo)
{
    if (!combo) {
        return {};
    }
    return QStringLiteral("  (") + displayString(*combo) + QLatin1Char(')');
}

StatusMenu::StatusMenu(QMenu *framingMenu, QObject *parent)
    : QObject(parent), m_menu(std::make_unique<QMenu>())
{
    // The initial titles; the owner's first update() replaces them at once.
    m_status = m_menu->addAction(QStringLiteral("Starting…"));
    m_status->setEnabled(false);
    m_menu->addSeparator();
    m_capture = addItem(QStringLiteral("Stop capture"), &StatusMenu::toggleCapture);
    m_visibility =
        addItem(QStringLiteral("Hide Lookpane window"), &StatusMenu::toggleFrameVisibility);
    m_move = addItem(QStringLiteral("Move or resize Lookpane window"), &StatusMenu::enterMoveMode);
    m_mode = addItem(QStringLiteral("Detached preview: Off"), &StatusMenu::toggleMode);
    m_framing = m_menu->addMenu(framingMenu);
    m_drawing = addItem(QStringLiteral("Drawing mode: Off"), &StatusMenu::toggleDrawingMode);
    m_clearMarks = addItem(QStringLiteral("Remove all marks"), &StatusMenu::clearAnnotations);
    m_blur = addItem(QStringLiteral("Blur for viewers: Off"), &StatusMenu::togglePrivacyBlur);
    m_alwaysOnTop = addItem(QStringLiteral("Always on top: Off"), &StatusMenu::toggleAlwaysOnTop);
    m_clickThrough = addItem(QStringLiteral("Click-through: On"), &StatusMenu::toggleClickThrough);
    m_menu->addSeparator();
    // Linux windows have no menu bar to hold these keys: they work in every Lookpane window
    // that the owner adds the actions to.
    m_settings = addItem(QStringLiteral("Settings…"), &StatusMenu::openSettings);
    m_settings->setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
    m_guide = addItem(QStringLiteral("How to Use Lookpane…"), &StatusMenu::openGuide);
    m_guide->setShortcut(QKeySequence(QStringLiteral("Ctrl+?")));
    m_about = addItem(QStringLiteral("About Lookpane"), &StatusMenu::showAbout);
    m_menu->addSeparator();
    m_quit = addItem(QStringLiteral("Quit Lookpane"), &StatusMenu::quit);
    m_quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    for (QAction *action : {m_settings, m_guide, m_quit}) {
        action->setShortcutContext(Qt::ApplicationShortcut);
    }
}

StatusMenu::~StatusMenu() = default;

QAction *StatusMenu::addItem(const QString &title, void (StatusMenu::*signal)())
{
    QAction *action = m_menu->addAction(title);
    connect(action, &QAction::triggered, this, signal);
    return action;
}

void StatusMenu::update(const StatusMenuState &state)
{
    const bool visible = state.frameVisible;
    const bool detached = state.mode == ShareMode::detached;
    m_status->setText(statusLine(state.captureState));
    m_capture->setText(state.captureRunning ? QStringLiteral("Stop capture")
                                            : QStringLiteral("Start capture"));
    m_visibility->setText(visible ? QStringLiteral("Hide Lookpane window")
                                  : QStringLiteral("Show Lookpane window"));
    m_move->setText(detached ? QStringLiteral("Move or resize selection")
                             : QStringLiteral("Move or resize Lookpane window"));
    m_mode->setText(onOff("Detached preview", detached));
    m_blur->setText(onOff("Blur for viewers", state.privacyBlur) +
                    shortcutSuffix(state.blurShortcut));
    m_clickThrough->setText(onOff("Click-through", state.clickThrough));
    m_alwaysOnTop->setText(onOff("Always on top", state.alwaysOnTop));

    m_capture->setEnabled(visible);
    m_move->setEnabled(state.captureRunning && visible);
    m_mode->setEnabled(visible);
    m_blur->setEnabled(visible);
    m_drawing->setEnabled(visible);

    m_clearMarks->setVisible(state.hasMarks);
    m_clearMarks->setText(QStringLiteral("Remove all marks") + shortcutSuffix(state.clearShortcut));
    m_drawing->setText(onOff("Drawing mode", state.drawing) +
                       shortcutSuffix(state.drawingShortcut));
    // The always-on-top item is never disabled.
    m_clickThrough->setEnabled(visible);
}

} // namespace lookpane
