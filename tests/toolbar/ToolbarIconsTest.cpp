// The toolbar's own symbols: every one loads from the resource and draws something; a missing
// one falls back to the short title.
#include "ToolbarTestSupport.h"

#include "toolbar/ColorSwatchButton.h"
#include "toolbar/SymbolButton.h"
#include "toolbar/SymbolIcons.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QIcon>
#include <QSvgRenderer>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

const QStringList symbolNames = {"aspectratio",
                                 "pencil.tip.crop.circle",
                                 "eye.slash",
                                 "cursorarrow.click",
                                 "rectangle.on.rectangle",
                                 "pin",
                                 "xmark",
                                 "scribble",
                                 "line.diagonal",
                                 "arrow.up.right",
                                 "rectangle",
                                 "oval",
                                 "arrow.uturn.backward",
                                 "trash",
                                 "checkmark"};

int opaquePixels(const QImage &image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    int count = 0;
    for (int y = 0; y < argb.height(); ++y) {
        for (int x = 0; x < argb.width(); ++x) {
            if (qAlpha(argb.pixel(x, y)) > 100) {
                ++count;
            }
        }
    }
    return count;
}

} // namespace

TEST(ToolbarIcons, EverySymbolLoadsFromTheResourceAndDrawsPixels)
{
    for (const QString &name : symbolNames) {
        SCOPED_TRACE(name.toStdString());
        const QIcon icon = symbolIcon(name);
        ASSERT_FALSE(icon.isNull());
        const QImage image = icon.pixmap(QSize(18, 18), 1.0).toImage();
        EXPECT_EQ(image.size(), QSize(18, 18));
        const int painted = opaquePixels(image);
        EXPECT_GT(painted, 12);
        // Line icons: strokes, not filled blocks.
        EXPECT_LT(painted, 18 * 18 / 2);

        // The file itself is a valid 24 × 24 SVG, readable by the platform's own icon loader.
        ASSERT_TRUE(QFile::exists(symbolResourcePath(name)));
        QSvgRenderer renderer(symbolResourcePath(name));
        EXPECT_TRUE(renderer.isValid());
        EXPECT_EQ(renderer.viewBox(), QRect(0, 0, 24, 24));
        const QIcon plain(symbolResourcePath(name));
        EXPECT_FALSE(plain.isNull());
        EXPECT_GT(opaquePixels(plain.pixmap(QSize(24, 24), 1.0).toImage()), 12);
    }
}

TEST(ToolbarIcons, SymbolsTakeTheirTint)
{
    const QImage orange = symbolIcon("eye.slash", QColor(0xFF, 0x95, 0x00)).pixmap(18).toImage();
    const QImage plain = symbolIcon("eye.slash").pixmap(18).toImage();
    EXPECT_GT(countPixelsNear(orange, QColor(0xFF, 0x95, 0x00), 30), 10);
    EXPECT_EQ(countPixelsNear(plain, QColor(0xFF, 0x95, 0x00), 30), 0);
    EXPECT_GT(countPixelsNear(plain, symbolColor, 30), 10);
}

TEST(ToolbarIcons, UnknownSymbolHasNoIcon)
{
    EXPECT_TRUE(symbolIcon("no.such.symbol").isNull());
    EXPECT_TRUE(symbolIcon("").isNull());
}

TEST(ToolbarIcons, MissingSymbolFallsBackToTheShortTitle)
{
    SymbolButton button("no.such.symbol", "Size", "Aspect ratio", SymbolButton::Kind::momentary);
    EXPECT_FALSE(button.hasSymbol());
    EXPECT_EQ(button.text(), "Size");
    EXPECT_EQ(button.toolTip(), "Aspect ratio");
    EXPECT_GE(button.sizeHint().width(), 30);
    EXPECT_GT(button.sizeHint().width(),
              button.fontMetrics().horizontalAdvance(QStringLiteral("Size")));
    button.resize(button.sizeHint());
    const QImage shown = button.grab().toImage();
    // The title is drawn in the light foreground colour.
    EXPECT_GT(countPixelsNear(shown, symbolColor, 60), 5);

    // A tint reaches the title too.
    button.setTint(QColor(0xFF, 0x95, 0x00));
    EXPECT_GT(countPixelsNear(button.grab().toImage(), QColor(0xFF, 0x95, 0x00), 60), 5);

    SymbolButton known("pin", "Pin", "Keep the box above other windows",
                       SymbolButton::Kind::toggle);
    EXPECT_TRUE(known.hasSymbol());
    EXPECT_EQ(known.sizeHint(), QSize(30, 28));
}

TEST(ToolbarIcons, SwatchIsAFilledCircleWithALightRim)
{
    const QImage swatch = ColorSwatchButton::swatchImage(AnnotationColor::blue);
    ASSERT_EQ(swatch.size(), QSize(18, 18));
    const QImage argb = swatch.convertToFormat(QImage::Format_ARGB32);
    // Centre: the colour; corners (outside the inset circle): nothing.
    EXPECT_EQ(argb.pixelColor(9, 9), QColor(0x00, 0x7A, 0xFF));
    EXPECT_EQ(qAlpha(argb.pixel(0, 0)), 0);
    EXPECT_EQ(qAlpha(argb.pixel(17, 17)), 0);
    EXPECT_EQ(qAlpha(argb.pixel(0, 9)), 0);
    // The rim on the circle's left edge (x = 2) is light.
    const QColor rim = argb.pixelColor(2, 9);
    EXPECT_GT(rim.alpha(), 100);
    EXPECT_GT(rim.red(), 120);
}
