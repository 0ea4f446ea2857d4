#pragma once

#include <QWidget>

namespace lookpane {

class DragHandleView;

// The toolbar's top-level window: a frameless, rounded, translucent dark strip that floats
// above other windows, is on every virtual desktop, and never takes the keyboard focus or
// activates the application, not even when clicked. Its whole content is a DragHandleView.
class ToolbarPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ToolbarPanel(QWidget *parent = nullptr);

    DragHandleView *dragHandle() const { return m_dragHandle; }

    // Whether the last paint blended the rounded strip with the desktop (a compositing manager
    // was running) rather than filling the whole window opaquely.
    bool paintedTranslucent() const { return m_paintedTranslucent; }

    // The strip's colours: translucent over a compositing desktop, opaque otherwise.
    static QColor translucentFill();
    static QColor opaqueFill();

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    DragHandleView *m_dragHandle;
    bool m_paintedTranslucent = false;
};

} // namespace lookpane
