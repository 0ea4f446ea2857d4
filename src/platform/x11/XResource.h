#pragma once

#include <xcb/damage.h>
#include <xcb/render.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <utility>

namespace lookpane::x11 {

// Owns one server-side X resource: frees it when the holder goes or is given another. The
// id is generated up front; the request that creates the resource is sent by the caller
// with id(). Freeing a resource that the server has already dropped (its window vanished)
// only yields an error event that the capture loop reports as a routine one.
template <typename Traits> class XResource
{
public:
    XResource() = default;
    explicit XResource(xcb_connection_t *connection)
        : m_connection(connection), m_id(xcb_generate_id(connection))
    {}
    ~XResource() { reset(); }

    XResource(XResource &&other) noexcept
        : m_connection(other.m_connection), m_id(std::exchange(other.m_id, 0))
    {}
    XResource &operator=(XResource &&other) noexcept
    {
        if (this != &other) {
            reset();
            m_connection = other.m_connection;
            m_id = std::exchange(other.m_id, 0);
        }
        return *this;
    }
    XResource(const XResource &) = delete;
    XResource &operator=(const XResource &) = delete;

    std::uint32_t id() const { return m_id; }
    explicit operator bool() const { return m_id != 0; }

    void reset()
    {
        if (m_id != 0 && m_connection != nullptr) {
            Traits::free(m_connection, m_id);
        }
        m_id = 0;
    }

private:
    xcb_connection_t *m_connection = nullptr;
    std::uint32_t m_id = 0;
};

struct PixmapTraits
{
    static void free(xcb_connection_t *c, std::uint32_t id) { xcb_free_pixmap(c, id); }
};
struct PictureTraits
{
    static void free(xcb_connection_t *c, std::uint32_t id) { xcb_render_free_picture(c, id); }
};
struct DamageTraits
{
    static void free(xcb_connection_t *c, std::uint32_t id) { xcb_damage_destroy(c, id); }
};
struct RegionTraits
{
    static void free(xcb_connection_t *c, std::uint32_t id) { xcb_xfixes_destroy_region(c, id); }
};

struct GcTraits
{
    static void free(xcb_connection_t *c, std::uint32_t id) { xcb_free_gc(c, id); }
};

using Pixmap = XResource<PixmapTraits>;
using Gc = XResource<GcTraits>;
using Picture = XResource<PictureTraits>;
using Damage = XResource<DamageTraits>;
using Region = XResource<RegionTraits>;

} // namespace lookpane::x11
