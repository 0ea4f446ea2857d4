#pragma once

#include "frame/FrameSizePreset.h"
#include "model/FrameRatio.h"
#include "model/ScreenLayout.h"

#include <QSizeF>

#include <optional>

// The geometry of the box and of the windows that follow it, as pure functions in screen
// coordinates (points, origin at the bottom-left of the primary screen, y up). The frame
// window controller applies the results to its windows; nothing here touches a window.
namespace lookpane::FrameGeometry {

// The smallest content size of the frame window (and of the share window).
inline constexpr QSizeF minimumContentSize{320, 180};

// Keeps `rect` on a screen: `screen` when given, else the first screen whose frame meets the
// rectangle, else the main screen; with none, the rectangle is returned as it is. A rectangle
// larger than the screen's visible frame in either direction is returned unchanged; otherwise
// its origin is clamped into the visible frame.
ScreenRect constrained(const ScreenRect &rect, const std::optional<ScreenLayout::Screen> &screen,
                       const ScreenLayout &layout);

// Whether every point of `rect` lies on some screen's visible frame (a rectangle straddling two
// monitors does; one reaching into a gap between monitors of different sizes does not).
bool liesOnScreens(const ScreenRect &rect, const ScreenLayout &layout);

// `rect` kept within the screens: the rule for every place of the box that the screens may no
// longer hold (a drag past the edges, a restored frame, monitors that came or went). A rectangle
// that lies on the screens is left as it is. Otherwise each axis is clamped into the rectangle
// that bounds the visible frames (a larger one then covers it), which keeps a drag along an outer
// edge smooth; if that still leaves part of it off the screens, it is shrunk to the visible frame
// of the screen holding most of it (the first that meets it, else the main screen), keeping its
// shape and centre, and placed there by `constrained`. Without screens it is left as it is.
ScreenRect keptOnScreens(const ScreenRect &rect, const ScreenLayout &layout);

// The size of the rectangle that bounds all screens' frames: more than this no window of
// Lookpane needs, whatever a setting says. Empty without screens.
QSizeF screensBoundingSize(const ScreenLayout &layout);

// The rectangle of `size` centred on `reference`'s centre.
ScreenRect centred(const QSizeF &size, const ScreenRect &reference);

// The size a locked ratio gives a box: its width kept, the height derived. None for `free`.
std::optional<QSizeF> sizeLockedTo(FrameRatio ratio, const QSizeF &current);

// The preset's size scaled down uniformly to fit the visible frame (never scaled up); as it
// stands without a screen.
QSizeF presetSize(const FrameSizePreset &preset, const std::optional<ScreenRect> &visibleFrame);

// "Fit to Window": the box around a target window's frame. A locked ratio grows the box to the
// ratio around the target's centre (never crops); then each side is raised to the minimum size
// without re-centring. The caller still constrains the result to a screen.
ScreenRect snapped(const ScreenRect &target, FrameRatio ratio, const QSizeF &minimumSize);

// Where the detached share window goes when no saved place exists: 40 % of the visible width
// (at most the box's width, at least `minimumWidth`), the box's shape, at the bottom-right of
// the visible frame inset by 40 points. Without a visible frame the box's own rectangle stands
// in for it.
ScreenRect detachedShareFrame(const ScreenRect &content,
                              const std::optional<ScreenRect> &visibleFrame, double minimumWidth);

// The detached share window's content size for a box of `boxSize`, keeping the share window's
// width; none when the box is smaller than 1 × 1.
std::optional<QSizeF> detachedShareSize(const QSizeF &boxSize, double shareWidth);

} // namespace lookpane::FrameGeometry
