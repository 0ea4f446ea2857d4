#include "PatternWindow.h"

#include <chrono>
#include <cstdio>

namespace lookpane::testing {

std::string patternWindowExecutable()
{
    return LOOKPANE_PATTERN_WINDOW_PATH;
}

std::string lookpaneExecutable()
{
    return LOOKPANE_EXECUTABLE_PATH;
}

PatternWindow::PatternWindow(const std::string &display, Options options)
    : m_options(std::move(options))
{
    char geometry[64];
    std::snprintf(geometry, sizeof geometry, "%dx%d+%d+%d", m_options.geometry.width(),
                  m_options.geometry.height(), m_options.geometry.x(), m_options.geometry.y());
    char color[16];
    std::snprintf(color, sizeof color, "%06x", m_options.color);
    static const char *patternNames[] = {"bars", "checker", "solid", "text"};
    std::vector<std::string> argv{patternWindowExecutable(),
                                  "--geometry",
                                  geometry,
                                  "--pattern",
                                  patternNames[static_cast<int>(m_options.pattern)],
                                  "--color",
                                  color,
                                  "--title",
                                  m_options.title,
                                  "--class",
                                  m_options.windowClass};
    if (m_options.overrideRedirect) {
        argv.emplace_back("--override-redirect");
    }
    if (m_options.animate) {
        argv.emplace_back("--animate");
        argv.emplace_back("--stamp-size");
        argv.emplace_back(std::to_string(m_options.stampSize));
    }
    if (m_options.shapeLeftHalf) {
        argv.insert(argv.end(), {"--shape", "left-half"});
    }
    if (m_options.inputShapeEmpty) {
        argv.insert(argv.end(), {"--input-shape", "empty"});
    }
    if (m_options.argbAlpha >= 0) {
        char alpha[8];
        std::snprintf(alpha, sizeof alpha, "%02x", m_options.argbAlpha & 0xFF);
        argv.insert(argv.end(), {"--argb", alpha});
    }
    if (m_options.nest > 0) {
        argv.emplace_back("--nest");
        argv.emplace_back(std::to_string(m_options.nest));
    }
    if (m_options.undecorated) {
        argv.emplace_back("--undecorated");
    }
    if (m_options.churnChildrenRate > 0) {
        argv.emplace_back("--churn-children");
        argv.emplace_back(std::to_string(m_options.churnChildrenRate));
    }
    if (!m_options.windowType.empty()) {
        argv.insert(argv.end(), {"--window-type", m_options.windowType});
    }
    ChildProcess::Options childOptions;
    childOptions.environment["DISPLAY"] = display;
    childOptions.captureStdout = true;
    m_process = std::make_unique<ChildProcess>(argv, childOptions);
    if (const std::optional<std::string> line = m_process->readLine(std::chrono::seconds(10))) {
        m_window = static_cast<std::uint32_t>(std::strtoul(line->c_str(), nullptr, 16));
    }
}

std::uint32_t PatternWindow::expectedPixel(int x, int y) const
{
    return patternPixel(m_options.pattern, x, y, m_options.geometry.width(),
                        m_options.geometry.height(), m_options.color);
}

} // namespace lookpane::testing

namespace lookpane::testing {

std::optional<QPoint> PatternWindow::waitForClick(int timeoutMs)
{
    if (!m_process) {
        return std::nullopt;
    }
    const auto line = m_process->readLine(std::chrono::milliseconds(timeoutMs));
    int x = 0;
    int y = 0;
    if (!line || std::sscanf(line->c_str(), "click %d %d", &x, &y) != 2) {
        return std::nullopt;
    }
    return QPoint(x, y);
}

} // namespace lookpane::testing
