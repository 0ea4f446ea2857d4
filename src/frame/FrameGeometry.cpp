#include "frame/FrameGeometry.h"

#include <algorithm>
#include <vector>

namespace lookpane::FrameGeometry {

namespace {

// The rectangle that bounds `rects`; none when there are none.
std::optional<ScreenRect> bounding(const std::vector<ScreenRect> &rects)
{
    if (rects.empty()) {
        return std::nullopt;
    }
    double left = rects.front().minX();
    double right = rects.front().maxX();
    double bottom = rects.front().minY();
    double top = rects.front().maxY();
    for (const ScreenRect &rect : rects) {
        left = std::min(left, rect.minX());
        right = std::max(right, rect.maxX());
        bottom = std::min(bottom, rect.minY());
        top = std::max(top, rect.maxY());
    }
    return ScreenRect(left, bottom, right - left, top - bottom);
}

std::vector<ScreenRect> visibleFrames(const ScreenLayout &layout)
{
    std::vector<ScreenRect> frames;
    for (const ScreenLayout::Screen &screen : layout.screens) {
        frames.push_back(screen.visibleFrame);
    }
    return frames;
}

// `origin` of an extent `size` moved into [low, high]; an extent larger than that covers it.
double clampedAxis(double origin, double size, double low, double high)
{
    if (size <= high - low) {
        return std::clamp(origin, low, high - size);
    }
    return std::clamp(origin, high - size, low);
}

// The rectangle of `rect`'s shape and centre that fits `visible`; `rect` when it fits already.
ScreenRect shrunkToFit(const ScreenRect &rect, const ScreenRect &visible)
{
    if (rect.width() <= visible.width() && rect.height() <= visible.height()) {
        return rect;
    }
    const double scale = std::min(visible.width() / rect.width(), visible.height() / rect.height());
    return centred(QSizeF(rect.width() * scale, rect.height() * scale), rect);
}

// The screen whose visible frame holds most of `rect`; the first that meets it, else the main
// screen, else the first, when none holds any of it.
std::optional<ScreenLayout::Screen> screenHoldingMostOf(const ScreenRect &rect,
                                                        const ScreenLayout &layout)
{
    std::optional<ScreenLayout::Screen> best;
    double bestArea = 0;
    for (const ScreenLayout::Screen &screen : layout.screens) {
        const ScreenRect overlap = screen.visibleFrame.intersected(rect);
        const double area = overlap.width() * overlap.height();
        if (area > bestArea) {
            best = screen;
            bestArea = area;
        }
    }
    if (best) {
        return best;
    }
    for (const ScreenLayout::Screen &screen : layout.screens) {
        if (screen.frame.intersects(rect)) {
            return screen;
        }
    }
    if (layout.mainIndex && *layout.mainIndex < layout.screens.size()) {
        return layout.screens[*layout.mainIndex];
    }
    if (!layout.screens.empty()) {
        return layout.screens.front();
    }
    return std::nullopt;
}

} // namespace

bool liesOnScreens(const ScreenRect &rect, const ScreenLayout &layout)
{
    std::vector<ScreenRect> parts;
    for (const ScreenRect &visible : visibleFrames(layout)) {
        const ScreenRect part = visible.intersected(rect);
        if (!part.isEmpty()) {
            parts.push_back(part);
        }
    }
    if (rect.isEmpty()) {
        return std::any_of(layout.screens.begin(), layout.screens.end(),
                           [&](const ScreenLayout::Screen &screen) {
                               return screen.visibleFrame.contains(rect.origin());
                           });
    }
    // Cut the rectangle along every edge of the parts: each cell is then wholly covered by a
    // part or wholly uncovered, which its centre tells.
    std::vector<double> xs{rect.minX(), rect.maxX()};
    std::vector<double> ys{rect.minY(), rect.maxY()};
    for (const ScreenRect &part : parts) {
        xs.insert(xs.end(), {part.minX(), part.maxX()});
        ys.insert(ys.end(), {part.minY(), part.maxY()});
    }
    std::sort(xs.begin(), xs.end());
    std::sort(ys.begin(), ys.end());
    xs.erase(std::unique(xs.begin(), xs.end()), xs.end());
    ys.erase(std::unique(ys.begin(), ys.end()), ys.end());
    // Screens whose frames were mapped from device pixels may miss each other by a rounding
    // error; slivers thinner than this are no gap.
    constexpr double sliver = 1e-6;
    for (std::size_t i = 0; i + 1 < xs.size(); ++i) {
        for (std::size_t j = 0; j + 1 < ys.size(); ++j) {
            if (xs[i + 1] - xs[i] < sliver || ys[j + 1] - ys[j] < sliver) {
                continue;
            }
            const ScreenPoint centre((xs[i] + xs[i + 1]) * 0.5, (ys[j] + ys[j + 1]) * 0.5);
            if (!rect.contains(centre)) {
                continue;
            }
            const bool covered =
                std::any_of(parts.begin(), parts.end(),
                            [&](const ScreenRect &part) { return part.contains(centre); });
            if (!covered) {
                return false;
            }
        }
    }
    return true;
}

ScreenRect keptOnScreens(const ScreenRect &rect, const ScreenLayout &layout)
{
    const std::optional<ScreenRect> bounds = bounding(visibleFrames(layout));
    if (!bounds || liesOnScreens(rect, layout)) {
        return rect;
    }
    const ScreenRect clamped(
        clampedAxis(rect.minX(), rect.width(), bounds->minX(), bounds->maxX()),
        clampedAxis(rect.minY(), rect.height(), bounds->minY(), bounds->maxY()), rect.width(),
        rect.height());
    if (liesOnScreens(clamped, layout)) {
        return clamped;
    }
    const std::optional<ScreenLayout::Screen> screen = screenHoldingMostOf(rect, layout);
    return constrained(shrunkToFit(rect, screen->visibleFrame), screen, layout);
}

QSizeF screensBoundingSize(const ScreenLayout &layout)
{
    std::vector<ScreenRect> frames;
    for (const ScreenLayout::Screen &screen : layout.screens) {
        frames.push_back(screen.frame);
    }
    const std::optional<ScreenRect> bounds = bounding(frames);
    return bounds ? bounds->size() : QSizeF();
}

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
