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
    // The outline and banner as painted for the current size and state: four bands along the
    // edges (the top one tall enough for the banner), each with the rectangle it covers, in
    // pixels. The box repaints this view with every picture beneath it: blending the bands
    // costs a few small copies, where stroking the outline anew spans every row of the window
    // (and Qt hands long span lists to a pool of threads). Bands, not a window-sized image,
    // so that the cache costs memory along the edges only.
    struct Band
    {
        QRect area;
        QImage image;
    };
    std::vector<Band> m_bands;
    QSize m_paintedSize;
    qreal m_paintedRatio = 0;
    bool m_paintedBlur = false;
    QColor m_paintedHighlight;
};

} // namespace lookpane
