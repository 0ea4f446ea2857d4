#include "platform/x11/X11PicturePresenter.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/XReply.h"

#include <xcb/xcb_renderutil.h>

#include <algorithm>
#include <cstring>

namespace lookpane::x11 {

namespace {

xcb_render_fixed_t fixed(double value)
{
    return static_cast<xcb_render_fixed_t>(value * 65536.0 + (value >= 0 ? 0.5 : -0.5));
}

bool hasRender(xcb_connection_t *c)
{
    const xcb_query_extension_reply_t *render = xcb_get_extension_data(c, &xcb_render_id);
    return render != nullptr && render->present;
}

// The server's picture formats, read once per process and kept by xcb-renderutil.
const xcb_render_query_pict_formats_reply_t *formatsOf(xcb_connection_t *c)
{
    return hasRender(c) ? xcb_render_util_query_formats(c) : nullptr;
}

} // namespace

bool X11PicturePresenter::isSupported()
{
    xcb_connection_t *c = applicationConnection();
    return c != nullptr && !xcb_connection_has_error(c) && formatsOf(c) != nullptr;
}

std::unique_ptr<X11PicturePresenter> X11PicturePresenter::create(xcb_window_t window)
{
    xcb_connection_t *c = applicationConnection();
    if (c == nullptr || window == XCB_NONE || xcb_connection_has_error(c)) {
        return nullptr;
    }
    const xcb_render_query_pict_formats_reply_t *formats = formatsOf(c);
    if (formats == nullptr) {
        return nullptr;
    }
    Reply<xcb_get_window_attributes_reply_t> attributes{
        xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr)};
    if (!attributes) {
        return nullptr;
    }
    const xcb_render_pictvisual_t *visual =
        xcb_render_util_find_visual_format(formats, attributes->visual);
    const xcb_render_pictforminfo_t *argb =
        xcb_render_util_find_standard_format(formats, XCB_PICT_STANDARD_ARGB_32);
    if (visual == nullptr || argb == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<X11PicturePresenter>(
        new X11PicturePresenter(c, window, visual->format, argb->id));
}

X11PicturePresenter::X11PicturePresenter(xcb_connection_t *connection, xcb_window_t window,
                                         xcb_render_pictformat_t windowFormat,
                                         xcb_render_pictformat_t argb32)
    : m_connection(connection), m_window(window), m_argb32(argb32), m_windowPicture(connection)
{
    xcb_render_create_picture(m_connection, m_windowPicture.id(), window, windowFormat, 0, nullptr);
}

X11PicturePresenter::~X11PicturePresenter()
{
    // The resources go with their holders; sent before the window itself goes.
    m_windowPicture.reset();
    m_pixmapPicture.reset();
    m_imagePicture.reset();
    m_overlayPicture.reset();
    m_overlayPixmap.reset();
    m_overlayGc.reset();
    m_imagePixmap.reset();
    m_imageGc.reset();
    xcb_flush(m_connection);
}

void X11PicturePresenter::composite(std::uint32_t picture, QSize sourceSize, QSize target)
{
    if (target.isEmpty() || sourceSize.isEmpty()) {
        return;
    }
    // A picture keeps its transform and filter: both are set for this target every time (a
    // few bytes). Destination pixel centres are mapped onto the source and read between its
    // four nearest pixels; beyond the edge the edge pixels repeat. Pixel for pixel, the
    // identity and the nearest filter keep the copy a plain one.
    const bool stretched = sourceSize != target;
    const xcb_render_transform_t scale{fixed(double(sourceSize.width()) / target.width()),
                                       0,
                                       0,
                                       0,
                                       fixed(double(sourceSize.height()) / target.height()),
                                       0,
                                       0,
                                       0,
                                       fixed(1.0)};
    xcb_render_set_picture_transform(m_connection, picture, scale);
    static constexpr char bilinear[] = "bilinear";
    static constexpr char nearest[] = "nearest";
    xcb_render_set_picture_filter(
        m_connection, picture,
        static_cast<std::uint16_t>(stretched ? sizeof bilinear - 1 : sizeof nearest - 1),
        stretched ? bilinear : nearest, 0, nullptr);
    const std::uint32_t pad = XCB_RENDER_REPEAT_PAD;
    xcb_render_change_picture(m_connection, picture, XCB_RENDER_CP_REPEAT, &pad);
    xcb_render_composite(m_connection, XCB_RENDER_PICT_OP_SRC, picture, XCB_NONE,
                         m_windowPicture.id(), 0, 0, 0, 0, 0, 0,
                         static_cast<std::uint16_t>(target.width()),
                         static_cast<std::uint16_t>(target.height()));
}

void X11PicturePresenter::drawPixmap(std::uint32_t pixmap, QSize source, QSize target)
{
    if (!m_pixmapPicture || m_pixmap != pixmap) {
        m_pixmapPicture = Picture(m_connection);
        xcb_render_create_picture(m_connection, m_pixmapPicture.id(), pixmap, m_argb32, 0, nullptr);
        m_pixmap = pixmap;
    }
    composite(m_pixmapPicture.id(), source, target);
}

void X11PicturePresenter::forgetPixmap()
{
    m_pixmapPicture.reset();
    m_pixmap = 0;
}

void X11PicturePresenter::upload(const QImage &image, const QRect &area, std::uint32_t pixmap,
                                 std::uint32_t gc) const
{
    const QRect clipped = area.intersected(image.rect());
    if (clipped.isEmpty()) {
        return;
    }
    // Requests are limited in size (in 4-byte units); send as many rows as fit at a time.
    const std::size_t rowBytes = std::size_t(clipped.width()) * 4;
    const std::size_t maximum = std::size_t(xcb_get_maximum_request_length(m_connection)) * 4;
    const int rowsPerRequest =
        std::max(1, static_cast<int>((maximum - sizeof(xcb_put_image_request_t)) / rowBytes));
    std::vector<std::uint8_t> rows;
    for (int y = clipped.top(); y <= clipped.bottom(); y += rowsPerRequest) {
        const int count = std::min(rowsPerRequest, clipped.bottom() + 1 - y);
        const std::uint8_t *data = nullptr;
        if (clipped.left() == 0 && clipped.width() == image.width() &&
            std::size_t(image.bytesPerLine()) == rowBytes) {
            data = image.constScanLine(y);
        } else {
            rows.resize(rowBytes * std::size_t(count));
            for (int row = 0; row < count; ++row) {
                std::memcpy(rows.data() + rowBytes * std::size_t(row),
                            image.constScanLine(y + row) + std::size_t(clipped.left()) * 4,
                            rowBytes);
            }
            data = rows.data();
        }
        xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, gc,
                      static_cast<std::uint16_t>(clipped.width()),
                      static_cast<std::uint16_t>(count), static_cast<std::int16_t>(clipped.left()),
                      static_cast<std::int16_t>(y), 0, 32,
                      static_cast<std::uint32_t>(rowBytes * std::size_t(count)), data);
    }
}

