#include "shortcuts/GlobalHotKeyCenter.h"

#include "shortcuts/ModifierMapping.h"
#include "shortcuts/ShortcutsLog.h"

#include <QMetaObject>

#include <utility>
#include <vector>

namespace lookpane {

namespace {

std::optional<ShortcutAction> actionWithIdentifier(std::uint32_t identifier)
{
    for (const ShortcutAction action : allCases<ShortcutAction>()) {
        if (hotKeyIdentifier(action) == identifier) {
            return action;
        }
    }
    return std::nullopt;
}

} // namespace

GlobalHotKeyCenter::GlobalHotKeyCenter(std::unique_ptr<HotKeyBackend> backend, QObject *parent)
    : QObject(parent), m_backend(std::move(backend))
{
    if (m_backend) {
        m_backend->onHotKeyPressed = [this](const HotKeyId &id) { return hotKeyPressed(id); };
    }
}

GlobalHotKeyCenter::~GlobalHotKeyCenter()
{
    for (auto &[identifier, binding] : m_bindings) {
        release(binding);
    }
    m_bindings.clear();
    if (m_backend) {
        m_backend->onHotKeyPressed = nullptr;
    }
}

void GlobalHotKeyCenter::setHandler(std::uint32_t identifier, Handler handler)
{
    m_handlers[identifier] = std::move(handler);
}

bool GlobalHotKeyCenter::registerCombo(std::optional<KeyCombo> combo, ShortcutAction action)
{
    const std::uint32_t identifier = hotKeyIdentifier(action);
    // A re-registration never leaves the old binding active, even when the new one fails.
    if (const auto found = m_bindings.find(identifier); found != m_bindings.end()) {
        release(found->second);
        m_bindings.erase(found);
    }
    if (!combo) {
        return true;
    }
    // A bare key, or one with Shift alone, is never taken away from every other application.
    if ((combo->modifiers & ModifierFlag::hotKeyMask) == 0) {
        Q_EMIT registrationFailed(action);
        return false;
    }
    if (m_suspended) {
        m_bindings[identifier] = Binding{*combo, std::nullopt};
        return true;
    }
    const std::optional<HotKeyHandle> handle = grab(*combo, identifier);
    if (!handle) {
        Q_EMIT registrationFailed(action);
        return false;
    }
    m_bindings[identifier] = Binding{*combo, handle};
    return true;
}

bool GlobalHotKeyCenter::isRegistered(ShortcutAction action) const
{
    return m_bindings.contains(hotKeyIdentifier(action));
}

void GlobalHotKeyCenter::setSuspended(bool suspended)
{
    if (suspended == m_suspended) {
        return;
    }
    m_suspended = suspended;
    if (suspended) {
        qCDebug(lcShortcuts, "global shortcuts suspended");
        for (auto &[identifier, binding] : m_bindings) {
            release(binding);
        }
        return;
    }
    qCDebug(lcShortcuts, "global shortcuts resumed");
    std::vector<std::uint32_t> lost;
    for (auto &[identifier, binding] : m_bindings) {
        binding.handle = grab(binding.combo, identifier);
        if (!binding.handle) {
            lost.push_back(identifier);
        }
    }
    // Reported once the bindings are consistent again: a receiver may register anew.
    for (const std::uint32_t identifier : lost) {
        m_bindings.erase(identifier);
    }
    for (const std::uint32_t identifier : lost) {
        if (const std::optional<ShortcutAction> action = actionWithIdentifier(identifier)) {
            Q_EMIT registrationFailed(*action);
        }
    }
}

std::optional<HotKeyHandle> GlobalHotKeyCenter::grab(const KeyCombo &combo,
                                                     std::uint32_t identifier)
{
    if (!m_backend) {
        return std::nullopt;
    }
    return m_backend->registerHotKey(combo.keyCode, x11Modifiers(combo), {signature, identifier});
}

void GlobalHotKeyCenter::release(Binding &binding)
{
    if (binding.handle && m_backend) {
        m_backend->unregisterHotKey(*binding.handle);
    }
    binding.handle.reset();
}

bool GlobalHotKeyCenter::hotKeyPressed(const HotKeyId &id)
{
    if (id.signature != signature) {
        return false;
    }
    const std::uint32_t identifier = id.identifier;
    // Presses are handed to the main thread's event loop, so that a handler never runs inside
    // the backend's callback; presses still queued when the centre goes die with it.
    QMetaObject::invokeMethod(
        this, [this, identifier] { runHandler(identifier); }, Qt::QueuedConnection);
    return true;
}

void GlobalHotKeyCenter::runHandler(std::uint32_t identifier)
{
    const auto found = m_handlers.find(identifier);
    if (found == m_handlers.end()) {
        return;
    }
    // A copy, so a handler may replace itself while it runs.
    const Handler handler = found->second;
    if (handler) {
        handler();
    }
}

} // namespace lookpane
