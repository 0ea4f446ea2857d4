#pragma once

#include "model/BlurStrength.h"
#include "model/FrameRatio.h"
#include "model/ScreenLayout.h"
#include "model/ShareMode.h"

#include <optional>

namespace lookpane {

class Preferences;

// Typed access to the frame's persisted settings and the saving and restoring of the frame
// window's and the detached share window's rectangles (screen coordinates).
class FramePreferences
{
public:
    // `screens` answers with the screens of the moment; tests describe any layout with it.
    FramePreferences(Preferences &preferences, ScreenLayoutProvider screens);

    void saveFrame(const ScreenRect &rect);
    void saveDetachedFrame(const ScreenRect &rect);

    // The stored frame when it is at least 2 × 2 and reachable; else the centred default.
    ScreenRect restoredFrame() const;
    // The same tests, but nothing instead of a default.
    std::optional<ScreenRect> restoredDetachedFrame() const;

    FrameRatio ratio() const;
    void setRatio(FrameRatio ratio);
    BlurStrength blurStrength() const;
    void setBlurStrength(BlurStrength strength);
    ShareMode mode() const;

    // Whether some screen's visible frame overlaps `rect` by at least 10000 square points.
    bool isReachable(const ScreenRect &rect) const;
    // 800 × 450 centred on the main screen's visible frame (or the first screen's);
    // (0, 0, 800, 450) with no screen at all.
    ScreenRect centredDefaultFrame() const;

private:
    std::optional<ScreenRect> storedUsableFrame(const QString &key) const;

    Preferences &m_preferences;
    ScreenLayoutProvider m_screens;
};

} // namespace lookpane
