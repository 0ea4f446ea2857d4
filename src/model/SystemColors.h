#pragma once

#include <QColor>

namespace lookpane::SystemColors {

// The named colours every view draws with.
inline const QColor red{0xFF, 0x3B, 0x30};
inline const QColor yellow{0xFF, 0xCC, 0x00};
inline const QColor green{0x34, 0xC7, 0x59};
inline const QColor blue{0x00, 0x7A, 0xFF};
inline const QColor orange{0xFF, 0x95, 0x00};
inline const QColor white{0xFF, 0xFF, 0xFF};

} // namespace lookpane::SystemColors
