#pragma once

#include "picture/CapturedFrame.h"

#include <QRect>
#include <QRectF>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lookpane {

// The platform side of screen capture: what the engine asks of the window system. One
// implementation per platform (src/capture/x11) and a scripted one for tests. All requests
// are asynchronous; their completions always run later on the main thread (never inside the
// call), in the order the backend finishes them.

// An error's localized description, or nothing on success.
using CaptureError = std::optional<QString>;
using CaptureCompletion = std::function<void(CaptureError)>;

// A display as the backend lists it.
struct ShareableDisplay
{
    std::uint32_t displayID = 0; // the RandR output id on X11
    QRect frame;                 // in pixels of the root window (top-left origin)
};

struct ShareableApplication
{
    std::int64_t processID = 0;
    QString applicationName;
    // What identifies the application to the system: the class part of WM_CLASS on X11.
    QString bundleIdentifier;
};

struct ShareableWindowEntry
{
    std::uint32_t windowID = 0;
    // Global coordinates with the origin at the top-left of the primary screen, y down,
    // in points, including the window manager's frame.
    QRectF frame;
    QString title;
    std::optional<ShareableApplication> owningApplication;
    // 0 for ordinary application windows; docks, panels, menus, desktops and overlays have
    // other layers.
    int windowLayer = 0;
};

struct ShareableContent
{
    std::vector<ShareableDisplay> displays;
    std::vector<ShareableApplication> applications;
    // Front to back.
    std::vector<ShareableWindowEntry> windows;
};

struct ShareableContentResult
{
    std::optional<ShareableContent> content; // absent on failure
    QString error;                           // the failure's description
};

// What a stream captures: one display, less the windows of the given processes and the given
// windows.
struct ContentFilter
{
    std::uint32_t displayID = 0;
    std::vector<std::int64_t> excludedProcessIDs;
    std::vector<std::uint32_t> excludedWindowIDs;

    friend bool operator==(const ContentFilter &, const ContentFilter &) = default;
};

struct StreamConfiguration
{
    // Size of the delivered frames in pixels.
    std::int64_t width = 0;
    std::int64_t height = 0;
    // The captured rectangle in points, relative to the display's top-left corner, y down.
    QRectF sourceRect;
    // At most this many frames a second.
    int maximumFramesPerSecond = 60;
    int queueDepth = 2;
    bool showsCursor = false;
    bool shouldBeOpaque = true;
    bool ignoreShadowsDisplay = true;

    friend bool operator==(const StreamConfiguration &, const StreamConfiguration &) = default;
};

// Frame status as the stream reports it with each sample; only complete frames are shown.
enum class FrameStatus
{
    complete,
    idle,
    blank,
    suspended,
    started,
    stopped
};

struct CaptureSample
{
    CapturedFrame frame;               // may be null (no image)
    std::optional<FrameStatus> status; // absent when the sample carries no status
};

class CaptureStream
{
public:
    virtual ~CaptureStream() = default;

    // Installed by the owner before startCapture. onSample runs on the backend's capture
    // thread; onStopped (the stream ended by itself, with the error's description) on any
    // thread. Both may be called until stopCapture has completed.
    std::function<void(const CaptureSample &)> onSample;
    std::function<void(const QString &error)> onStopped;

    // Prepares sample output; an error means the stream cannot deliver frames.
    virtual CaptureError addStreamOutput() = 0;
    virtual void startCapture(CaptureCompletion done) = 0;
    virtual void stopCapture(CaptureCompletion done) = 0;
    virtual void updateConfiguration(const StreamConfiguration &configuration,
                                     CaptureCompletion done) = 0;
    virtual void updateContentFilter(const ContentFilter &filter, CaptureCompletion done) = 0;
};

class CaptureBackend
{
public:
    virtual ~CaptureBackend() = default;

    // Whether this process may capture the screen (asking the user where the platform does).
    virtual void requestAccess(std::function<void(bool granted)> done) = 0;
    virtual void loadShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                      std::function<void(ShareableContentResult)> done) = 0;
    virtual std::unique_ptr<CaptureStream>
    createStream(const ContentFilter &filter, const StreamConfiguration &configuration) = 0;
};

} // namespace lookpane
