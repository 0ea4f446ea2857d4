#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>

class QSocketNotifier;

namespace lookpane::x11 {

class XcbConnection;

// Follows whether an XEmbed system tray is ready on the application's screen: a tray owns the
// selection _NET_SYSTEM_TRAY_S<screen> and has announced itself with the MANAGER message on
// the root window, as the tray protocol asks before icons dock. A tray that owns the selection
// when the watcher starts counts at once.
//
// The owner comes from XFixes selection events over a connection of the watcher's own, so a
// tray that quits or crashes is seen at once and Qt's connection keeps its selections as they
// are; the selection of those events ends with that connection. The announcement is read
// from Qt's connection, which hears it too, and a new tray is reported only once Qt has seen
// it: an icon made then is one that Qt's xcb plugin meets for the first time, so it docks
// once, not once for the icon and again for Qt's own reaction to the announcement.
class X11SystemTrayWatcher : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    // The watcher, or none (with the reason in `failure`) where Qt runs on no X display, the
    // display cannot be reached or it offers no XFixes.
    static std::unique_ptr<X11SystemTrayWatcher> create(QString *failure);
    ~X11SystemTrayWatcher() override;

    X11SystemTrayWatcher(const X11SystemTrayWatcher &) = delete;
    X11SystemTrayWatcher &operator=(const X11SystemTrayWatcher &) = delete;

    // Whether a tray is there to take icons now.
    bool isTrayPresent() const { return m_owner != 0 && m_ready; }
    // The window that owns the tray's selection now; 0 for none.
    std::uint32_t trayWindow() const { return m_owner; }
    // The tray's selection, as "_NET_SYSTEM_TRAY_S0", for messages.
    const QString &selectionName() const { return m_selectionName; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    // A tray became ready where there was none (true), or the last one went (false). A tray
    // that takes the selection over from a ready one reports nothing: there is a tray
    // throughout, and Qt docks its icons there anew.
    void trayPresenceChanged(bool present);

private:
    struct Atoms
    {
        std::uint32_t selection = 0;
        std::uint32_t manager = 0;
    };

    X11SystemTrayWatcher(std::unique_ptr<XcbConnection> connection, std::uint32_t root, Atoms atoms,
                         QString selectionName, std::uint32_t owner);
    void readEvents();
    void ownerSet(std::uint32_t owner);
    void trayAnnounced(std::uint32_t tray);
    void update(std::uint32_t owner, bool ready);

    std::unique_ptr<XcbConnection> m_connection;
    QSocketNotifier *m_notifier = nullptr; // child of this object
    std::uint32_t m_root;
    Atoms m_atoms; // the same on every connection to the server
    QString m_selectionName;
    std::uint32_t m_owner = 0;
    bool m_ready = false;
    // The last tray that announced itself, as Qt's connection heard it; the owner's change
    // may come before or after on the watcher's own connection.
    std::uint32_t m_announced = 0;
};

} // namespace lookpane::x11
