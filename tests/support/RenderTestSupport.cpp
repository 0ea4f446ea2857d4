#include "RenderTestSupport.h"

#include "XReadback.h"

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

QImage solidPicture(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

int pixelsNear(const QImage &image, const QRect &area, QColor colour, int tolerance)
{
    return area.width() * area.height() - countPixelsNotNear(image, area, colour, tolerance);
}

} // namespace lookpane::testing
