#pragma once

#include <QImage>
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

// Mean absolute Laplacian (4-neighbour) of the luminance: the high-frequency energy.
double laplacianEnergy(const QImage &image);
// The same on the image scaled down by `factor`: the energy of coarse structure, which the
// rounding of smooth gradients to whole levels does not disturb.
double coarseEnergy(const QImage &image, int factor);
// Largest difference of any channel between the mean colours of two images' blocks.
int maxBlockMeanDifference(const QImage &a, const QImage &b, int block);
// Largest difference of any channel of any pixel.
int maxPixelDifference(const QImage &a, const QImage &b);
double meanPixelDifference(const QImage &a, const QImage &b);

// Processes events until `condition` holds; false after `timeoutMs`.
bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 10000);
// Shows a top-level widget at `position` on the private server and waits until it is exposed.
bool showAndWait(QWidget &widget, QPoint position);
// Writes `image` as NAME.png into $LOOKPANE_SCREENSHOT_DIR when that is set.
void saveScreenshot(const QImage &image, const char *name);

} // namespace lookpane::testing
