#include "toolbar/SymbolIcons.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

// Resources of a static library are registered explicitly: nothing else references the object
// file that holds them, so the linker would otherwise drop it.
static void registerToolbarIcons()
{
    Q_INIT_RESOURCE(toolbar_icons);
}

namespace lookpane {

namespace {

void ensureIconsRegistered()
{
    static const bool registered = [] {
        registerToolbarIcons();
        return true;
    }();
    (void)registered;
}

// The SVG drawn into a transparent image, every painted pixel then given `color` while keeping
// its coverage, so the one-colour strokes take any tint.
QPixmap renderTinted(QSvgRenderer &renderer, const QColor &color, QSize size, qreal scale)
{
    QImage image(size * scale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(image.size())));
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
    }
    image.setDevicePixelRatio(scale);
    return QPixmap::fromImage(image);
}

} // namespace

QString symbolResourcePath(const QString &symbolName)
{
    return QStringLiteral(":/toolbar/%1.svg").arg(symbolName);
}

QIcon symbolIcon(const QString &symbolName, const QColor &color, QSize size)
{
    ensureIconsRegistered();
    const QString path = symbolResourcePath(symbolName);
    if (symbolName.isEmpty() || !QFile::exists(path)) {
        return {};
    }
    QSvgRenderer renderer(path);
    if (!renderer.isValid()) {
        return {};
    }
    QIcon icon;
    for (const qreal scale : {1.0, 2.0}) {
        icon.addPixmap(renderTinted(renderer, color, size, scale));
    }
    return icon;
}

} // namespace lookpane
