#pragma once

#include "frame/PreviewStyle.h"

#include <QFont>
#include <QWidget>

#include <optional>

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
};

} // namespace lookpane
