#include "frame/FrameGeometry.h"

#include <algorithm>

namespace lookpane::FrameGeometry {

ScreenRect constrained(const ScreenRect &rect, const std::optional<ScreenLayout::Screen> &screen,
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
    const ScreenRect &visible = chosen->visibleFrame;
    if (rect.width() > visible.width() || rect.height() > visible.height()) {
        return rect;
    }
    const double x = std::min(std::max(visible.minX(), rect.minX()), visible.maxX() - rect.width());
    const double y =
        std::min(std::max(visible.minY(), rect.minY()), visible.maxY() - rect.height());
    return ScreenRect(x, y, rect.width(), rect.height());
}

ScreenRect centred(const QSizeF &size, const ScreenRect &reference)
{
    const ScreenPoint centre = reference.center();
    return ScreenRect(centre.x() - size.width() * 0.5, centre.y() - size.height() * 0.5,
                      size.width(), size.height());
}

std::optional<QSizeF> sizeLockedTo(FrameRatio ratio, const QSizeF &current)
{
    const std::optional<double> r = ratioValue(ratio);
    if (!r) {
        return std::nullopt;
    }
    return QSizeF(current.width(), current.width() / *r);
}

QSizeF presetSize(const FrameSizePreset &preset, const std::optional<ScreenRect> &visibleFrame)
{
    if (!visibleFrame) {
        return QSizeF(preset.width, preset.height);
    }
    const double scale = std::min(
        {visibleFrame->width() / preset.width, visibleFrame->height() / preset.height, 1.0});
    return QSizeF(preset.width * scale, preset.height * scale);
}

ScreenRect snapped(const ScreenRect &target, FrameRatio ratio, const QSizeF &minimumSize)
{
    double x = target.minX();
    double y = target.minY();
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
    return ScreenRect(x, y, width, height);
}

ScreenRect detachedShareFrame(const ScreenRect &content,
                              const std::optional<ScreenRect> &visibleFrame, double minimumWidth)
{
    const ScreenRect visible = visibleFrame.value_or(content);
    double width = std::min(visible.width() * 0.4, content.width());
    width = std::max(width, minimumWidth);
    const double height = content.height() * width / std::max(content.width(), 1.0);
    return ScreenRect(visible.maxX() - width - 40, visible.minY() + 40, width, height);
}

std::optional<QSizeF> detachedShareSize(const QSizeF &boxSize, double shareWidth)
{
    if (boxSize.width() < 1 || boxSize.height() < 1) {
        return std::nullopt;
    }
    return QSizeF(shareWidth, boxSize.height() * shareWidth / boxSize.width());
}

} // namespace lookpane::FrameGeometry
