#include "TrayHost.h"

#include <signal.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace lookpane::testing {

std::string trayHostExecutable()
{
    return LOOKPANE_TRAY_HOST_PATH;
}

TrayHost::TrayHost(const std::string &display, QRect geometry, Announcement announcement)
{
    std::vector<std::string> argv{trayHostExecutable()};
    if (announcement == Announcement::onRequest) {
        argv.push_back("--announce-later");
    }
    if (!geometry.isEmpty()) {
        char text[64];
        std::snprintf(text, sizeof text, "%dx%d+%d+%d", geometry.width(), geometry.height(),
                      geometry.x(), geometry.y());
        argv.insert(argv.end(), {"--geometry", text});
    }
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display;
    options.captureStdout = true;
    m_process = std::make_unique<ChildProcess>(argv, options);
    if (const auto report = nextReport(10000); report && report->first == "tray") {
        m_window = report->second;
    }
}

void TrayHost::announce()
{
    m_process->signal(SIGUSR1);
}

std::optional<std::pair<std::string, std::uint32_t>> TrayHost::nextReport(int timeoutMs)
{
    const std::optional<std::string> line =
        m_process->readLine(std::chrono::milliseconds(timeoutMs));
    if (!line) {
        return std::nullopt;
    }
    const auto space = line->find(' ');
    if (space == std::string::npos) {
        return std::nullopt;
    }
    return std::make_pair(line->substr(0, space), static_cast<std::uint32_t>(std::strtoul(
                                                      line->c_str() + space + 1, nullptr, 16)));
}

std::optional<std::uint32_t> TrayHost::waitForDockedIcon(int timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return std::nullopt;
        }
        const auto report = nextReport(static_cast<int>(left.count()));
        if (!report) {
            return std::nullopt;
        }
        if (report->first == "docked") {
            return report->second;
        }
    }
}

bool TrayHost::waitForUndocked(std::uint32_t icon, int timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        const auto report = nextReport(static_cast<int>(left.count()));
        if (!report) {
            return false;
        }
        if (report->first == "undocked" && report->second == icon) {
            return true;
        }
    }
}

} // namespace lookpane::testing
