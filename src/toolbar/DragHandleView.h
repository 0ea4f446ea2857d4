#pragma once

#include "model/ScreenRect.h"

#include <QPointF>
#include <QWidget>

#include <optional>

namespace lookpane {

// The panel's background, which moves the frame: a press records where the mouse was on the
// screen and reports `dragBegan`; each move reports the total offset since that press (not the
// step since the last move), x to the right and y upwards; the release ends the drag. Presses
// that a control takes never reach it.
//
// The offset is measured in device pixels, which run on continuously from one monitor to the
// next, and given in points of the screen the toolbar was on at the press (pixels divided by
// that screen's scale). Qt's global positions in points jump where the pointer passes onto a
// monitor of another scale, so their difference is no drag.
class DragHandleView : public QWidget
{
    Q_OBJECT

public:
    explicit DragHandleView(QWidget *parent = nullptr);

    // The global mouse position (Qt's coordinates) of the press of the drag under way.
    std::optional<QPointF> dragOrigin() const { return m_dragOrigin; }

Q_SIGNALS:
    void dragBegan();
    // The total offset since the press, in points of the screen of the press, x to the right
    // and y upwards.
    void dragged(lookpane::ScreenOffset offset);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    std::optional<QPointF> m_dragOrigin;
    // Where the press was in device pixels, and the scale of the toolbar's screen then.
    QPointF m_pressDevicePosition;
    double m_pressScale = 1.0;
};

} // namespace lookpane
