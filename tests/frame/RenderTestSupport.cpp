#include "RenderTestSupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QThread>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace lookpane::testing {

QImage finePrintPicture(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(236, 236, 232));
    QPainter painter(&image);
    QFont font;
    font.setPixelSize(11);
    painter.setFont(font);
    const QString line = QStringLiteral(
        "Quarterly figures: revenue 4,218.37 EUR; account 0049-2216-7781; pass: hX7#kq2! ");
    // The text repeats without gaps, so dark ink is spread evenly over every block.
    const int step = QFontMetrics(font).horizontalAdvance(line);
    int row = 0;
    for (int y = 12; y < size.height(); y += 16, ++row) {
        painter.setPen(QColor(30, 40, 90));
        for (int x = -((row * 37) % step); x < size.width(); x += step) {
            painter.drawText(QPoint(x, y), line);
        }
    }
    // One-pixel rules on a 64-pixel grid: the pattern repeats with every block.
    painter.setPen(QColor(200, 40, 40));
    for (int y = 14; y < size.height(); y += 64) {
        painter.drawLine(0, y, size.width(), y);
    }
    for (int x = 5; x < size.width(); x += 64) {
        painter.drawLine(x, 0, x, size.height());
    }
    return image;
}

QImage colouredBlocksPicture(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(245, 245, 245));
    QPainter painter(&image);
    const QColor colours[] = {QColor(220, 50, 50), QColor(40, 160, 70), QColor(40, 90, 210),
                              QColor(240, 190, 30)};
    const int w = size.width();
    const int h = size.height();
    // A title bar, a side bar and four coloured cards.
    painter.fillRect(0, 0, w, h / 12, QColor(50, 55, 65));
    painter.fillRect(0, h / 12, w / 6, h, QColor(225, 228, 235));
    for (int i = 0; i < 4; ++i) {
        const QRect card(w / 6 + 20 + (i % 2) * (w * 5 / 12), h / 12 + 20 + (i / 2) * (h * 11 / 24),
                         w * 5 / 12 - 40, h * 11 / 24 - 40);
        painter.fillRect(card, colours[i]);
        painter.fillRect(card.adjusted(12, 40, -12, -12), Qt::white);
        QFont font;
        font.setPixelSize(11);
        painter.setFont(font);
        painter.setPen(Qt::black);
        for (int y = card.top() + 56; y < card.bottom() - 16; y += 14) {
            painter.drawText(QPoint(card.left() + 20, y),
                             QStringLiteral("Card %1: meeting notes, line at y=%2, code 7Q-%3")
                                 .arg(i + 1)
                                 .arg(y)
                                 .arg(y * 31 % 997));
        }
    }
    QFont title;
    title.setPixelSize(11);
    painter.setFont(title);
    painter.setPen(Qt::white);
    painter.drawText(QPoint(12, h / 24 + 4), QStringLiteral("Project dashboard - confidential"));
    return image;
}

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

bool waitUntil(const std::function<bool()> &condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return true;
}

bool showAndWait(QWidget &widget, QPoint position)
{
    widget.setWindowFlag(Qt::FramelessWindowHint);
    widget.move(position);
    widget.show();
    return waitUntil([&widget] {
        return widget.windowHandle() != nullptr && widget.windowHandle()->isExposed();
    });
}

void saveScreenshot(const QImage &image, const char *name)
{
    const char *folder = std::getenv("LOOKPANE_SCREENSHOT_DIR");
    if (folder == nullptr || *folder == '\0') {
        return;
    }
    QDir().mkpath(QString::fromLocal8Bit(folder));
    image.save(QDir(QString::fromLocal8Bit(folder)).filePath(QString::fromLatin1(name) + ".png"));
}

} // namespace lookpane::testing
