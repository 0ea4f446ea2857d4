#pragma once

#include "capture/x11/CaptureSettings.h"
#include "capture/x11/ExcludedWindows.h"
#include "capture/x11/RegionCompositor.h"
#include "capture/x11/RenderFormats.h"
#include "capture/x11/RootBackground.h"
#include "capture/x11/ShmFramePool.h"
#include "capture/x11/WindowSources.h"
#include "capture/x11/WindowStack.h"
#include "picture/CapturedFrame.h"
#include "platform/x11/XcbConnection.h"

#include <QString>

#include <memory>
#include <optional>
#include <string>

namespace lookpane::x11 {

// The X side of one capture stream, used on the capture thread only: its own connection,
// automatic redirection of the root's children, the window stack, damage tracking and the
// compositing of the captured rectangle into shared memory. It decides when a frame is
// needed (something changed inside the rectangle, or the rectangle itself changed) and
// makes it; pacing is the caller's.
class CaptureSession
{
public:
    explicit CaptureSession(const std::string &displayName);
    ~CaptureSession();

    CaptureSession(const CaptureSession &) = delete;
    CaptureSession &operator=(const CaptureSession &) = delete;

    // Sets everything up; the reason when capture cannot run on this display.
    std::optional<QString> start(const CaptureSettings &settings);
    void apply(const CaptureSettings &settings);

    int fileDescriptor() const;
    // Handles every event that has arrived; false once the connection is broken.
    bool processEvents();
    // Whether events wait in xcb's own queue, read there while waiting for a reply (reading
    // the stack, or a frame's round trip). poll() on fileDescriptor() cannot see them, so
    // sleeping on it now could leave them unhandled until some unrelated event comes; the
    // next processEvents() handles them.
    bool hasQueuedEvents();
    bool needsFrame() const { return m_needsFrame; }
    const CaptureSettings &settings() const { return m_settings; }

    // Paints the rectangle and reads it; nothing when no buffer is free right now.
    std::optional<CapturedFrame> capture();

    // Frees every X resource made here and ends the redirection.
    void finish();

private:
    void handleEvent(const xcb_generic_event_t &event);
    void rescanIfNeeded();
    bool isCaptured(const TopLevelWindow &window) const;
    void markIfVisible(const QRect &area);
    std::optional<CapturedFrame> readPlainFrame(const QSize &size,
                                                const std::vector<PaintedWindow> &windows);

    XcbConnection m_connection;
    std::unique_ptr<RenderFormats> m_formats;
    std::unique_ptr<ExcludedWindows> m_excluded;
    std::unique_ptr<WindowSources> m_sources;
    std::unique_ptr<RootBackground> m_background;
    std::unique_ptr<RegionCompositor> m_compositor;
    std::unique_ptr<ShmFramePool> m_pool;
    WindowStack m_stack;
    // Taken out of xcb's queue by hasQueuedEvents(); processEvents() handles it first.
    Reply<xcb_generic_event_t> m_queuedEvent;
    CaptureSettings m_settings;
    QRect m_source;
    // Without shared memory: one ordinary pixmap read back with GetImage.
    Pixmap m_plainPixmap;
    Picture m_plainPicture;
    QSize m_plainSize;
    bool m_started = false;
    bool m_redirected = false;
    bool m_needsFrame = true;
    bool m_needsRescan = true;
    bool m_damageSeen = false;
};

} // namespace lookpane::x11
