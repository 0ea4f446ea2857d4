#pragma once

#include <QByteArray>
#include <QRect>

#include <cstdint>
#include <vector>

class QWidget;

// Window properties that Qt does not offer on X11, set on a shown top-level window.
// Each function does nothing (and returns false) off X11 or for a window without a native
// handle. X errors are consumed here and logged to "lookpane.platform.x11" (see
// platform/x11/XErrors.h); the function then returns false.
namespace lookpane::X11WindowTraits {

// Sets the window's input shape to `rects` (window coordinates, pixels): clicks outside them
// go to whatever lies beneath. An empty list lets every click through.
bool setInputRegion(QWidget *window, const std::vector<QRect> &rects);
// Restores the default input shape: the whole window takes clicks.
bool clearInputRegion(QWidget *window);

// Sets the window's bounding shape: only `rects` (window coordinates) remain of the window,
// on screen and for the mouse. Without a compositing manager this is how a window shows the
// windows beneath through its middle.
bool setBoundingRegion(QWidget *window, const std::vector<QRect> &rects);
// Restores the window's full rectangular shape.
bool clearBoundingRegion(QWidget *window);

// The bands along the window's edges that take clicks while its interior lets them through.
std::vector<QRect> edgeBands(const QSize &size, int band);

// Names the window's role (WM_WINDOW_ROLE), which tells Lookpane's windows apart for window
// managers and session tools: "frame", "share", "toolbar". Qt writes it onto the X window
// when it creates it, or at once when there is one.
bool setWindowRole(QWidget *window, const QByteArray &role);

// What a window is to the window manager and to programs that list windows
// (_NET_WM_WINDOW_TYPE).
enum class WindowType
{
    utility, // belongs to another window and works on it: the box, the toolbar
    dialog,  // opened for a while to tell or ask something: settings, guide, alerts
};

// Makes the window a `type` window instead of a "normal" one. Qt gives every window the type
// "normal", as the only one or as a fallback after the type its flags ask for, and the window
// pickers of screen-sharing applications (those built on WebRTC: browsers and the meeting
// clients built on them) offer every window whose types include "normal". Only the share window
// is meant to be picked there: any other Lookpane window offered beside it under Lookpane's
// name invites a viewer to be shown the wrong one (the box shows the unblurred picture).
//
// Where "normal" stands in Qt's list, `type` takes its place; the other types Qt wrote stay,
// in their order, so that a window manager treats the window as before except for its type.
// The type is kept from now on: written before each show (window managers read it when they
// take a window in, never after) and again whenever Qt writes its own list (when it creates the
// X window or its flags change). A window that Qt re-creates while showing it (a changed
// stay-on-top flag) is mapped with Qt's list and corrected a moment later: pickers then see the
// right type, and the window manager treats the window as a normal one until its next show.
// False for anything but a top-level widget, off X11, or when the type could not be written.
bool setWindowType(QWidget *window, WindowType type);

} // namespace lookpane::X11WindowTraits
