#pragma once

#include <QWidget>

#include <functional>

namespace lookpane {

class FramePreferences;

// The plain black, borderless window that stands where the frame window will be: placed at
// the restored frame, saving its rectangle whenever it moves, is resized or closes.
class FrameWindowPlaceholder : public QWidget
{
    Q_OBJECT
public:
    explicit FrameWindowPlaceholder(FramePreferences &preferences, QWidget *parent = nullptr);

    // The window's rectangle in design coordinates.
    QRectF designFrame() const;
    void saveFrame();

protected:
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    FramePreferences &m_preferences;
};

} // namespace lookpane
