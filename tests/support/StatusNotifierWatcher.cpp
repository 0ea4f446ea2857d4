#include "StatusNotifierWatcher.h"

#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace lookpane::testing {

namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString defaultItemPath = QStringLiteral("/StatusNotifierItem");

QString itemText(const StatusNotifierItemAddress &item)
{
    return item.service + item.path;
}

// Every connection needs a name of its own within the process.
QString newConnectionName()
{
    static std::atomic<int> count{0};
    return QStringLiteral("lookpane-test-watcher-%1").arg(++count);
}

} // namespace

StatusNotifierWatcherService::StatusNotifierWatcherService(StatusNotifierWatcherState &state)
    : m_state(state)
{}

StatusNotifierWatcherService::~StatusNotifierWatcherService()
{
    close();
}

bool StatusNotifierWatcherService::open(const QString &address)
{
    close();
    m_connectionName = newConnectionName();
    m_connection = QDBusConnection::connectToBus(address, m_connectionName);
    if (!m_connection->isConnected()) {
        return false;
    }
    m_owners = new QDBusServiceWatcher(QString(), *m_connection,
                                       QDBusServiceWatcher::WatchForUnregistration, this);
    connect(m_owners, &QDBusServiceWatcher::serviceUnregistered, this,
            &StatusNotifierWatcherService::serviceGone);
    if (!m_connection->registerObject(watcherPath, this,
                                      QDBusConnection::ExportAllSlots |
                                          QDBusConnection::ExportAllSignals |
                                          QDBusConnection::ExportAllProperties) ||
        !m_connection->registerService(watcherName)) {
        return false;
    }
    if (isHostRegistered()) {
        Q_EMIT StatusNotifierHostRegistered();
    }
    return true;
}

bool StatusNotifierWatcherService::isHostRegistered() const
{
    std::lock_guard lock(m_state.mutex);
    return m_state.hostRegistered;
}

void StatusNotifierWatcherService::setHostRegistered(bool registered)
{
    {
        std::lock_guard lock(m_state.mutex);
        if (m_state.hostRegistered == registered) {
            return;
        }
        m_state.hostRegistered = registered;
    }
    if (!m_connection) {
        return;
    }
    if (registered) {
        Q_EMIT StatusNotifierHostRegistered();
    } else {
        Q_EMIT StatusNotifierHostUnregistered();
    }
}

void StatusNotifierWatcherService::close()
{
    if (!m_connection) {
        return;
    }
    delete m_owners;
    m_owners = nullptr;
    m_connection->unregisterObject(watcherPath);
    m_connection->unregisterService(watcherName);
    m_connection.reset();
    QDBusConnection::disconnectFromBus(m_connectionName);
    {
        std::lock_guard lock(m_state.mutex);
        m_state.items.clear();
    }
    m_state.changed.notify_all();
}

QStringList StatusNotifierWatcherService::registeredItems() const
{
    std::lock_guard lock(m_state.mutex);
    QStringList list;
    for (const StatusNotifierItemAddress &item : m_state.items) {
        list << itemText(item);
    }
    return list;
}

void StatusNotifierWatcherService::RegisterStatusNotifierItem(const QString &service,
                                                              const QDBusMessage &message)
{
    // The argument is either a bus name (the item at the usual path) or an object path on
    // the caller's own connection.
    StatusNotifierItemAddress item;
    if (service.startsWith(QLatin1Char('/'))) {
        item = {message.service(), service};
    } else {
        item = {service, defaultItemPath};
    }
    bool added = false;
    {
        std::lock_guard lock(m_state.mutex);
        if (std::find(m_state.items.begin(), m_state.items.end(), item) == m_state.items.end()) {
            m_state.items.push_back(item);
            added = true;
        }
        ++m_state.registrations;
    }
    if (added) {
        m_owners->addWatchedService(item.service);
        Q_EMIT StatusNotifierItemRegistered(itemText(item));
    }
    m_state.changed.notify_all();
}

