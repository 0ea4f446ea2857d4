#pragma once

#include "platform/x11/XcbConnection.h"

#include <xcb/xcb.h>

#include <memory>
#include <string>

namespace lookpane::x11 {

// Keeps one window automatically redirected for as long as this object lives: the server
// then keeps the window's contents in an off-screen pixmap of its own, so a program that
// captures just that window (a meeting application sharing it) reads its true contents even
// where other windows cover it on screen. Automatic redirection by several clients at once is
// allowed, and a compositing manager's manual redirection is left alone.
class X11WindowRedirection
{
public:
    // `displayName` ":N", or $DISPLAY when empty.
    explicit X11WindowRedirection(std::uint32_t window, const std::string &displayName = {});
    ~X11WindowRedirection();

    X11WindowRedirection(const X11WindowRedirection &) = delete;
    X11WindowRedirection &operator=(const X11WindowRedirection &) = delete;

    std::uint32_t window() const { return m_window; }
    bool isActive() const { return m_active; }
    // Why the redirection could not be made; empty when it is active.
    const QString &failure() const { return m_failure; }

private:
    std::unique_ptr<XcbConnection> m_connection;
    std::uint32_t m_window = 0;
    bool m_active = false;
    QString m_failure;
};

} // namespace lookpane::x11
