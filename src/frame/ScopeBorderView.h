#pragma once

#include "frame/PreviewStyle.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QRect>
#include <QWidget>

#include <optional>
#include <vector>

namespace lookpane {

// The rounded outline of the shared region, and while privacy blur is on the orange
// "Viewers see a blur" banner that only the user sees. Never takes the mouse.
class ScopeBorderView : public QWidget
{
public:
    explicit ScopeBorderView(QWidget *parent = nullptr);

    void setPreviewStyle(PreviewStyle style);
    PreviewStyle previewStyle() const { return m_style; }
    void setPrivacyBlurActive(bool active);
    bool privacyBlurActive() const { return m_privacyBlurActive; }

    // The outline: the bounds inset by 3 on each side, and its corner radius.
    static QRectF outlineRect(QRectF bounds);
    static double cornerRadius(QRectF outline);
    // Where the banner goes inside `outline` (widget coordinates, y down), or none when the
    // outline is not at least 8 wider and taller than the banner.
    static std::optional<QRectF> bannerRect(QRectF outline);
    static QFont bannerFont();
    static QString bannerText();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // Paints the outline (and the banner) for a view of `size`.
    void paint(QPainter &painter, QSizeF size) const;
    void drawBanner(QPainter &painter, QRectF outline) const;

    PreviewStyle m_style = PreviewStyle::mirror;
    bool m_privacyBlurActive = false;
    // The outline and banner as painted for the current size and state, and the tiles of it
    // that hold anything (pixels). The box repaints this view with every picture beneath it:
    // blending those tiles costs a few small copies, where stroking the outline anew spans
    // every row of the window (and Qt hands long span lists to a pool of threads).
    QImage m_painted;
    std::vector<QRect> m_paintedAreas;
    bool m_paintedBlur = false;
    QColor m_paintedHighlight;
};

} // namespace lookpane
