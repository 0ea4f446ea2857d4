#pragma once

#include <QPoint>
#include <QSize>

namespace lookpane::testing {

// Where the shipped toolbar puts its controls, read from the toolbar itself: the real
// FrameToolbarWindowController laid out in this process the way Lookpane lays it out. Tests
// that drive the real executable click its toolbar at these places rather than at numbers of
// their own, so that a control added, dropped or resized moves their clicks with it.
// Places are taken from the panel's top-left corner.
struct ToolbarControls
{
    // The panel with the base row and with the drawing row.
    QSize baseRowSize;
    QSize drawingRowSize;

    // The base row.
    QPoint framing;
    QPoint draw;
    QPoint blur;
    QPoint clickThrough;
    QPoint detach;
    QPoint pin;
    QPoint hide;
    // The drawing row.
    QPoint undo;
    QPoint clear;
    QPoint done;
    // A point of the strip's own background, left of every control: a press there drags the
    // box along, a right-click opens the status menu.
    QPoint grip;
};

// The toolbar's controls, laid out once per process (off screen when there is no
// QApplication yet).
const ToolbarControls &toolbarControls();

} // namespace lookpane::testing
