#include "frame/FrameGeometry.h"

#include <algorithm>

namespace lookpane::FrameGeometry {

namespace {
// In screen coordinates a QRectF's y is its lowest edge (y grows upwards), so its "bottom" is
// the top edge: these helpers name the edges for what they are.
double minX(const QRectF &r)
{
    return r.x();
}
double maxX(const QRectF &r)
{
    return r.x() + r.width();
}
double minY(const QRectF &r)
{
    return r.y();
}
double maxY(const QRectF &r)
{
    return r.y() + r.height();
}
} // namespace

QRectF constrained(const QRectF &rect, const std::optional<ScreenLayout::Screen> &screen,
                   const ScreenLayout &layout)
{
    std::optional<ScreenLayout::Screen> chosen = screen;
    if (!chosen) {
        const auto meets = std::find_if(layout.screens.begin(), layout.screens.end(),
                                        [&](const ScreenLayout::Screen &candidate) {
                                            return candidate.frame.intersects(rect);
                                        });
        if (meets != layout.screens.end()) {
            chosen = *meets;
        } else if (layout.mainIndex && *layout.mainIndex < layout.screens.size()) {
            chosen = layout.screens[*layout.mainIndex];
        }
    }
    if (!chosen) {
        return rect;
    }
    const QRectF &visible = chosen->visibleFrame;
    if (rect.width() > visible.width() || rect.height() > visible.height()) {
        return rect;
    }
    const double x = std::min(std::max(minX(visible), rect.x()), maxX(visible) - rect.width());
    const double y = std::min(std::max(minY(visible), rect.y()), maxY(visible) - rect.height());
    return QRectF(x, y, rect.width(), rect.height());
}

QRectF centred(const QSizeF &size, const QRectF &reference)
{
    const QPointF centre = reference.center();
    return QRectF(centre.x() - size.width() * 0.5, centre.y() - size.height() * 0.5, size.width(),
                  size.height());
}

std::optional<QSizeF> sizeLockedTo(FrameRatio ratio, const QSizeF &current)
{
    const std::optional<double> r = ratioValue(ratio);
    if (!r) {
        return std::nullopt;
    }
    return QSizeF(current.width(), current.width() / *r);
}

QSizeF presetSize(const FrameSizePreset &preset, const std::optional<QRectF> &visibleFrame)
{
    if (!visibleFrame) {
        return QSizeF(preset.width, preset.height);
    }
    const double scale = std::min(
        {visibleFrame->width() / preset.width, visibleFrame->height() / preset.height, 1.0});
    return QSizeF(preset.width * scale, preset.height * scale);
}

QRectF snapped(const QRectF &target, FrameRatio ratio, const QSizeF &minimumSize)
{
    double x = target.x();
    double y = target.y();
    double width = target.width();
    double height = target.height();
    if (const std::optional<double> r = ratioValue(ratio)) {
        if (width / height < *r) {
            const double newWidth = *r * height;
            x -= (newWidth - width) * 0.5;
            width = newWidth;
        } else {
            const double newHeight = width / *r;
            y -= (newHeight - height) * 0.5;
            height = newHeight;
        }
    }
    width = std::max(width, minimumSize.width());
    height = std::max(height, minimumSize.height());
    return QRectF(x, y, width, height);
}

QRectF detachedShareFrame(const QRectF &content, const std::optional<QRectF> &visibleFrame,
                          double minimumWidth)
{
    const QRectF visible = visibleFrame.value_or(content);
    double width = std::min(visible.width() * 0.4, content.width());
    width = std::max(width, minimumWidth);
    const double height = content.height() * width / std::max(content.width(), 1.0);
    return QRectF(maxX(visible) - width - 40, minY(visible) + 40, width, height);
}

std::optional<QSizeF> detachedShareSize(const QSizeF &boxSize, double shareWidth)
{
    if (boxSize.width() < 1 || boxSize.height() < 1) {
        return std::nullopt;
    }
    return QSizeF(shareWidth, boxSize.height() * shareWidth / boxSize.width());
}

} // namespace lookpane::FrameGeometry
