#include "frame/ScopeBorderView.h"

#include "model/SystemColors.h"

#include <QFontMetricsF>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

#include <algorithm>

namespace lookpane {

ScopeBorderView::ScopeBorderView(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
}

void ScopeBorderView::setPreviewStyle(PreviewStyle style)
{
    if (m_style == style) {
        return;
    }
    m_style = style;
    update();
}

void ScopeBorderView::setPrivacyBlurActive(bool active)
{
    if (m_privacyBlurActive == active) {
        return;
    }
    m_privacyBlurActive = active;
    update();
}

QRectF ScopeBorderView::outlineRect(QRectF bounds)
{
    return bounds.adjusted(3.0, 3.0, -3.0, -3.0);
}

double ScopeBorderView::cornerRadius(QRectF outline)
{
    return std::min(std::min(outline.width(), outline.height()) * 0.5, 10.0);
}

QFont ScopeBorderView::bannerFont()
{
    QFont font;
    font.setPixelSize(12);
    font.setWeight(QFont::DemiBold);
    return font;
}

QString ScopeBorderView::bannerText()
{
    return QStringLiteral("Viewers see a blur");
}

std::optional<QRectF> ScopeBorderView::bannerRect(QRectF outline)
{
    const QFontMetricsF metrics(bannerFont());
    const double width = metrics.horizontalAdvance(bannerText()) + 24.0;
    const double height = metrics.height() + 10.0;
    if (width + 8.0 >= outline.width() || height + 8.0 >= outline.height()) {
        return std::nullopt;
    }
    // Centred horizontally, 6 below the outline's top edge.
    return QRectF(outline.center().x() - width * 0.5, outline.top() + 6.0, width, height);
}

void ScopeBorderView::paintEvent(QPaintEvent *event)
{
    const qreal ratio = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * ratio).toSize();
    const QColor highlight = palette().color(QPalette::Highlight);
    if (m_paintedSize != pixels || m_paintedRatio != ratio ||
        m_paintedBlur != m_privacyBlurActive || m_paintedHighlight != highlight) {
        // The outline (pen and rounded corner) lies within 24 pixels of each edge at scale 1;
        // the top band reaches below the banner as well.
        const int edge = qCeil(24 * ratio);
        int top = edge;
        if (const std::optional<QRectF> banner =
                bannerRect(outlineRect(QRectF(QPointF(0, 0), QSizeF(size()))))) {
            top = std::max(top, qCeil((banner->bottom() + 2) * ratio));
        }
        const int middle = pixels.height() - top - edge;
        std::vector<QRect> areas;
        if (middle <= 0 || pixels.width() <= 2 * edge) {
            // Too small for bands that do not overlap: the whole view.
            areas = {QRect(QPoint(0, 0), pixels)};
        } else {
            areas = {QRect(0, 0, pixels.width(), top), QRect(0, top + middle, pixels.width(), edge),
                     QRect(0, top, edge, middle), QRect(pixels.width() - edge, top, edge, middle)};
        }
        m_bands.clear();
        for (const QRect &area : areas) {
            if (area.isEmpty()) {
                continue;
            }
            QImage image(area.size(), QImage::Format_ARGB32_Premultiplied);
            image.setDevicePixelRatio(ratio);
            image.fill(Qt::transparent);
            {
                QPainter painter(&image);
                painter.translate(-QPointF(area.topLeft()) / ratio);
                paint(painter, size());
            }
            m_bands.push_back({area, std::move(image)});
        }
        m_paintedSize = pixels;
        m_paintedRatio = ratio;
        m_paintedBlur = m_privacyBlurActive;
        m_paintedHighlight = highlight;
    }
    QPainter painter(this);
    for (const Band &band : m_bands) {
        const QRectF logical(QPointF(band.area.topLeft()) / ratio,
                             QSizeF(band.area.size()) / ratio);
        if (event->region().intersects(logical.toAlignedRect())) {
            painter.drawImage(logical, band.image);
        }
    }
}

void ScopeBorderView::paint(QPainter &painter, QSizeF size) const
{
    const QRectF outline = outlineRect(QRectF(QPointF(0.0, 0.0), size));
    if (!(outline.width() > 0.0 && outline.height() > 0.0)) {
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    // Only the outline: a painter handed in may come with a brush of its own.
    painter.setBrush(Qt::NoBrush);
    const double radius = cornerRadius(outline);
    QPainterPath path;
    path.addRoundedRect(outline, radius, radius);
    // A dark halo keeps the outline visible on light content.
    painter.setPen(QPen(QColor(0, 0, 0, qRound(0.6 * 255)), 5.0));
    painter.drawPath(path);
    if (m_privacyBlurActive) {
        painter.setPen(QPen(SystemColors::orange, 4.0));
    } else {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2.5));
    }
    painter.drawPath(path);
    if (m_privacyBlurActive) {
        drawBanner(painter, outline);
    }
    painter.restore();
}

void ScopeBorderView::drawBanner(QPainter &painter, QRectF outline) const
{
    const std::optional<QRectF> banner = bannerRect(outline);
    if (!banner) {
        return;
    }
    const double radius = banner->height() * 0.5;
    QPainterPath pill;
    pill.addRoundedRect(*banner, radius, radius);
    painter.fillPath(pill, m_privacyBlurActive ? SystemColors::orange
                                               : palette().color(QPalette::Highlight));
    painter.setFont(bannerFont());
    painter.setPen(Qt::black);
    painter.drawText(*banner, Qt::AlignCenter | Qt::TextSingleLine, bannerText());
}

} // namespace lookpane
