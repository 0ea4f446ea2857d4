#pragma once

#include "model/KeyCombo.h"
#include "model/ShortcutAction.h"
#include "shortcuts/HotKeyBackend.h"

#include <QObject>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace lookpane {

// Binds one system-wide key combination per shortcut action and runs the action's handler
// on the main thread when it is pressed, whichever application is in front. One instance,
// owned by the application controller; main thread only.
class GlobalHotKeyCenter
{
public:
    // The tag of every registration the centre makes: "LPK1" read as a big-endian number.
    static constexpr std::uint32_t signature = 0x4C504B31;

    using Handler = std::function<void()>;

    explicit GlobalHotKeyCenter(std::unique_ptr<HotKeyBackend> backend);
    ~GlobalHotKeyCenter();

    GlobalHotKeyCenter(const GlobalHotKeyCenter &) = delete;
    GlobalHotKeyCenter &operator=(const GlobalHotKeyCenter &) = delete;

    // Installs the handler run for presses registered under `identifier` (an action's
    // hotKeyIdentifier()).
    void setHandler(std::uint32_t identifier, Handler handler);

    // Gives `action` the binding `combo`, or no binding with none. Any previous binding is
    // released first, in every case. False when the combination has none of Ctrl, Alt,
    // Super (command, option, control), or the desktop refuses it (usually because another
    // application holds it); the action is then left unbound.
    bool registerCombo(std::optional<KeyCombo> combo, ShortcutAction action);

    bool isRegistered(ShortcutAction action) const;

private:
    bool hotKeyPressed(const HotKeyId &id);
    void runHandler(std::uint32_t identifier);

    std::unique_ptr<HotKeyBackend> m_backend;
    std::map<std::uint32_t, Handler> m_handlers;
    std::map<std::uint32_t, HotKeyHandle> m_refs;
    // Presses are handed to the main thread's event loop through this object, so that a
    // handler never runs inside the backend's callback, and queued presses die with it.
    std::unique_ptr<QObject> m_context;
};

} // namespace lookpane
