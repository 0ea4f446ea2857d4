#pragma once

#include "model/AnnotationColor.h"

#include <QAbstractButton>

namespace lookpane {

// A two-state swatch of a drawing colour: a filled circle with a light rim, nothing else. The
// selected swatch is drawn at full strength, the others faded (`setOpacity`).
class ColorSwatchButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit ColorSwatchButton(AnnotationColor color, QWidget *parent = nullptr);

    AnnotationColor swatchColor() const { return m_color; }
    // The index of the colour in its list of cases, unless set otherwise.
    int tag() const { return m_tag; }
    void setTag(int tag) { m_tag = tag; }

    qreal opacity() const { return m_opacity; }
    void setOpacity(qreal opacity);

    // The swatch's picture: the circle inscribed in an 18 × 18 square inset by 2, filled with
    // the colour and stroked in white at 80 % with width 1.
    static QImage swatchImage(AnnotationColor color, qreal devicePixelRatio = 1.0);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    AnnotationColor m_color;
    int m_tag;
    qreal m_opacity = 1.0;
};

// The fixed width of a swatch.
inline constexpr int swatchWidth = 24;

} // namespace lookpane
