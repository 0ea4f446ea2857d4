#include "capture/x11/CaptureSession.h"

#include "capture/x11/CaptureX11Log.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/shape.h>

#include <time.h>

#include <algorithm>

namespace lookpane::x11 {

namespace {

std::int64_t monotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

} // namespace

CaptureSession::CaptureSession(const std::string &displayName)
    : m_connection(displayName, lcCaptureX11())
{}

CaptureSession::~CaptureSession()
{
    finish();
}

int CaptureSession::fileDescriptor() const
{
    return m_connection.isValid() ? xcb_get_file_descriptor(m_connection.get()) : -1;
}

std::optional<QString> CaptureSession::start(const CaptureSettings &settings)
{
    if (std::optional<QString> missing = missingCaptureSupport(m_connection)) {
        return missing;
    }
    m_formats = std::make_unique<RenderFormats>(m_connection);
    if (!m_formats->isValid()) {
        return QStringLiteral("the X server offers no 32-bit ARGB picture format");
    }
    xcb_connection_t *c = m_connection.get();
    const xcb_window_t root = m_connection.root();
    // Automatic redirection: the server keeps compositing the screen as before, and every
    // top-level keeps its own pixmap that we can read even where other windows cover it.
    // Other clients may ask for the same at once; a compositing manager's manual
    // redirection stands above it.
    if (std::optional<XError> error = m_connection.check(
            xcb_composite_redirect_subwindows_checked(c, root, XCB_COMPOSITE_REDIRECT_AUTOMATIC))) {
        return QStringLiteral("the X server refused to redirect the windows (%1)")
            .arg(describe(*error, m_connection.errorCodes()));
    }
    m_redirected = true;
    // Structure notify: the root window itself is resized when the screen is (RandR).
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                               XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &mask);
    // The screen size in the connection's setup is as old as the connection, and a resize
    // carried out before the line above reached the server sent us no event. Asked after it,
    // the root's geometry is current; every later resize is reported.
    const xcb_get_geometry_cookie_t rootGeometry = xcb_get_geometry(c, root);

    m_excluded = std::make_unique<ExcludedWindows>(m_connection);
    m_sources = std::make_unique<WindowSources>(m_connection, *m_formats);
    m_background = std::make_unique<RootBackground>(m_connection, *m_formats);
    m_compositor = std::make_unique<RegionCompositor>(m_connection, *m_formats);
    if (Reply<xcb_get_geometry_reply_t> geometry{
            xcb_get_geometry_reply(c, rootGeometry, nullptr)}) {
        m_compositor->setScreenSize(QSize(geometry->width, geometry->height));
    }
    if (m_connection.extensions().shm.present && m_connection.extensions().shmSharedPixmaps) {
        m_pool = std::make_unique<ShmFramePool>(m_connection, m_formats->argb32());
    }
    m_started = true;
    apply(settings);
    xcb_flush(c);
    return std::nullopt;
}

void CaptureSession::apply(const CaptureSettings &settings)
{
    if (!m_started) {
        m_settings = settings;
        return;
    }
    if (settings.filter != m_settings.filter || !m_excluded) {
        m_excluded->setFilter(settings.filter.excludedProcessIDs,
                              settings.filter.excludedWindowIDs);
    }
    m_settings = settings;
    m_source = settings.sourcePixels();
    m_needsRescan = true;
    m_needsFrame = true;
}

