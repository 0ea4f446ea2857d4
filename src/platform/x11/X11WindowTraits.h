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

} // namespace lookpane::X11WindowTraits
