// Which parts of the overlay image are laid over the picture.
#include "render/OverlayLayer.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

using namespace lookpane;

namespace {

QImage clearImage(QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

TEST(OverlayLayerAreas, AnEmptyOverlayCoversNothing)
{
    EXPECT_TRUE(OverlayLayer::paintedAreas(clearImage({640, 360}), 16).empty());
}

TEST(OverlayLayerAreas, OnePaintedPixelCoversItsTileOnly)
{
    QImage image = clearImage({640, 360});
    image.setPixel(100, 50, qRgba(255, 0, 0, 255));
    const std::vector<QRect> areas = OverlayLayer::paintedAreas(image, 16);
    ASSERT_EQ(areas.size(), 1u);
    EXPECT_EQ(areas[0], QRect(96, 48, 16, 16));
}

TEST(OverlayLayerAreas, NeighbouringTilesOfARowAreMergedAndEdgeTilesClipped)
{
    QImage image = clearImage({100, 40});
    // A line across the whole width in the second row of tiles, and one pixel in the last,
    // partial tile of the first row.
    for (int x = 0; x < 100; ++x) {
        image.setPixel(x, 20, qRgba(0, 0, 0, 153));
    }
    image.setPixel(99, 0, qRgba(0, 0, 0, 1));
    const std::vector<QRect> areas = OverlayLayer::paintedAreas(image, 16);
    ASSERT_EQ(areas.size(), 2u);
    EXPECT_EQ(areas[0], QRect(96, 0, 4, 16));
    EXPECT_EQ(areas[1], QRect(0, 16, 100, 16));
}

TEST(OverlayLayerAreas, AnOutlineCoversOnlyABandAlongTheEdges)
{
    QImage image = clearImage({1920, 1080});
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Qt::black, 5));
        painter.drawRoundedRect(QRectF(3, 3, 1914, 1074), 10, 10);
    }
    qint64 covered = 0;
    for (const QRect &area : OverlayLayer::paintedAreas(image, 16)) {
        covered += qint64(area.width()) * area.height();
    }
    // The two bands of 16-pixel tiles along each edge, no more.
    EXPECT_GT(covered, 0);
    EXPECT_LE(covered, 2 * 16 * (1920 + 1080) * 2);
    EXPECT_LT(covered * 10, qint64(1920) * 1080);
}