void StatusNotifierWatcherService::RegisterStatusNotifierHost(const QString &service)
{
    Q_UNUSED(service);
    // Another host is welcome; the watcher keeps no list of hosts, only that there is one.
    {
        std::lock_guard lock(m_state.mutex);
        m_state.hostRegistered = true;
    }
    Q_EMIT StatusNotifierHostRegistered();
}

void StatusNotifierWatcherService::serviceGone(const QString &service)
{
    std::vector<StatusNotifierItemAddress> gone;
    {
        std::lock_guard lock(m_state.mutex);
        for (auto it = m_state.items.begin(); it != m_state.items.end();) {
            if (it->service == service) {
                gone.push_back(*it);
                it = m_state.items.erase(it);
            } else {
                ++it;
            }
        }
    }
    m_owners->removeWatchedService(service);
    for (const StatusNotifierItemAddress &item : gone) {
        Q_EMIT StatusNotifierItemUnregistered(itemText(item));
    }
    m_state.changed.notify_all();
}

StatusNotifierWatcher::StatusNotifierWatcher(const std::string &busAddress, Host host)
    : m_address(busAddress)
{
    m_state.hostRegistered = host == Host::registered;
    m_thread.setObjectName(QStringLiteral("StatusNotifierWatcher"));
    m_thread.start();
    m_service = new StatusNotifierWatcherService(m_state);
    m_service->moveToThread(&m_thread);
    QMetaObject::invokeMethod(
        m_service, [this] { m_running = m_service->open(QString::fromStdString(m_address)); },
        Qt::BlockingQueuedConnection);
}

StatusNotifierWatcher::~StatusNotifierWatcher()
{
    QMetaObject::invokeMethod(
        m_service, [this] { delete m_service; }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

std::vector<StatusNotifierItemAddress> StatusNotifierWatcher::items() const
{
    std::lock_guard lock(m_state.mutex);
    return m_state.items;
}

int StatusNotifierWatcher::registrations() const
{
    std::lock_guard lock(m_state.mutex);
    return m_state.registrations;
}

std::optional<StatusNotifierItemAddress> StatusNotifierWatcher::waitForItem(int timeoutMs,
                                                                            int registrationsBefore)
{
    std::unique_lock lock(m_state.mutex);
    const bool arrived = m_state.changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
        return m_state.registrations > registrationsBefore && !m_state.items.empty();
    });
    if (!arrived) {
        return std::nullopt;
    }
    return m_state.items.back();
}

bool StatusNotifierWatcher::waitForNoItems(int timeoutMs)
{
    std::unique_lock lock(m_state.mutex);
    return m_state.changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                    [&] { return m_state.items.empty(); });
}

bool StatusNotifierWatcher::restart()
{
    bool reopened = false;
    QMetaObject::invokeMethod(
        m_service,
        [&] {
            m_service->close();
            reopened = m_service->open(QString::fromStdString(m_address));
        },
        Qt::BlockingQueuedConnection);
    m_running = reopened;
    return reopened;
}

void StatusNotifierWatcher::stop()
{
    QMetaObject::invokeMethod(
        m_service, [this] { m_service->close(); }, Qt::BlockingQueuedConnection);
    m_running = false;
}

bool StatusNotifierWatcher::start()
{
    bool opened = false;
    QMetaObject::invokeMethod(
        m_service, [&] { opened = m_service->open(QString::fromStdString(m_address)); },
        Qt::BlockingQueuedConnection);
    m_running = opened;
    return opened;
}

void StatusNotifierWatcher::registerHost()
{
    QMetaObject::invokeMethod(
        m_service, [this] { m_service->setHostRegistered(true); }, Qt::BlockingQueuedConnection);
}

void StatusNotifierWatcher::unregisterHost()
{
    QMetaObject::invokeMethod(
        m_service, [this] { m_service->setHostRegistered(false); }, Qt::BlockingQueuedConnection);
}

} // namespace lookpane::testing
