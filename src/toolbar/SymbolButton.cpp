#include "toolbar/SymbolButton.h"

#include "toolbar/SymbolIcons.h"

#include <QPainter>
#include <QPainterPath>

namespace lookpane {

namespace {

constexpr QSize symbolSize(18, 18);
constexpr qreal cellRadius = 6.0;
constexpr int titlePadding = 8;

} // namespace

SymbolButton::SymbolButton(const QString &symbolName, const QString &shortTitle,
                           const QString &toolTip, Kind kind, QWidget *parent)
    : QAbstractButton(parent), m_symbolName(symbolName), m_icon(symbolIcon(symbolName))
{
    setText(shortTitle);
    setToolTip(toolTip);
    setAccessibleName(hasSymbol() ? toolTip : shortTitle);
    setAccessibleDescription(toolTip);
    setCheckable(kind == Kind::toggle);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setMinimumWidth(controlMinimumWidth);
}

void SymbolButton::setTint(std::optional<QColor> tint)
{
    if (m_tint == tint) {
        return;
    }
    m_tint = tint;
    if (hasSymbol()) {
        m_icon = symbolIcon(m_symbolName, foregroundColor());
    }
    QWidget::update();
}

QSize SymbolButton::sizeHint() const
{
    if (hasSymbol()) {
        return {controlMinimumWidth, controlHeight};
    }
    const int textWidth = fontMetrics().horizontalAdvance(text());
    return {std::max(controlMinimumWidth, textWidth + 2 * titlePadding), controlHeight};
}

QColor SymbolButton::foregroundColor() const
{
    return m_tint.value_or(symbolColor);
}

void SymbolButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    // The cell: lit while pressed, while on, and (more faintly) under the mouse.
    int cellAlpha = 0;
    if (isDown()) {
        cellAlpha = 80;
    } else if (isChecked()) {
        cellAlpha = 56;
    } else if (underMouse() && isEnabled()) {
        cellAlpha = 28;
    }
    if (cellAlpha > 0) {
        QPainterPath cell;
        cell.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cellRadius, cellRadius);
        painter.fillPath(cell, QColor(255, 255, 255, cellAlpha));
    }

    painter.setOpacity(isEnabled() ? 1.0 : 0.35);
    if (hasSymbol()) {
        const QPixmap pixmap = m_icon.pixmap(symbolSize, devicePixelRatioF());
        const QRect target(QPoint(0, 0), symbolSize);
        painter.drawPixmap(target.translated(rect().center() - target.center()), pixmap);
    } else {
        painter.setPen(foregroundColor());
        painter.drawText(rect(), Qt::AlignCenter, text());
    }
}

} // namespace lookpane
