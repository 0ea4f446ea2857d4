#pragma once

#include <QImage>
#include <QRect>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct xcb_connection_t;

namespace lookpane::testing {

// Reads what an X server shows, through a connection of its own, for assertions on pixels
// and windows. Every function takes the display name (":N") of the test's private server.

// A rectangle of the root window, as the screen shows it (Format_RGB32).
QImage grabScreenRect(const std::string &display, const QRect &rect);
// A window's own contents (Format_RGB32); null when the window is gone or unviewable.
QImage grabWindow(const std::string &display, std::uint32_t window);

// Reads windows' pixels over one connection that it keeps open, for tests that read frame
// after frame as a meeting application does (a connection per read would cost more than the
// read).
class WindowReader
{
public:
    explicit WindowReader(const std::string &display);
    ~WindowReader();

    WindowReader(const WindowReader &) = delete;
    WindowReader &operator=(const WindowReader &) = delete;

    bool isConnected() const;
    // The whole window (Format_RGB32); null when it is gone or unviewable.
    QImage grab(std::uint32_t window);
    // The part `rect` (window coordinates) of the window; null when it cannot be read.
    QImage grab(std::uint32_t window, const QRect &rect);

private:
    struct Closer
    {
        void operator()(xcb_connection_t *connection) const;
    };
    std::unique_ptr<xcb_connection_t, Closer> m_connection;
};

struct WindowInfo
{
    std::uint32_t id = 0;
    QString title;  // _NET_WM_NAME, else WM_NAME
    QRect geometry; // in root coordinates, without window-manager decorations
    bool viewable = false;
    QString role; // WM_WINDOW_ROLE
    bool overrideRedirect = false;
    std::uint32_t parent = 0; // the window it is a child of
    bool topLevel = false;    // a child of the root
    int pid = 0;              // _NET_WM_PID; 0 when the window does not say
};

// Every window in the tree (root excluded) that `matches`.
std::vector<WindowInfo> findWindows(const std::string &display,
                                    const std::function<bool(const WindowInfo &)> &matches);
// Every window in the tree (root excluded) whose title equals `title`.
std::vector<WindowInfo> findWindowsByTitle(const std::string &display, const QString &title);
// Every window in the tree whose WM_WINDOW_ROLE equals `role`.
std::vector<WindowInfo> findWindowsByRole(const std::string &display, const QString &role);
// Waits until a viewable window with that role exists; none on timeout.
std::optional<WindowInfo> waitForViewableRole(const std::string &display, const QString &role,
                                              int timeoutMs);

// Waits until a viewable window titled `title` exists; none on timeout.
std::optional<WindowInfo> waitForViewableWindow(const std::string &display, const QString &title,
                                                int timeoutMs);
std::optional<WindowInfo> windowInfo(const std::string &display, std::uint32_t window);

// Whether a press at `point` (window coordinates) inside `window` goes to that window: the
// point lies in its input shape (the whole window when it has none). False when it is gone.
bool takesPointerAt(const std::string &display, std::uint32_t window, QPoint point);

// Where the top-level window that holds `window` (the window itself, or the window manager's
// frame around it) lies among the root's children, counted from the bottom: a window with a
// higher position is drawn over one with a lower. None when the window is gone.
std::optional<int> stackingPosition(const std::string &display, std::uint32_t window);

// Average colour of an image area, and how many pixels differ from a colour by more than
// `tolerance` in any channel.
QColor meanColor(const QImage &image, const QRect &area);
int countPixelsNotNear(const QImage &image, const QRect &area, QColor color, int tolerance);

} // namespace lookpane::testing
