#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <thread>

namespace lookpane::testing {

ChildProcess::ChildProcess(const std::vector<std::string> &argv, Options options)
{
    int pipeFds[2] = {-1, -1};
    if (options.captureStdout && pipe2(pipeFds, O_CLOEXEC) != 0) {
        return;
    }
    std::vector<char *> args;
    for (const std::string &arg : argv) {
        args.push_back(const_cast<char *>(arg.c_str()));
    }
    args.push_back(nullptr);

    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(127);
        }
        for (const auto &[name, value] : options.environment) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        for (const std::string &name : options.unset) {
            unsetenv(name.c_str());
        }
        const int devNull = open("/dev/null", O_RDWR);
        if (options.captureStdout) {
            dup2(pipeFds[1], STDOUT_FILENO);
        } else if (options.quiet) {
            dup2(devNull, STDOUT_FILENO);
        }
        if (!options.stderrPath.empty()) {
            const int errors =
                open(options.stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            dup2(errors >= 0 ? errors : devNull, STDERR_FILENO);
        } else if (options.quiet) {
            dup2(devNull, STDERR_FILENO);
        }
        dup2(devNull, STDIN_FILENO);
        execvp(args[0], args.data());
        _exit(127);
    }
    if (options.captureStdout) {
        close(pipeFds[1]);
        m_stdout = pipeFds[0];
    }
}

ChildProcess::~ChildProcess()
{
    stop();
    if (m_stdout >= 0) {
        close(m_stdout);
    }
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (true) {
        const auto newline = m_buffer.find('\n');
        if (newline != std::string::npos) {
            std::string line = m_buffer.substr(0, newline);
            m_buffer.erase(0, newline + 1);
            return line;
        }
        if (m_stdout < 0) {
            return std::nullopt;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return std::nullopt;
        }
        pollfd fd{m_stdout, POLLIN, 0};
        const int ready = poll(&fd, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            return std::nullopt;
        }
        char chunk[4096];
        const ssize_t count = read(m_stdout, chunk, sizeof chunk);
        if (count <= 0) {
            return std::nullopt;
        }
        m_buffer.append(chunk, static_cast<std::size_t>(count));
    }
}

void ChildProcess::signal(int signalNumber)
{
    if (m_pid > 0 && !m_status) {
        kill(m_pid, signalNumber);
    }
}

std::optional<int> ChildProcess::waitForExit(std::chrono::milliseconds timeout)
{
    if (m_status || m_pid <= 0) {
        return m_status;
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (true) {
        int status = 0;
        const pid_t done = waitpid(m_pid, &status, WNOHANG);
        if (done == m_pid) {
            m_status = status;
            return m_status;
        }
        if (done < 0 && errno != EINTR) {
            return std::nullopt;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return std::nullopt;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void ChildProcess::stop()
{
    if (m_pid <= 0 || m_status) {
        return;
    }
    signal(SIGTERM);
    if (!waitForExit(std::chrono::seconds(3))) {
        signal(SIGKILL);
        waitForExit(std::chrono::seconds(3));
    }
}

} // namespace lookpane::testing
