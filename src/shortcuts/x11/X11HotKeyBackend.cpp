#include "shortcuts/x11/X11HotKeyBackend.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/XErrors.h"
#include "platform/x11/XReply.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/PhysicalKeys.h"
#include "shortcuts/x11/ShortcutsX11Log.h"
#include "shortcuts/x11/X11KeyboardMap.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QStringList>

#include <algorithm>
#include <cstring>
#include <utility>

namespace lookpane::x11 {

namespace {

// XKB events share one event code; the second byte tells them apart. (xcb/xkb.h names these,
// but it does not compile as C++: it has a field called "explicit".)
constexpr std::uint8_t xkbNewKeyboardNotify = 0;
constexpr std::uint8_t xkbMapNotify = 1;

// The first event code of the XKEYBOARD extension on `connection`, 0 without it.
std::uint8_t xkbFirstEvent(xcb_connection_t *connection)
{
    constexpr const char *name = "XKEYBOARD";
    const Reply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(
        connection,
        xcb_query_extension(connection, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply && reply->present != 0 ? reply->first_event : 0;
}

// "Ctrl+Alt+Super+B" for a keycode and a mask of Shift, Control, Mod1 and Mod4.
QString comboText(xcb_keycode_t keycode, std::uint16_t mask)
{
    const std::optional<std::uint16_t> virtualKey = virtualKeyCodeFromXKeycode(keycode);
    const std::uint64_t flags = modifierFlagsFromX11State(x11SignificantModifiers(mask));
    return virtualKey ? displayString(KeyCombo{*virtualKey, flags})
                      : QStringLiteral("keycode %1").arg(keycode);
}

} // namespace

X11HotKeyBackend::X11HotKeyBackend() : X11HotKeyBackend(applicationConnection()) {}

X11HotKeyBackend::X11HotKeyBackend(xcb_connection_t *connection)
{
    if (connection == nullptr || xcb_connection_has_error(connection) != 0) {
        qCWarning(lcShortcutsX11,
                  "Global shortcuts are unavailable: there is no X11 display connection "
                  "(Lookpane's global shortcuts need an X11 session)");
        return;
    }
    const ApplicationScreen screen = applicationScreen(connection);
    if (screen.screen == nullptr) {
        qCWarning(
            lcShortcutsX11,
            "Global shortcuts are unavailable: the X11 display has no screen to grab keys on");
        return;
    }
    m_connection = connection;
    m_root = screen.screen->root;
    m_xkbFirstEvent = xkbFirstEvent(connection);
    readLockModifiers();
    if (QCoreApplication *application = QCoreApplication::instance()) {
        application->installNativeEventFilter(this);
    } else {
        qCWarning(lcShortcutsX11,
                  "Global shortcuts will not fire: there is no application to read key presses");
    }
}

X11HotKeyBackend::~X11HotKeyBackend()
{
    if (QCoreApplication *application = QCoreApplication::instance()) {
        application->removeNativeEventFilter(this);
    }
    if (!m_connection) {
        return;
    }
    for (const auto &[handle, grab] : m_grabs) {
        ungrabAll(grab.keycode, grab.variants);
    }
    xcb_flush(m_connection);
}

std::optional<HotKeyHandle>
X11HotKeyBackend::registerHotKey(std::uint16_t keyCode, std::uint16_t x11Modifiers, HotKeyId id)
{
    if (!m_connection) {
        qCDebug(lcShortcutsX11, "no X11 connection: key code %u not grabbed", keyCode);
        return std::nullopt;
    }
    const std::optional<std::uint8_t> keycode = xKeycodeFromVirtualKeyCode(keyCode);
    const xcb_setup_t *setup = xcb_get_setup(m_connection);
    if (!keycode || *keycode < setup->min_keycode || *keycode > setup->max_keycode) {
        qCWarning(lcShortcutsX11,
                  "Key code %u has no key on this keyboard; it cannot be a global shortcut",
                  keyCode);
        return std::nullopt;
    }
    const std::uint16_t mask = x11SignificantModifiers(x11Modifiers);
    // The server would let this client grab it a second time, and letting one binding go would
    // then end the other's grab too: a combination serves one action at a time.
    if (std::any_of(m_grabs.begin(), m_grabs.end(), [&](const auto &entry) {
            return entry.second.keycode == *keycode && entry.second.mask == mask;
        })) {
        qCWarning(lcShortcutsX11).noquote()
            << QStringLiteral("%1 is already the global shortcut of another action")
                   .arg(comboText(*keycode, mask));
        return std::nullopt;
    }
    std::vector<std::uint16_t> variants = x11LockVariants(mask, m_locks);
    if (!grabAll(*keycode, mask, variants)) {
        return std::nullopt;
    }
    const HotKeyHandle handle{m_nextHandle++};
    m_grabs[handle.value] = Grab{*keycode, mask, id, std::move(variants)};
    qCDebug(lcShortcutsX11).noquote()
        << "grabbed" << comboText(*keycode, mask) << "as" << id.identifier;
    return handle;
}

void X11HotKeyBackend::unregisterHotKey(HotKeyHandle handle)
{
    const auto found = m_grabs.find(handle.value);
    if (found == m_grabs.end()) {
        return;
    }
    ungrabAll(found->second.keycode, found->second.variants);
    xcb_flush(m_connection);
    qCDebug(lcShortcutsX11).noquote()
        << "released" << comboText(found->second.keycode, found->second.mask);
    m_grabs.erase(found);
}

bool X11HotKeyBackend::grabAll(xcb_keycode_t keycode, std::uint16_t mask,
                               const std::vector<std::uint16_t> &variants)
{
    std::vector<xcb_void_cookie_t> cookies;
    cookies.reserve(variants.size());
    for (const std::uint16_t variant : variants) {
        // Not owner_events: every press is reported on the root window, whichever window of
        // ours has the focus.
        cookies.push_back(xcb_grab_key_checked(m_connection, 0, m_root, variant, keycode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    std::vector<std::uint16_t> held;
    std::optional<XError> refusal;
    for (std::size_t index = 0; index < cookies.size(); ++index) {
        const Reply<xcb_generic_error_t> error(xcb_request_check(m_connection, cookies[index]));
        if (!error) {
            held.push_back(variants[index]);
        } else if (!refusal) {
            refusal = toXError(*error);
        }
    }
    if (!refusal) {
        return true;
    }
    ungrabAll(keycode, held);
    xcb_flush(m_connection);
    const QString why = refusal->code == XCB_ACCESS
                            ? QStringLiteral("another application holds it")
                            : describe(*refusal, XErrorCodes::of(m_connection));
    qCWarning(lcShortcutsX11).noquote()
        << QStringLiteral("%1 cannot be a global shortcut: %2").arg(comboText(keycode, mask), why);
    return false;
}

void X11HotKeyBackend::ungrabAll(xcb_keycode_t keycode, const std::vector<std::uint16_t> &variants)
{
    for (const std::uint16_t variant : variants) {
        xcb_ungrab_key(m_connection, keycode, m_root, variant);
    }
}

void X11HotKeyBackend::readLockModifiers()
{
    QString failure;
    if (const std::optional<LockModifiers> locks = x11::readLockModifiers(m_connection, &failure)) {
        m_locks = *locks;
        qCDebug(lcShortcutsX11, "Num Lock is modifier 0x%x, Scroll Lock 0x%x", m_locks.numLock,
                m_locks.scrollLock);
        return;
    }
    // Without the map, the shortcuts still fire while Num Lock and Scroll Lock are off.
    m_locks = LockModifiers{};
    qCWarning(lcShortcutsX11).noquote()
        << "Global shortcuts may not fire while Num Lock or Scroll Lock is on:" << failure;
}

bool X11HotKeyBackend::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (!m_connection || eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const std::uint8_t type = event->response_type & 0x7f;
    switch (type) {
    case XCB_KEY_PRESS:
        return keyPressed(*reinterpret_cast<const xcb_key_press_event_t *>(event));
    case XCB_KEY_RELEASE:
        return keyReleased(*reinterpret_cast<const xcb_key_release_event_t *>(event));
    case XCB_MAPPING_NOTIFY:
        if (reinterpret_cast<const xcb_mapping_notify_event_t *>(event)->request !=
            XCB_MAPPING_POINTER) {
            scheduleRenewal();
        }
        return false; // Qt reads the new map too
    default:
        break;
    }
    if (m_xkbFirstEvent != 0 && type == m_xkbFirstEvent) {
        const std::uint8_t xkbType = event->pad0;
        if (xkbType == xkbNewKeyboardNotify || xkbType == xkbMapNotify) {
            scheduleRenewal();
        }
    }
    return false;
}

bool X11HotKeyBackend::keyPressed(const xcb_key_press_event_t &event)
{
    if (event.event != m_root) {
        return false;
    }
    const std::uint16_t pressed = x11SignificantModifiers(event.state);
    const auto grab = std::find_if(m_grabs.begin(), m_grabs.end(), [&](const auto &entry) {
        return entry.second.keycode == event.detail && entry.second.mask == pressed;
    });
    if (grab == m_grabs.end()) {
        return false;
    }
    // An auto-repeat of a combination held down: a press while the key is down, or (where
    // the server reports repeats as a release and a press, as it does for Qt's connection) a
    // press at the very time of the release before it.
    if (m_held.contains(event.detail)) {
        return true;
    }
    if (m_lastRelease && m_lastRelease->keycode == event.detail &&
        m_lastRelease->time == event.time) {
        m_lastRelease.reset();
        m_held.insert(event.detail);
        return true;
    }
    const HotKeyId id = grab->second.id;
    const bool taken = onHotKeyPressed && onHotKeyPressed(id);
    if (taken) {
        m_held.insert(event.detail);
    }
    return taken;
}

bool X11HotKeyBackend::keyReleased(const xcb_key_release_event_t &event)
{
    if (event.event != m_root || m_held.erase(event.detail) == 0) {
        return false;
    }
    m_lastRelease = Release{event.detail, event.time};
    return true;
}

void X11HotKeyBackend::scheduleRenewal()
{
    // A new layout arrives as several events; the grabs are renewed once, after Qt has read
    // the new map.
    if (m_renewalPending) {
        return;
    }
    m_renewalPending = true;
    QMetaObject::invokeMethod(this, &X11HotKeyBackend::renewGrabs, Qt::QueuedConnection);
}

void X11HotKeyBackend::renewGrabs()
{
    m_renewalPending = false;
    readLockModifiers();
    for (auto &[handle, grab] : m_grabs) {
        ungrabAll(grab.keycode, grab.variants);
        std::vector<std::uint16_t> variants = x11LockVariants(grab.mask, m_locks);
        if (grabAll(grab.keycode, grab.mask, variants)) {
            grab.variants = std::move(variants);
        } else {
            grab.variants.clear();
        }
    }
    xcb_flush(m_connection);
    qCDebug(lcShortcutsX11, "keyboard map changed: %zu global shortcuts grabbed again",
            m_grabs.size());
    Q_EMIT grabsRenewed();
}

} // namespace lookpane::x11
