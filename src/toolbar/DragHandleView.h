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
class DragHandleView : public QWidget
{
    Q_OBJECT

public:
    explicit DragHandleView(QWidget *parent = nullptr);

    // The global mouse position (Qt's coordinates) of the press of the drag under way.
    std::optional<QPointF> dragOrigin() const { return m_dragOrigin; }

Q_SIGNALS:
    void dragBegan();
    // The total offset since the press, in points, x to the right and y upwards.
    void dragged(lookpane::ScreenOffset offset);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    std::optional<QPointF> m_dragOrigin;
};

} // namespace lookpane
