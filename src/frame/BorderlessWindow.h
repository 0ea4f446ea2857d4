#pragma once

#include <QPointer>
#include <QWidget>

#include <optional>

namespace lookpane {

// A frameless top-level window that the user moves by dragging its background and handles by
// 12-point bands along its edges, as window managers' borders are handled: the outermost
// points of an edge and the band near a corner resize (holding a locked aspect ratio), the rest
// of the band moves the window, and the cursor shows which. Both of Lookpane's windows (the
// frame and the detached share window) are of this kind.
class BorderlessWindow : public QWidget
{
    Q_OBJECT
public:
    static constexpr int edgeBand = 12;

    explicit BorderlessWindow(QWidget *parent = nullptr);

    // The width : height held during interactive resizes; none releases it.
    void setAspect(const std::optional<QSize> &aspect);
    std::optional<QSize> aspect() const { return m_aspect; }

    void setMovableByBackground(bool movable) { m_movableByBackground = movable; }
    bool isMovableByBackground() const { return m_movableByBackground; }
    void setResizable(bool resizable) { m_resizable = resizable; }

    bool isLiveResizing() const { return m_drag == Drag::resizing; }

Q_SIGNALS:
    // After the window moved or was resized (by the user or by code), and around an
    // interactive resize from the edges.
    void moved();
    void resized();
    void liveResizeBegan();
    void liveResizeEnded();
    // The window manager (or the user) asked to close the window; it stays open.
    void closeRequested();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    enum class Drag
    {
        none,
        moving,
        resizing
    };

    void updateCursor(const QPointF &position);
    Qt::Edges resizeEdgesAt(const QPointF &position) const;

    std::optional<QSize> m_aspect;
    bool m_movableByBackground = true;
    bool m_resizable = true;
    Drag m_drag = Drag::none;
    Qt::Edges m_edges;
    // Where the press was and where the window's corner was, in device pixels (continuous
    // across monitors of different scales, unlike points), and the scale of its screen then.
    QPointF m_pressDevicePosition;
    QPoint m_startDevicePosition;
    double m_startScale = 1.0;
    QRect m_startGeometry;
};

} // namespace lookpane
