#pragma once

#include "model/ShareMode.h"

namespace lookpane {

// The switches and passing states that decide how Lookpane's two windows treat the mouse.
struct InputModes
{
    ShareMode mode = ShareMode::overlay;
    bool clickThrough = true;
    bool drawing = false;
    bool moveMode = false;
    bool liveResizing = false;
    // Move mode ended with a release in another application: the box then takes no click at
    // all until click-through, drawing or move mode change.
    bool ignoringMouseAfterMoveMode = false;
    // A compositing manager blends translucent windows with what lies beneath them.
    bool compositing = false;

    friend bool operator==(const InputModes &, const InputModes &) = default;
};

// Which part of the box takes clicks.
enum class FrameInput
{
    // Every click (drawing, move mode, a live resize, click-through off).
    wholeWindow,
    // Only the bands along the edges, which move and resize the box; the interior lets clicks
    // through to the application beneath (click-through).
    edgeBands,
    // No click at all.
    nothing
};

// What the windows do with the mouse and how the box looks, for one set of modes.
struct InputPolicy
{
    FrameInput frameInput = FrameInput::wholeWindow;
    // The share window lets every click through: in overlay mode it lies under the box and
    // must never catch what passes through the box's interior.
    bool sharePassesClicks = true;
    // The box's own shape is cut down to its outline (detached without a compositing manager,
    // whose transparent middle would otherwise show black).
    bool cutsFrameToOutline = false;
    // The box shows the region's picture: always in overlay mode; detached only while drawing
    // without a compositing manager, when the whole window must take the mouse.
    bool frameShowsPicture = true;

    friend bool operator==(const InputPolicy &, const InputPolicy &) = default;
};

// The policy for `modes`; a pure function, so that every combination can be tested as one.
InputPolicy inputPolicy(const InputModes &modes);

} // namespace lookpane
