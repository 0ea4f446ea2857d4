#pragma once

#include "ChildProcess.h"
#include "Patterns.h"

#include <QRect>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace lookpane::testing {

// A window of another process showing a known pattern (lookpane_pattern_window).
class PatternWindow
{
public:
    struct Options
    {
        QRect geometry{100, 100, 400, 300};
        Pattern pattern = Pattern::bars;
        std::uint32_t color = 0x336699;
        std::string title = "Pattern";
        std::string windowClass = "lookpane-pattern";
        bool overrideRedirect = false;
        bool animate = false;
        // Side of the square in the top-left corner that holds the frame counter.
        int stampSize = 8;
        // Bounding shape of the left half only.
        bool shapeLeftHalf = false;
        // Clicks pass through the whole window.
        bool inputShapeEmpty = false;
        // 0...255: a 32-bit ARGB window painted with this alpha (premultiplied); -1: 24-bit.
        int argbAlpha = -1;
        // Asks the window manager for no decorations.
        bool undecorated = false;
        // _NET_WM_WINDOW_TYPE_<windowType> when not empty ("DOCK", "DESKTOP", "NORMAL" ...).
        std::string windowType;
        // Windows nested one in the other inside the window, each filling it.
        int nest = 0;
        // Child windows (and a few top-level popups over it) created, moved and destroyed this
        // many times a second, for as long as the window lives.
        double churnChildrenRate = 0;
    };

    // The usual options: a titled window of `pattern` at `geometry`.
    static Options at(const QRect &geometry, Pattern pattern, std::string title)
    {
        Options options;
        options.geometry = geometry;
        options.pattern = pattern;
        options.title = std::move(title);
        return options;
    }

    PatternWindow(const std::string &display, Options options);

    // Whether the window was mapped and painted.
    bool isShown() const { return m_window != 0; }
    std::uint32_t window() const { return m_window; }
    pid_t pid() const { return m_process ? m_process->pid() : -1; }
    const Options &options() const { return m_options; }
    void close() { m_process.reset(); }

    // The next "click X Y" the window reported, as a point; none on timeout.
    std::optional<QPoint> waitForClick(int timeoutMs);

    // The expected colour (0xRRGGBB) at a point of the window (not for --animate).
    std::uint32_t expectedPixel(int x, int y) const;

private:
    Options m_options;
    std::unique_ptr<ChildProcess> m_process;
    std::uint32_t m_window = 0;
};

// Paths of the programs that tests start.
std::string patternWindowExecutable();
std::string lookpaneExecutable();

} // namespace lookpane::testing
