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
//
// The centre can be suspended, for as long as a shortcut recorder waits for a key: the
// desktop then delivers every combination to the focused window as an ordinary key press, so
// the user can record one that Lookpane itself holds. While suspended nothing is grabbed:
// - registerCombo records the binding and returns true for any combination with Ctrl, Alt or
//   Super (it is grabbed when the suspension ends); one without them still fails at once;
// - setSuspended(false) grabs every recorded binding again, in identifier order. A binding
//   that cannot be had any more (another application took the combination meanwhile) is
//   dropped and reported through registrationFailed.
class GlobalHotKeyCenter : public QObject
{
    Q_OBJECT
public:
    // The tag of every registration the centre makes: "LPK1" read as a big-endian number.
    static constexpr std::uint32_t signature = 0x4C504B31;

    using Handler = std::function<void()>;

    explicit GlobalHotKeyCenter(std::unique_ptr<HotKeyBackend> backend, QObject *parent = nullptr);
    ~GlobalHotKeyCenter() override;

    GlobalHotKeyCenter(const GlobalHotKeyCenter &) = delete;
    GlobalHotKeyCenter &operator=(const GlobalHotKeyCenter &) = delete;

    // Installs the handler run for presses registered under `identifier` (an action's
    // hotKeyIdentifier()).
    void setHandler(std::uint32_t identifier, Handler handler);

    // Gives `action` the binding `combo`, or no binding with none. Any previous binding is
    // released first, in every case. False when the combination has none of Ctrl, Alt,
    // Super (command, option, control), or the desktop refuses it (usually because another
    // application holds it); the action is then left unbound and registrationFailed is
    // emitted too. While suspended, see above.
    bool registerCombo(std::optional<KeyCombo> combo, ShortcutAction action);

    // Whether `action` has a binding: a live grab, or while suspended one that is grabbed when
    // the suspension ends.
    bool isRegistered(ShortcutAction action) const;

    // Releases every grab (true) or takes the bindings back (false); see above. Setting the
    // current state again does nothing.
    void setSuspended(bool suspended);
    bool isSuspended() const { return m_suspended; }

Q_SIGNALS:
    // `action` was asked for a binding and is left without any: registerCombo failed, or its
    // binding could not be grabbed again when a suspension ended.
    void registrationFailed(lookpane::ShortcutAction action);

private:
    struct Binding
    {
        KeyCombo combo;
        // None while suspended.
        std::optional<HotKeyHandle> handle;
    };

    std::optional<HotKeyHandle> grab(const KeyCombo &combo, std::uint32_t identifier);
    void release(Binding &binding);
    bool hotKeyPressed(const HotKeyId &id);
    void runHandler(std::uint32_t identifier);

    std::unique_ptr<HotKeyBackend> m_backend;
    std::map<std::uint32_t, Handler> m_handlers;
    std::map<std::uint32_t, Binding> m_bindings;
    bool m_suspended = false;
};

} // namespace lookpane
