#pragma once

#include "toolbar/FrameToolbarWindowController.h"

#include <QColor>
#include <QImage>

#include <map>

namespace lookpane::testing {

// The state an owner pushes into the toolbar, with the defaults of a fresh start.
struct ToolbarState
{
    std::map<AnnotationTool, QString> toolShortcuts;
    bool isDrawing = false;
    AnnotationTool annotationTool = AnnotationTool::freehand;
    AnnotationColor annotationColor = AnnotationColor::red;
    bool canUndo = false;
    bool canClear = false;
    bool isPrivacyBlurActive = false;
    bool clickThrough = false;
    ShareMode mode = ShareMode::overlay;
    bool alwaysOnTop = false;
};

inline void push(FrameToolbarWindowController &toolbar, const ToolbarState &state)
{
    toolbar.update(state.toolShortcuts, state.isDrawing, state.annotationTool,
                   state.annotationColor, state.canUndo, state.canClear, state.isPrivacyBlurActive,
                   state.clickThrough, state.mode, state.alwaysOnTop);
}

// Pixels of an image whose colour is within `tolerance` of `color` in every channel and that
// are not transparent.
inline int countPixelsNear(const QImage &image, QColor color, int tolerance)
{
    const QImage rgb = image.convertToFormat(QImage::Format_ARGB32);
    int count = 0;
    for (int y = 0; y < rgb.height(); ++y) {
        for (int x = 0; x < rgb.width(); ++x) {
            const QColor pixel = rgb.pixelColor(x, y);
            if (pixel.alpha() > 128 && std::abs(pixel.red() - color.red()) <= tolerance &&
                std::abs(pixel.green() - color.green()) <= tolerance &&
                std::abs(pixel.blue() - color.blue()) <= tolerance) {
                ++count;
            }
        }
    }
    return count;
}

} // namespace lookpane::testing
