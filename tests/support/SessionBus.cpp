#include "SessionBus.h"

#include <chrono>

namespace lookpane::testing {

SessionBus::SessionBus()
{
    ChildProcess::Options options;
    options.captureStdout = true;
    m_daemon = std::make_unique<ChildProcess>(std::vector<std::string>{"dbus-daemon", "--session",
                                                                       "--nofork", "--nopidfile",
                                                                       "--print-address=1"},
                                              options);
    // The daemon prints its address once it listens.
    if (const std::optional<std::string> line = m_daemon->readLine(std::chrono::seconds(20))) {
        m_address = *line;
    }
}

} // namespace lookpane::testing
