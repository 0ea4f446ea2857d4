#include "toolbar/ColorSwatchButton.h"

#include "toolbar/SymbolButton.h"
#include "toolbar/ToolbarTexts.h"

#include <QImage>
#include <QPainter>

namespace lookpane {

namespace {

constexpr int swatchImageSide = 18;
constexpr qreal swatchInset = 2.0;

} // namespace

ColorSwatchButton::ColorSwatchButton(AnnotationColor color, QWidget *parent)
    : QAbstractButton(parent), m_color(color), m_tag(static_cast<int>(caseIndex(color)))
{
    setCheckable(true);
    setToolTip(colorDisplayName(color));
    setAccessibleName(colorDisplayName(color));
    setFocusPolicy(Qt::NoFocus);
    setFixedSize(swatchWidth, controlHeight);
}

void ColorSwatchButton::setOpacity(qreal opacity)
{
    if (qFuzzyCompare(m_opacity, opacity)) {
        return;
    }
    m_opacity = opacity;
    QWidget::update();
}

QImage ColorSwatchButton::swatchImage(AnnotationColor color, qreal devicePixelRatio)
{
    const int side = qRound(swatchImageSide * devicePixelRatio);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(devicePixelRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF circle = QRectF(0, 0, swatchImageSide, swatchImageSide)
                              .adjusted(swatchInset, swatchInset, -swatchInset, -swatchInset);
    painter.setPen(Qt::NoPen);
    painter.setBrush(lookpane::color(color));
    painter.drawEllipse(circle);
    QColor rim(Qt::white);
    rim.setAlphaF(0.8f);
    painter.setPen(QPen(rim, 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(circle);
    return image;
}

QSize ColorSwatchButton::sizeHint() const
{
    return {swatchWidth, controlHeight};
}

void ColorSwatchButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setOpacity(m_opacity);
    const QImage image = swatchImage(m_color, devicePixelRatioF());
    const QRect target(0, 0, swatchImageSide, swatchImageSide);
    painter.drawImage(target.translated(rect().center() - target.center()), image);
}

} // namespace lookpane
