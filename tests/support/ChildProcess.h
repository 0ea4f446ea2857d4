#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace lookpane::testing {

// A child process started for a test. It dies with the test process (PR_SET_PDEATHSIG) and
// is killed when this object goes, so nothing outlives a failing test.
class ChildProcess
{
public:
    struct Options
    {
        // Variables set (or, with an empty value and `unset`, removed) in the child's
        // environment on top of this process's environment.
        std::map<std::string, std::string> environment;
        std::vector<std::string> unset;
        bool captureStdout = false;
        bool quiet = true; // stdout (when not captured) and stderr to /dev/null
        // When not empty, standard error goes to this file (created or truncated) instead.
        std::string stderrPath;
    };

    ChildProcess(const std::vector<std::string> &argv, Options options);
    ~ChildProcess();

    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    bool isStarted() const { return m_pid > 0; }
    pid_t pid() const { return m_pid; }

    // One line of the child's standard output, without the line break; none on timeout or
    // end of output.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout);

    void signal(int signalNumber);
    // The wait status (as waitpid gives it) once the child has ended; none on timeout.
    std::optional<int> waitForExit(std::chrono::milliseconds timeout);
    // SIGTERM, a short wait, then SIGKILL.
    void stop();

private:
    pid_t m_pid = -1;
    int m_stdout = -1;
    std::string m_buffer;
    std::optional<int> m_status;
};

} // namespace lookpane::testing