void X11PicturePresenter::drawImage(const QImage &image, QSize target)
{
    if (image.isNull()) {
        return;
    }
    if (!m_imagePixmap || m_imageSize != image.size()) {
        m_imagePixmap = Pixmap(m_connection);
        xcb_create_pixmap(m_connection, 32, m_imagePixmap.id(), m_window,
                          static_cast<std::uint16_t>(image.width()),
                          static_cast<std::uint16_t>(image.height()));
        m_imageGc = Gc(m_connection);
        xcb_create_gc(m_connection, m_imageGc.id(), m_imagePixmap.id(), 0, nullptr);
        m_imagePicture = Picture(m_connection);
        xcb_render_create_picture(m_connection, m_imagePicture.id(), m_imagePixmap.id(), m_argb32,
                                  0, nullptr);
        m_imageSize = image.size();
    }
    upload(image, image.rect(), m_imagePixmap.id(), m_imageGc.id());
    composite(m_imagePicture.id(), image.size(), target);
}

void X11PicturePresenter::fill(const QColor &colour, QSize target)
{
    const QRgb rgb = colour.rgb();
    const xcb_render_color_t value{static_cast<std::uint16_t>(qRed(rgb) * 0x101),
                                   static_cast<std::uint16_t>(qGreen(rgb) * 0x101),
                                   static_cast<std::uint16_t>(qBlue(rgb) * 0x101), 0xFFFF};
    const xcb_rectangle_t all{0, 0, static_cast<std::uint16_t>(target.width()),
                              static_cast<std::uint16_t>(target.height())};
    xcb_render_fill_rectangles(m_connection, XCB_RENDER_PICT_OP_SRC, m_windowPicture.id(), value, 1,
                               &all);
}

void X11PicturePresenter::setOverlay(const QImage &overlay, const std::vector<QRect> &changed)
{
    if (overlay.isNull()) {
        return;
    }
    if (changed.empty() && (!m_overlayPixmap || m_overlaySize != overlay.size())) {
        // Nothing painted over a window that had nothing: no overlay is needed.
        m_overlayPicture.reset();
        m_overlayPixmap.reset();
        m_overlaySize = QSize();
        return;
    }
    if (!m_overlayPixmap || m_overlaySize != overlay.size()) {
        m_overlayPicture.reset();
        m_overlayPixmap = Pixmap(m_connection);
        xcb_create_pixmap(m_connection, 32, m_overlayPixmap.id(), m_window,
                          static_cast<std::uint16_t>(overlay.width()),
                          static_cast<std::uint16_t>(overlay.height()));
        m_overlayGc = Gc(m_connection);
        xcb_create_gc(m_connection, m_overlayGc.id(), m_overlayPixmap.id(), 0, nullptr);
        m_overlayPicture = Picture(m_connection);
        xcb_render_create_picture(m_connection, m_overlayPicture.id(), m_overlayPixmap.id(),
                                  m_argb32, 0, nullptr);
        m_overlaySize = overlay.size();
        const xcb_render_color_t transparent{0, 0, 0, 0};
        const xcb_rectangle_t all{0, 0, static_cast<std::uint16_t>(overlay.width()),
                                  static_cast<std::uint16_t>(overlay.height())};
        xcb_render_fill_rectangles(m_connection, XCB_RENDER_PICT_OP_SRC, m_overlayPicture.id(),
                                   transparent, 1, &all);
    }
    for (const QRect &area : changed) {
        upload(overlay, area, m_overlayPixmap.id(), m_overlayGc.id());
    }
}

void X11PicturePresenter::drawOverlay(const std::vector<QRect> &areas)
{
    if (!m_overlayPicture) {
        return;
    }
    for (const QRect &area : areas) {
        const QRect clipped = area.intersected(QRect(QPoint(0, 0), m_overlaySize));
        if (clipped.isEmpty()) {
            continue;
        }
        const auto x = static_cast<std::int16_t>(clipped.x());
        const auto y = static_cast<std::int16_t>(clipped.y());
        xcb_render_composite(m_connection, XCB_RENDER_PICT_OP_OVER, m_overlayPicture.id(), XCB_NONE,
                             m_windowPicture.id(), x, y, 0, 0, x, y,
                             static_cast<std::uint16_t>(clipped.width()),
                             static_cast<std::uint16_t>(clipped.height()));
    }
}

void X11PicturePresenter::flush()
{
    xcb_flush(m_connection);
}

} // namespace lookpane::x11
