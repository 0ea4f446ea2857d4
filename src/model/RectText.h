#pragma once

#include "model/ScreenRect.h"

#include <QString>

namespace lookpane {

// The stored text form of a rectangle: "{{x, y}, {w, h}}", numbers in their shortest form
// ("800", "12.5"); x and y are the bottom-left corner, as the rectangle is y up.
QString rectToText(const ScreenRect &rect);

// Reads the text form back leniently (blanks and braces may be missing or extra); anything
// that does not hold exactly four finite numbers reads as the zero rectangle.
ScreenRect rectFromText(const QString &text);

// A number in its shortest round-trip form.
QString shortestNumberText(double value);

} // namespace lookpane
