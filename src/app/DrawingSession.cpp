#include "app/DrawingSession.h"

#include "frame/ApplicationEventTap.h"
#include "model/KeyCombo.h"
#include "shortcuts/ModifierMapping.h"
#include "shortcuts/PhysicalKeys.h"
#include "shortcuts/ToolShortcutPreferences.h"

#include <QKeyEvent>
#include <QWidget>

#include <cstdint>
#include <optional>

namespace lookpane {

namespace {

constexpr std::uint16_t escapeKeyCode = 53;
constexpr std::uint16_t deleteKeyCode = 51;

} // namespace

DrawingSession::DrawingSession(QWidget *frameWindow, const ToolShortcutPreferences &toolShortcuts,
                               QObject *parent)
    : QObject(parent), m_frameWindow(frameWindow), m_toolShortcuts(toolShortcuts)
{}

DrawingSession::~DrawingSession() = default;

bool DrawingSession::setActive(bool active)
{
    if (active == m_isActive) {
        return false;
    }
    m_isActive = active;
    if (active) {
        m_keyTap = std::make_unique<ApplicationEventTap>([this](QObject *receiver, QEvent *event) {
            return event->type() == QEvent::KeyPress &&
                   handleKey(receiver, static_cast<QKeyEvent *>(event));
        });
    } else {
        m_keyTap.reset();
    }
    return true;
}

bool DrawingSession::handleKey(QObject *receiver, QKeyEvent *event)
{
    // Key events reach the window object first and then its focus widget; take them once, at
    // the widget, and only those of the frame window: a key typed into another Lookpane
    // window (the settings, say) passes untouched.
    const auto *widget = qobject_cast<QWidget *>(receiver);
    if (!m_isActive || !widget || !m_frameWindow || widget->window() != m_frameWindow) {
        return false;
    }
    const std::optional<std::uint16_t> keyCode =
        virtualKeyCodeFromXKeycode(event->nativeScanCode());
    const std::uint64_t flags = modifierFlagsFromX11State(event->nativeModifiers());
    if (keyCode == escapeKeyCode) {
        Q_EMIT exitRequested();
        return true;
    }
    if (event->key() == Qt::Key_Z && (flags & ModifierFlag::command)) {
        Q_EMIT undoRequested();
        return true;
    }
    if (keyCode == deleteKeyCode && (flags & ModifierFlag::matchMask) == 0) {
        Q_EMIT clearRequested();
        return true;
    }
    if (keyCode) {
        if (const std::optional<AnnotationTool> tool = m_toolShortcuts.tool({*keyCode, flags})) {
            Q_EMIT toolChosen(*tool);
            return true;
        }
    }
    return false;
}

} // namespace lookpane
