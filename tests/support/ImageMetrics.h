#pragma once

#include <QImage>

namespace lookpane::testing {

// Measures of pictures for assertions on what a view or a window shows.

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
// Root mean square error of the red, green and blue channels, on a scale of 0 (the same
// pictures) to 1 (black against white everywhere), as ImageMagick's `compare -metric RMSE`
// reports it normalised. Pictures of different sizes are compared over the area they share.
double rootMeanSquareError(const QImage &a, const QImage &b);

} // namespace lookpane::testing
