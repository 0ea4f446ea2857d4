#pragma once

#include "capture/CaptureBackend.h"

#include <QObject>

#include <memory>
#include <optional>
#include <string>

class QScreen;

namespace lookpane::x11 {

class DisplayResolver;

// Screen capture on an X11 display. An X11 session has no permission to ask for: access is
// granted, and a display without the extensions capture needs (Composite, DAMAGE, RENDER,
// XFIXES) makes loadShareableContent and startCapture fail with the reason. Display ids are
// RandR output ids; frames in ShareableDisplay are monitor geometries in root pixels.
//
// From its construction on, the backend keeps the root's children automatically redirected:
// a window keeps its whole picture in its own pixmap from then on, also where Lookpane's
// frame window will cover it. Redirecting only when capture starts would lose whatever was
// covered at that moment until the window's owner repaints it.
class X11CaptureBackend : public CaptureBackend
{
public:
    // Captures the display named `displayName` (":N"), or $DISPLAY when empty.
    explicit X11CaptureBackend(std::string displayName = {});
    ~X11CaptureBackend() override;

    void requestAccess(std::function<void(bool granted)> done) override;
    void loadShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                              std::function<void(ShareableContentResult)> done) override;
    std::unique_ptr<CaptureStream> createStream(const ContentFilter &filter,
                                                const StreamConfiguration &configuration) override;

    // The display id (RandR output id) of the monitor that `screen` shows; nothing when no
    // monitor matches its name or geometry.
    std::optional<std::uint32_t> displayIDForScreen(const QScreen &screen);

private:
    ShareableContentResult readContent(bool excludingDesktopWindows, bool onScreenWindowsOnly);
    const std::shared_ptr<DisplayResolver> &resolver();

    QObject m_context; // main-thread anchor of queued completions
    std::string m_displayName;
    std::shared_ptr<DisplayResolver> m_resolver;
    bool m_redirected = false;
};

} // namespace lookpane::x11
