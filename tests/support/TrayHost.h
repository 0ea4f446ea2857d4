#pragma once

#include "ChildProcess.h"

#include <QRect>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace lookpane::testing {

// An XEmbed system tray in a process of its own (lookpane_tray_host): it owns the screen's
// tray selection and embeds the icons that ask to dock, as a desktop's panel does.
class TrayHost
{
public:
    enum class Announcement
    {
        atOnce,   // as it takes the selection, as trays do
        onRequest // only when announce() asks, as a tray that is slow to start
    };

    // A tray window of `geometry`; an empty one puts 160 × 30 at the top-right corner.
    explicit TrayHost(const std::string &display, QRect geometry = {},
                      Announcement announcement = Announcement::atOnce);

    // Whether it owns the tray selection and has announced itself.
    bool isRunning() const { return m_window != 0; }
    // The window the icons are embedded in.
    std::uint32_t window() const { return m_window; }

    // Sends the MANAGER message that tells the screen's clients the tray is there.
    void announce();

    // The next icon window it embedded; none on timeout.
    std::optional<std::uint32_t> waitForDockedIcon(int timeoutMs);
    // Waits until the icon `icon` has left the tray (its window destroyed or taken out).
    bool waitForUndocked(std::uint32_t icon, int timeoutMs);

private:
    std::optional<std::pair<std::string, std::uint32_t>> nextReport(int timeoutMs);

    std::unique_ptr<ChildProcess> m_process;
    std::uint32_t m_window = 0;
};

std::string trayHostExecutable();

} // namespace lookpane::testing
