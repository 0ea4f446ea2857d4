#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <cstdint>

class QDBusMessage;
class QDBusServiceWatcher;

namespace lookpane {

// Follows whether a StatusNotifierItem host (a panel that shows tray items) is registered with
// org.kde.StatusNotifierWatcher on the session bus. That is the question Qt asks, once, when
// it decides where a tray icon goes: the watcher's IsStatusNotifierHostRegistered property.
// The answer is asked again whenever the watcher's name changes hands and whenever the
// watcher says that a host registered or left.
class StatusNotifierHostWatcher : public QObject
{
    Q_OBJECT
public:
    // Watches `bus` (the session bus unless a test gives its own). The first answer is read at
    // once, with one blocking round trip to the watcher when there is one.
    explicit StatusNotifierHostWatcher(const QDBusConnection &bus = QDBusConnection::sessionBus(),
                                       QObject *parent = nullptr);
    ~StatusNotifierHostWatcher() override;

    StatusNotifierHostWatcher(const StatusNotifierHostWatcher &) = delete;
    StatusNotifierHostWatcher &operator=(const StatusNotifierHostWatcher &) = delete;

    // Whether the bus could be reached at all; without it no host is ever seen.
    bool isConnected() const { return m_bus.isConnected(); }
    bool isHostRegistered() const { return m_hostRegistered; }

Q_SIGNALS:
    void hostRegisteredChanged(bool registered);

private Q_SLOTS:
    // The watcher's StatusNotifierHostRegistered and StatusNotifierHostUnregistered signals;
    // QtDBus connects them by name.
    void hostsChanged();

private:
    void watcherOwnerChanged(const QString &newOwner);
    // Asks the watcher for its property without waiting; the answer arrives later unless a
    // newer question or the watcher's leaving overtook it.
    void ask();
    void answered(std::uint64_t question, const QDBusMessage &reply);
    void setHostRegistered(bool registered);

    QDBusConnection m_bus;
    QDBusServiceWatcher *m_watcher = nullptr; // child of this object
    bool m_hostRegistered = false;
    std::uint64_t m_question = 0; // the newest question; older answers are stale
};

} // namespace lookpane
