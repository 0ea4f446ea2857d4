#include "shortcuts/GlobalHotKeyCenter.h"

#include "shortcuts/ModifierMapping.h"

#include <QMetaObject>

#include <utility>

namespace lookpane {

GlobalHotKeyCenter::GlobalHotKeyCenter(std::unique_ptr<HotKeyBackend> backend)
    : m_backend(std::move(backend)), m_context(std::make_unique<QObject>())
{
    if (m_backend) {
        m_backend->onHotKeyPressed = [this](const HotKeyId &id) { return hotKeyPressed(id); };
    }
}

GlobalHotKeyCenter::~GlobalHotKeyCenter()
{
    if (!m_backend) {
        return;
    }
    for (const auto &[identifier, handle] : m_refs) {
        m_backend->unregisterHotKey(handle);
    }
    m_refs.clear();
    m_backend->onHotKeyPressed = nullptr;
}

void GlobalHotKeyCenter::setHandler(std::uint32_t identifier, Handler handler)
{
    m_handlers[identifier] = std::move(handler);
}

bool GlobalHotKeyCenter::registerCombo(std::optional<KeyCombo> combo, ShortcutAction action)
{
    const std::uint32_t identifier = hotKeyIdentifier(action);
    // A re-registration never leaves the old binding active, even when the new one fails.
    if (const auto found = m_refs.find(identifier); found != m_refs.end()) {
        if (m_backend) {
            m_backend->unregisterHotKey(found->second);
        }
        m_refs.erase(found);
    }
    if (!combo) {
        return true;
    }
    // A bare key, or one with Shift alone, is never taken away from every other application.
    if ((combo->modifiers & ModifierFlag::hotKeyMask) == 0) {
        return false;
    }
    if (!m_backend) {
        return false;
    }
    const std::optional<HotKeyHandle> handle =
        m_backend->registerHotKey(combo->keyCode, x11Modifiers(*combo), {signature, identifier});
    if (!handle) {
        return false;
    }
    m_refs[identifier] = *handle;
    return true;
}

bool GlobalHotKeyCenter::isRegistered(ShortcutAction action) const
{
    return m_refs.contains(hotKeyIdentifier(action));
}

bool GlobalHotKeyCenter::hotKeyPressed(const HotKeyId &id)
{
    if (id.signature != signature) {
        return false;
    }
    const std::uint32_t identifier = id.identifier;
    QMetaObject::invokeMethod(
        m_context.get(), [this, identifier] { runHandler(identifier); }, Qt::QueuedConnection);
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
