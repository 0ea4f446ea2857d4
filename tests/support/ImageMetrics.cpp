#include "ImageMetrics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace lookpane::testing {

namespace {

double luminance(QRgb p)
{
    return 0.299 * qRed(p) + 0.587 * qGreen(p) + 0.114 * qBlue(p);
}

} // namespace

double laplacianEnergy(const QImage &source)
{
    const QImage image = source.convertToFormat(QImage::Format_RGB32);
    double sum = 0.0;
    long count = 0;
    for (int y = 1; y + 1 < image.height(); ++y) {
        const auto *above = reinterpret_cast<const QRgb *>(image.constScanLine(y - 1));
        const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        const auto *below = reinterpret_cast<const QRgb *>(image.constScanLine(y + 1));
        for (int x = 1; x + 1 < image.width(); ++x) {
            const double l = 4.0 * luminance(row[x]) - luminance(row[x - 1]) -
                             luminance(row[x + 1]) - luminance(above[x]) - luminance(below[x]);
            sum += std::abs(l);
            ++count;
        }
    }
    return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

double coarseEnergy(const QImage &image, int factor)
{
    return laplacianEnergy(
        image.scaled(image.size() / factor, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

int maxBlockMeanDifference(const QImage &a, const QImage &b, int block)
{
    const QImage left = a.convertToFormat(QImage::Format_RGB32);
    const QImage right = b.convertToFormat(QImage::Format_RGB32);
    int worst = 0;
    for (int by = 0; by + block <= left.height(); by += block) {
        for (int bx = 0; bx + block <= left.width(); bx += block) {
            double sums[2][3] = {};
            for (int y = by; y < by + block; ++y) {
                for (int x = bx; x < bx + block; ++x) {
                    const QRgb p = left.pixel(x, y);
                    const QRgb q = right.pixel(x, y);
                    sums[0][0] += qRed(p);
                    sums[0][1] += qGreen(p);
                    sums[0][2] += qBlue(p);
                    sums[1][0] += qRed(q);
                    sums[1][1] += qGreen(q);
                    sums[1][2] += qBlue(q);
                }
            }
            for (int c = 0; c < 3; ++c) {
                const double diff = std::abs(sums[0][c] - sums[1][c]) / (block * block);
                worst = std::max(worst, static_cast<int>(std::lround(diff)));
            }
        }
    }
    return worst;
}

int maxPixelDifference(const QImage &a, const QImage &b)
{
    const QImage left = a.convertToFormat(QImage::Format_RGB32);
    const QImage right = b.convertToFormat(QImage::Format_RGB32);
    int worst = 0;
    for (int y = 0; y < std::min(left.height(), right.height()); ++y) {
        for (int x = 0; x < std::min(left.width(), right.width()); ++x) {
            const QRgb p = left.pixel(x, y);
            const QRgb q = right.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                              std::abs(qBlue(p) - qBlue(q))});
        }
    }
    return worst;
}

double meanPixelDifference(const QImage &a, const QImage &b)
{
    const QImage left = a.convertToFormat(QImage::Format_RGB32);
    const QImage right = b.convertToFormat(QImage::Format_RGB32);
    double sum = 0.0;
    long count = 0;
    for (int y = 0; y < std::min(left.height(), right.height()); ++y) {
        for (int x = 0; x < std::min(left.width(), right.width()); ++x) {
            const QRgb p = left.pixel(x, y);
            const QRgb q = right.pixel(x, y);
            sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) +
                   std::abs(qBlue(p) - qBlue(q));
            count += 3;
        }
    }
    return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

double rootMeanSquareError(const QImage &a, const QImage &b)
{
    const QImage left = a.convertToFormat(QImage::Format_RGB32);
    const QImage right = b.convertToFormat(QImage::Format_RGB32);
    const int width = std::min(left.width(), right.width());
    const int height = std::min(left.height(), right.height());
    if (width <= 0 || height <= 0) {
        return 1.0; // nothing to compare is as far from a picture as can be
    }
    double sum = 0.0;
    for (int y = 0; y < height; ++y) {
        const auto *p = reinterpret_cast<const QRgb *>(left.constScanLine(y));
        const auto *q = reinterpret_cast<const QRgb *>(right.constScanLine(y));
        for (int x = 0; x < width; ++x) {
            const double red = qRed(p[x]) - qRed(q[x]);
            const double green = qGreen(p[x]) - qGreen(q[x]);
            const double blue = qBlue(p[x]) - qBlue(q[x]);
            sum += red * red + green * green + blue * blue;
        }
    }
    const double samples = 3.0 * width * height;
    return std::sqrt(sum / samples) / 255.0;
}

} // namespace lookpane::testing
