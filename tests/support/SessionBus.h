#pragma once

#include "ChildProcess.h"

#include <memory>
#include <string>

namespace lookpane::testing {

// A private D-Bus session bus for one test (dbus-daemon --session in a process of its own), so
// that nothing reaches or hears from the caller's own session bus. It ends with this object.
class SessionBus
{
public:
    SessionBus();

    bool isRunning() const { return !m_address.empty(); }
    // The address to give DBUS_SESSION_BUS_ADDRESS or QDBusConnection::connectToBus.
    const std::string &address() const { return m_address; }

private:
    std::unique_ptr<ChildProcess> m_daemon;
    std::string m_address;
};

} // namespace lookpane::testing
