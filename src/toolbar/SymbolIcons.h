#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace lookpane {

// The toolbar's own line icons, one SVG per symbol name ("eye.slash", "pin", ...), drawn in a
// single colour so that they can be tinted.

// The colour the icons are drawn in on the dark panel.
inline const QColor symbolColor{0xF2, 0xF2, 0xF2};

// The resource path of a symbol's SVG, whether or not it exists.
QString symbolResourcePath(const QString &symbolName);

// The symbol rendered at `size` (and at twice that size for high-density screens) in `color`;
// a null icon when no such symbol exists or its file cannot be read.
QIcon symbolIcon(const QString &symbolName, const QColor &color = symbolColor,
                 QSize size = QSize(18, 18));

} // namespace lookpane
