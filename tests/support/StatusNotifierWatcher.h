#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class QDBusServiceWatcher;

namespace lookpane::testing {

// Where a registered StatusNotifierItem answers: its bus name and object path.
struct StatusNotifierItemAddress
{
    QString service;
    QString path;

    bool operator==(const StatusNotifierItemAddress &) const = default;
};

// What the watcher's thread and the test share.
struct StatusNotifierWatcherState
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<StatusNotifierItemAddress> items;
    // Every registration accepted since the watcher started, restarts included.
    int registrations = 0;
    // Whether a host (a panel that shows the items) is registered with the watcher.
    bool hostRegistered = true;
};

// The object on the bus (org.kde.StatusNotifierWatcher at /StatusNotifierWatcher). It lives on
// the watcher's thread; its slots are the interface's methods.
class StatusNotifierWatcherService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredItems)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
public:
    explicit StatusNotifierWatcherService(StatusNotifierWatcherState &state);
    ~StatusNotifierWatcherService() override;

    // Connects to the bus at `address` and takes the watcher's name; announces the host when
    // one is registered.
    bool open(const QString &address);
    // A host registers with the watcher, or leaves it, as a panel that starts after the
    // watcher (or quits before it) does.
    void setHostRegistered(bool registered);
    // Leaves the bus: the name and every registration go, as when the panel quits.
    void close();

    QStringList registeredItems() const;
    bool isHostRegistered() const;
    int protocolVersion() const { return 0; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service, const QDBusMessage &message);
    void RegisterStatusNotifierHost(const QString &service);

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString &item);
    void StatusNotifierItemUnregistered(const QString &item);
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();

private:
    void serviceGone(const QString &service);

    StatusNotifierWatcherState &m_state;
    std::optional<QDBusConnection> m_connection;
    QString m_connectionName;
    QDBusServiceWatcher *m_owners = nullptr;
};

// A StatusNotifierWatcher of the test's own on a private bus, which also acts as the host (the
// panel that shows the items): it owns org.kde.StatusNotifierWatcher, says whether a host is
// registered and keeps the list of items, dropping those whose owner leaves the bus. It
// answers on a thread of its own, so that a program that asks it something at startup gets
// its answer while the test waits for something else.
class StatusNotifierWatcher
{
public:
    enum class Host
    {
        registered,
        absent
    };

    // With `Host::absent` the watcher runs without a panel until registerHost(), as where the
    // desktop starts the watcher before its panel.
    explicit StatusNotifierWatcher(const std::string &busAddress, Host host = Host::registered);
    ~StatusNotifierWatcher();

    StatusNotifierWatcher(const StatusNotifierWatcher &) = delete;
    StatusNotifierWatcher &operator=(const StatusNotifierWatcher &) = delete;

    // Whether it owns the watcher's name on the bus.
    bool isRunning() const { return m_running; }

    std::vector<StatusNotifierItemAddress> items() const;
    int registrations() const;

    // Waits until an item is registered (more than `registrationsBefore` registrations in
    // all) and returns the newest item; none on timeout.
    std::optional<StatusNotifierItemAddress> waitForItem(int timeoutMs,
                                                         int registrationsBefore = 0);
    // Waits until no item is registered.
    bool waitForNoItems(int timeoutMs);

    // As a panel that restarts: the watcher leaves the bus, forgetting every item, and comes
    // back on a new connection under the same name, announcing its host again (if one was
    // registered).
    bool restart();
    // As a panel that quits, and one that starts later: the watcher leaves the bus, forgetting
    // every item; start() brings it back on a new connection under the same name.
    void stop();
    bool start();

    // A panel registers its host with the running watcher (StatusNotifierHostRegistered), or
    // leaves it (StatusNotifierHostUnregistered).
    void registerHost();
    void unregisterHost();

private:
    std::string m_address;
    mutable StatusNotifierWatcherState m_state;
    QThread m_thread;
    StatusNotifierWatcherService *m_service = nullptr; // lives on m_thread
    bool m_running = false;
};

} // namespace lookpane::testing
