#pragma once

#include "ImageMetrics.h"
#include "QtWait.h"

#include <QColor>
#include <QImage>
#include <QRect>
#include <QSize>

#include <functional>

class QWidget;

namespace lookpane::testing {

// A picture of fine detail spread evenly: rows of 11-pixel text every 16 pixels and one-pixel
// rules on a 64-pixel grid on a light background, so every 64-pixel block has about the same
// mean colour.
QImage finePrintPicture(QSize size);
// Large coloured blocks with captions, as a window layout looks (for looking at the result).
QImage colouredBlocksPicture(QSize size);
// One colour all over.
QImage solidPicture(QSize size, QColor colour);
// How many pixels of `area` are within `tolerance` of `colour` in every channel.
int pixelsNear(const QImage &image, const QRect &area, QColor colour, int tolerance);

// Shows a top-level widget at `position` on the private server and waits until it is exposed.
bool showAndWait(QWidget &widget, QPoint position);
// Writes `image` as NAME.png into $LOOKPANE_SCREENSHOT_DIR when that is set.
void saveScreenshot(const QImage &image, const char *name);

} // namespace lookpane::testing
