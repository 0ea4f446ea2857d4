#pragma once

#include "platform/x11/XResource.h"

#include <xcb/render.h>
#include <xcb/shm.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace lookpane::x11 {

class XcbConnection;

// System V shared memory mapped into this process. It stays mapped for as long as any holder
// (the pool, a captured frame) keeps it; the segment itself is removed once the server has
// attached it, so nothing is left behind when the process ends.
class SharedMemory
{
    struct Attached
    {
        int shmid;
        std::uint8_t *data;
        std::size_t size;
    };

public:
    static std::shared_ptr<SharedMemory> create(std::size_t bytes);
    // Takes over a segment that create() has attached.
    explicit SharedMemory(Attached attached)
        : m_shmid(attached.shmid), m_data(attached.data), m_size(attached.size)
    {}
    ~SharedMemory();

    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;

    int shmid() const { return m_shmid; }
    std::uint8_t *data() const { return m_data; }
    std::size_t size() const { return m_size; }
    // Removes the segment's name; the memory lives on while anyone has it attached.
    void markRemoved();

private:
    SharedMemory(int shmid, std::uint8_t *data, std::size_t size)
        : m_shmid(shmid), m_data(data), m_size(size)
    {}

    int m_shmid = -1;
    std::uint8_t *m_data = nullptr;
    std::size_t m_size = 0;
    bool m_removed = false;
};

struct ShmSegmentTraits
{
    static void free(xcb_connection_t *c, std::uint32_t id) { xcb_shm_detach(c, id); }
};
using ShmSegment = XResource<ShmSegmentTraits>;

// Where one frame is painted: a 32-bit ARGB pixmap whose pixels are shared memory, so that
// what the server paints is the frame's buffer without another copy.
struct ShmFrameTarget
{
    std::shared_ptr<SharedMemory> memory;
    ShmSegment segment;
    Pixmap pixmap;
    Picture picture;
    int width = 0;
    int height = 0;
    int bytesPerRow = 0;
};

// A few frame targets of one size, reused once every frame painted into them has been
// released (a frame keeps its memory through CapturedFrame's storage). A frame also names its
// target's pixmap, from which windows are painted in the server: a target that frames still
// hold when the size changes is retired, not freed, until the last of them is gone.
class ShmFramePool
{
public:
    static constexpr int maximumTargets = 4;

    ShmFramePool(const XcbConnection &connection, xcb_render_pictformat_t argbFormat);
    ~ShmFramePool();

    ShmFramePool(const ShmFramePool &) = delete;
    ShmFramePool &operator=(const ShmFramePool &) = delete;

    // A free target of the given size, made when needed; null when all are still held by
    // frames or the server refused a new one.
    ShmFrameTarget *acquire(int width, int height);
    // Frees the server side of every target (frames keep their memory).
    void clear();
    // Targets of an earlier size that frames still hold.
    int retiredCount() const { return static_cast<int>(m_retired.size()); }

private:
    std::unique_ptr<ShmFrameTarget> create(int width, int height);
    // Frees the retired targets that no frame holds any more.
    void releaseRetired();

    const XcbConnection &m_connection;
    xcb_render_pictformat_t m_argbFormat;
    std::vector<std::unique_ptr<ShmFrameTarget>> m_targets;
    std::vector<std::unique_ptr<ShmFrameTarget>> m_retired;
    int m_width = 0;
    int m_height = 0;
};

} // namespace lookpane::x11
