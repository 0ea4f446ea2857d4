#include "capture/x11/ShmFramePool.h"

#include "platform/x11/XcbConnection.h"

#include <sys/ipc.h>
#include <sys/shm.h>

namespace lookpane::x11 {

std::shared_ptr<SharedMemory> SharedMemory::create(std::size_t bytes)
{
    const int shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (shmid < 0) {
        return nullptr;
    }
    void *address = shmat(shmid, nullptr, 0);
    if (address == reinterpret_cast<void *>(-1)) {
        shmctl(shmid, IPC_RMID, nullptr);
        return nullptr;
    }
    return std::make_shared<SharedMemory>(
        Attached{shmid, static_cast<std::uint8_t *>(address), bytes});
}

SharedMemory::~SharedMemory()
{
    markRemoved();
    shmdt(m_data);
}

void SharedMemory::markRemoved()
{
    if (!m_removed) {
        shmctl(m_shmid, IPC_RMID, nullptr);
        m_removed = true;
    }
}

ShmFramePool::ShmFramePool(const XcbConnection &connection, xcb_render_pictformat_t argbFormat)
    : m_connection(connection), m_argbFormat(argbFormat)
{}

ShmFramePool::~ShmFramePool() = default;

void ShmFramePool::clear()
{
    m_targets.clear();
    m_retired.clear();
    m_width = 0;
    m_height = 0;
}

void ShmFramePool::releaseRetired()
{
    std::erase_if(m_retired, [](const std::unique_ptr<ShmFrameTarget> &target) {
        return target->memory.use_count() == 1;
    });
}

ShmFrameTarget *ShmFramePool::acquire(int width, int height)
{
    releaseRetired();
    if (width != m_width || height != m_height) {
        // Frames of the old size may still be shown from their pixmaps: those targets stay
        // until the frames go.
        for (std::unique_ptr<ShmFrameTarget> &target : m_targets) {
            if (target->memory.use_count() > 1) {
                m_retired.push_back(std::move(target));
            }
        }
        m_targets.clear();
        m_width = width;
        m_height = height;
    }
    for (const std::unique_ptr<ShmFrameTarget> &target : m_targets) {
        // Only the pool holds the memory: every frame painted into it has been released.
        if (target->memory.use_count() == 1) {
            return target.get();
        }
    }
    if (static_cast<int>(m_targets.size()) >= maximumTargets) {
        return nullptr;
    }
    std::unique_ptr<ShmFrameTarget> target = create(width, height);
    if (!target) {
        return nullptr;
    }
    m_targets.push_back(std::move(target));
    return m_targets.back().get();
}

std::unique_ptr<ShmFrameTarget> ShmFramePool::create(int width, int height)
{
    xcb_connection_t *c = m_connection.get();
    auto target = std::make_unique<ShmFrameTarget>();
    target->width = width;
    target->height = height;
    target->bytesPerRow = width * 4;
    target->memory = SharedMemory::create(static_cast<std::size_t>(target->bytesPerRow) * height);
    if (!target->memory) {
        return nullptr;
    }
    target->segment = ShmSegment(c);
    if (m_connection.check(xcb_shm_attach_checked(
            c, target->segment.id(), static_cast<std::uint32_t>(target->memory->shmid()), 0))) {
        // Nothing was attached: do not detach it.
        target->segment = ShmSegment();
        return nullptr;
    }
    // The server holds it now; the name is no longer needed.
    target->memory->markRemoved();
    target->pixmap = Pixmap(c);
    if (m_connection.check(xcb_shm_create_pixmap_checked(
            c, target->pixmap.id(), m_connection.root(), static_cast<std::uint16_t>(width),
            static_cast<std::uint16_t>(height), 32, target->segment.id(), 0))) {
        target->pixmap = Pixmap();
        return nullptr;
    }
    target->picture = Picture(c);
    xcb_render_create_picture(c, target->picture.id(), target->pixmap.id(), m_argbFormat, 0,
                              nullptr);
    return target;
}

} // namespace lookpane::x11