void CaptureSession::finish()
{
    if (!m_connection.isValid()) {
        return;
    }
    xcb_connection_t *c = m_connection.get();
    m_sources.reset();
    m_pool.reset();
    m_compositor.reset();
    m_background.reset();
    m_plainPicture.reset();
    m_plainPixmap.reset();
    m_excluded.reset();
    m_queuedEvent.reset();
    if (m_redirected) {
        const std::uint32_t none = XCB_EVENT_MASK_NO_EVENT;
        xcb_change_window_attributes(c, m_connection.root(), XCB_CW_EVENT_MASK, &none);
        xcb_composite_unredirect_subwindows(c, m_connection.root(),
                                            XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        m_redirected = false;
    }
    m_started = false;
    m_connection.sync();
}

bool CaptureSession::isCaptured(const TopLevelWindow &window) const
{
    return window.viewable && window.inputOutput && !m_excluded->isExcluded(window.id);
}

void CaptureSession::markIfVisible(const QRect &area)
{
    if (area.intersects(m_source)) {
        m_needsFrame = true;
    }
}

bool CaptureSession::processEvents()
{
    xcb_connection_t *c = m_connection.get();
    if (!m_started || xcb_connection_has_error(c)) {
        return false;
    }
    bool damaged = false;
    Reply<xcb_generic_event_t> event = std::move(m_queuedEvent);
    if (!event) {
        event.reset(xcb_poll_for_event(c));
    }
    for (; event; event.reset(xcb_poll_for_event(c))) {
        const std::uint8_t type = event->response_type & 0x7F;
        if (type == m_connection.extensions().damage.firstEvent + XCB_DAMAGE_NOTIFY) {
            damaged = true;
        }
        handleEvent(*event);
    }
    if (damaged) {
        // Report later damage again (bounding-box reports stop until acknowledged).
        m_sources->acknowledgeDamage();
    }
    // A changed stack may change the picture: find out now, not at the next frame.
    rescanIfNeeded();
    xcb_flush(c);
    return !xcb_connection_has_error(c);
}

bool CaptureSession::hasQueuedEvents()
{
    if (!m_queuedEvent && m_connection.isValid()) {
        m_queuedEvent.reset(xcb_poll_for_queued_event(m_connection.get()));
    }
    return m_queuedEvent != nullptr;
}

void CaptureSession::handleEvent(const xcb_generic_event_t &event)
{
    const xcb_window_t root = m_connection.root();
    const Extensions &extensions = m_connection.extensions();
    const std::uint8_t type = event.response_type & 0x7F;
    switch (type) {
    case 0:
        // Mostly a window that vanished under a request (BadWindow, BadDrawable, BadMatch,
        // BadDamage, BadPicture ...): expected, logged for debugging. Anything else is
        // logged as a warning. Either way, read the stack again and carry on.
        m_connection.report(reinterpret_cast<const xcb_generic_error_t &>(event));
        m_needsRescan = true;
        return;
    case XCB_CREATE_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
        m_needsRescan = true;
        return;
    case XCB_DESTROY_NOTIFY: {
        const auto &destroyed = reinterpret_cast<const xcb_destroy_notify_event_t &>(event);
        if (destroyed.event == root) {
            m_excluded->forget(destroyed.window);
            m_sources->untrack(destroyed.window);
            m_needsRescan = true;
        }
        return;
    }
    case XCB_MAP_NOTIFY: {
        const auto &mapped = reinterpret_cast<const xcb_map_notify_event_t &>(event);
        if (mapped.event == root) {
            // A mapped window has a new pixmap, and its subtree may hold new windows.
            m_sources->invalidatePixmap(mapped.window);
            m_excluded->forget(mapped.window);
            m_needsRescan = true;
        }
        return;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto &configured = reinterpret_cast<const xcb_configure_notify_event_t &>(event);
        if (configured.window == root) {
            // The screen changed size: what lies beyond its edge changes with it, and so may
            // the desktop background.
            m_compositor->setScreenSize(QSize(configured.width, configured.height));
            m_background->invalidate();
            m_needsRescan = true;
            m_needsFrame = true;
            return;
        }
        if (configured.event == root) {
            const TopLevelWindow *known = m_stack.find(configured.window);
            const QSize size(configured.width + 2 * configured.border_width,
                             configured.height + 2 * configured.border_width);
            if (!known || known->outer.size() != size) {
                m_sources->invalidatePixmap(configured.window);
            }
            m_needsRescan = true;
        }
        return;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto &reparented = reinterpret_cast<const xcb_reparent_notify_event_t &>(event);
        m_excluded->forget(reparented.window);
        m_excluded->forget(reparented.parent);
        if (reparented.parent != root) {
            m_sources->untrack(reparented.window);
        }
        m_needsRescan = true;
        return;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto &property = reinterpret_cast<const xcb_property_notify_event_t &>(event);
        if (property.window == root && property.atom == m_background->propertyAtom()) {
            m_background->invalidate();
            m_needsFrame = true;
        }
        return;
    }
    default:
        break;
    }
    if (extensions.damage.present && type == extensions.damage.firstEvent + XCB_DAMAGE_NOTIFY) {
        const auto &damage = reinterpret_cast<const xcb_damage_notify_event_t &>(event);
        if (m_sources->isCreationReport(damage)) {
            return;
        }
        if (const TopLevelWindow *window = m_stack.find(damage.drawable);
            window && m_sources->isTracked(window->id)) {
            if (std::optional<QRect> area = m_sources->damagedArea(damage, window)) {
                markIfVisible(*area);
            }
        }
        return;
    }
    if (extensions.shape.present && type == extensions.shape.firstEvent + XCB_SHAPE_NOTIFY) {
        const auto &shape = reinterpret_cast<const xcb_shape_notify_event_t &>(event);
        if (const TopLevelWindow *window = m_stack.find(shape.affected_window);
            window && m_sources->isTracked(window->id)) {
            markIfVisible(window->outer);
        }
    }
}

void CaptureSession::rescanIfNeeded()
{
    if (!m_needsRescan) {
        return;
    }
    m_needsRescan = false;
    // What the frame showed before, to tell whether the new stack changes it.
    const auto painted = [this] {
        std::vector<std::pair<xcb_window_t, QRect>> list;
        for (const TopLevelWindow &window : m_stack.windows()) {
            if (isCaptured(window) && window.outer.intersects(m_source)) {
                list.emplace_back(window.id, window.outer);
            }
        }
        return list;
    };
    const auto before = painted();
    if (!m_stack.rescan(m_connection)) {
        return;
    }
    std::vector<xcb_window_t> candidates;
    for (const TopLevelWindow &window : m_stack.windows()) {
        if (window.viewable && window.inputOutput) {
            candidates.push_back(window.id);
        }
    }
    // New clients of the excluded processes may have connected since.
    if (std::any_of(candidates.begin(), candidates.end(),
                    [this](xcb_window_t window) { return !m_excluded->isKnown(window); })) {
        m_excluded->refreshClients();
    }
    m_excluded->classify(candidates);

    xcb_connection_t *c = m_connection.get();
    for (const TopLevelWindow &window : m_stack.windows()) {
        if (isCaptured(window) && window.outer.intersects(m_source) &&
            !m_sources->isTracked(window.id)) {
            m_sources->track(window);
            if (m_connection.extensions().shape.present) {
                xcb_shape_select_input(c, window.id, 1);
            }
        }
    }
    m_sources->untrackIf([this](xcb_window_t id) {
        const TopLevelWindow *window = m_stack.find(id);
        return window && isCaptured(*window) && window->outer.intersects(m_source);
    });
    if (painted() != before) {
        m_needsFrame = true;
    }
}

std::optional<CapturedFrame> CaptureSession::capture()
{
    if (!m_started) {
        return std::nullopt;
    }
    rescanIfNeeded();
    const QSize size = m_settings.frameSize();

    std::vector<PaintedWindow> windows;
    for (const TopLevelWindow &window : m_stack.windows()) {
        if (!isCaptured(window) || !window.outer.intersects(m_source)) {
            continue;
        }
        if (std::optional<WindowPicture> picture = m_sources->picture(window)) {
            windows.push_back(
                {window.id, window.outer, window.borderWidth, picture->picture, picture->hasAlpha});
        }
    }

    if (!m_pool) {
        return readPlainFrame(size, windows);
    }
    ShmFrameTarget *target = m_pool->acquire(size.width(), size.height());
    if (!target) {
        return std::nullopt; // every buffer is still shown somewhere; try again soon
    }
    m_compositor->paint(m_source, windows, m_background->picture(), target->picture.id(), size);
    // Once the server answers, it has painted everything asked before.
    if (!m_connection.sync()) {
        return std::nullopt;
    }
    m_needsFrame = false;
    // The pixmap holds the same pixels: windows of this server can be painted from it.
    return CapturedFrame(target->width, target->height, target->bytesPerRow, target->memory->data(),
                         std::shared_ptr<const void>(target->memory), monotonicNow())
        .withServerPixmap(target->pixmap.id());
}

std::optional<CapturedFrame>
CaptureSession::readPlainFrame(const QSize &size, const std::vector<PaintedWindow> &windows)
{
    xcb_connection_t *c = m_connection.get();
    if (!m_plainPicture || m_plainSize != size) {
        m_plainPicture.reset();
        m_plainPixmap = Pixmap(c);
        xcb_create_pixmap(c, 32, m_plainPixmap.id(), m_connection.root(),
                          static_cast<std::uint16_t>(size.width()),
                          static_cast<std::uint16_t>(size.height()));
        m_plainPicture = Picture(c);
        xcb_render_create_picture(c, m_plainPicture.id(), m_plainPixmap.id(), m_formats->argb32(),
                                  0, nullptr);
        m_plainSize = size;
    }
    m_compositor->paint(m_source, windows, m_background->picture(), m_plainPicture.id(), size);
    std::shared_ptr<xcb_get_image_reply_t> reply(
        xcb_get_image_reply(c,
                            xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, m_plainPixmap.id(), 0, 0,
                                          static_cast<std::uint16_t>(size.width()),
                                          static_cast<std::uint16_t>(size.height()), ~0u),
                            nullptr),
        FreeDeleter());
    if (!reply) {
        return std::nullopt;
    }
    const int length = xcb_get_image_data_length(reply.get());
    if (length < size.width() * size.height() * 4) {
        return std::nullopt;
    }
    m_needsFrame = false;
    const std::uint8_t *pixels = xcb_get_image_data(reply.get());
    return CapturedFrame(size.width(), size.height(), length / size.height(), pixels,
                         std::shared_ptr<const void>(reply), monotonicNow());
}

} // namespace lookpane::x11
