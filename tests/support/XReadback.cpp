#include "XReadback.h"

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <QColor>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>

namespace lookpane::testing {

namespace {

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;
using ConnectionPtr = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

ConnectionPtr connect(const std::string &display)
{
    return ConnectionPtr(xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
}

xcb_window_t rootOf(xcb_connection_t *c)
{
    return xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
}

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

QImage readImage(xcb_connection_t *c, xcb_drawable_t drawable, const QRect &rect)
{
    QImage image(rect.size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    // Strips keep each request well under the server's request size limit.
    const int stripHeight = std::max(1, (1 << 20) / std::max(1, rect.width() * 4));
    for (int y = 0; y < rect.height(); y += stripHeight) {
        const int rows = std::min(stripHeight, rect.height() - y);
        Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
            c,
            xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<int16_t>(rect.x()),
                          static_cast<int16_t>(rect.y() + y), static_cast<uint16_t>(rect.width()),
                          static_cast<uint16_t>(rows), 0xFFFFFFFF),
            nullptr));
        if (!reply) {
            return {};
        }
        const uint8_t *data = xcb_get_image_data(reply.get());
        const int length = xcb_get_image_data_length(reply.get());
        const int bytesPerRow = length / rows;
        for (int row = 0; row < rows; ++row) {
            std::memcpy(image.scanLine(y + row), data + row * bytesPerRow,
                        static_cast<std::size_t>(std::min(bytesPerRow, rect.width() * 4)));
        }
    }
    // Depth-24 pixels carry an undefined alpha byte.
    for (int y = 0; y < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            line[x] |= 0xFF000000u;
        }
    }
    return image;
}

QString propertyText(xcb_connection_t *c, xcb_window_t window, xcb_atom_t property, xcb_atom_t type)
{
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, property, type, 0, 1024), nullptr));
    if (!reply || reply->format != 8) {
        return {};
    }
    const char *data = static_cast<const char *>(xcb_get_property_value(reply.get()));
    const int length = xcb_get_property_value_length(reply.get());
    return QString::fromUtf8(data, length);
}

std::optional<WindowInfo> describe(xcb_connection_t *c, xcb_window_t window)
{
    Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
    if (!attributes || !geometry) {
        return std::nullopt;
    }
    Reply<xcb_translate_coordinates_reply_t> position(xcb_translate_coordinates_reply(
        c, xcb_translate_coordinates(c, window, rootOf(c), 0, 0), nullptr));
    if (!position) {
        return std::nullopt;
    }
    WindowInfo info;
    info.id = window;
    info.geometry = QRect(position->dst_x, position->dst_y, geometry->width, geometry->height);
    info.viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    info.title = propertyText(c, window, atom(c, "_NET_WM_NAME"), atom(c, "UTF8_STRING"));
    if (info.title.isEmpty()) {
        info.title = propertyText(c, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING);
    }
    info.role = propertyText(c, window, atom(c, "WM_WINDOW_ROLE"), XCB_ATOM_STRING);
    info.overrideRedirect = attributes->override_redirect != 0;
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
    info.parent = tree ? tree->parent : xcb_window_t{XCB_WINDOW_NONE};
    info.topLevel = tree && tree->parent == tree->root;
    Reply<xcb_get_property_reply_t> pid(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, atom(c, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 0, 1),
        nullptr));
    if (pid && pid->format == 32 && xcb_get_property_value_length(pid.get()) == 4) {
        info.pid = static_cast<int>(
            *static_cast<const std::uint32_t *>(xcb_get_property_value(pid.get())));
    }
    return info;
}

void walk(xcb_connection_t *c, xcb_window_t window, const std::function<void(xcb_window_t)> &visit)
{
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
    if (!tree) {
        return;
    }
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    for (int i = 0; i < count; ++i) {
        visit(children[i]);
        walk(c, children[i], visit);
    }
}

} // namespace

QImage grabScreenRect(const std::string &display, const QRect &rect)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return {};
    }
    return readImage(c.get(), rootOf(c.get()), rect);
}

QImage grabWindow(const std::string &display, std::uint32_t window)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return {};
    }
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c.get(), xcb_get_geometry(c.get(), window), nullptr));
    if (!geometry) {
        return {};
    }
    return readImage(c.get(), window, QRect(0, 0, geometry->width, geometry->height));
}

void WindowReader::Closer::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

WindowReader::WindowReader(const std::string &display)
    : m_connection(xcb_connect(display.c_str(), nullptr))
{}

WindowReader::~WindowReader() = default;

bool WindowReader::isConnected() const
{
    return m_connection && xcb_connection_has_error(m_connection.get()) == 0;
}

QImage WindowReader::grab(std::uint32_t window)
{
    if (!isConnected()) {
        return {};
    }
    xcb_connection_t *c = m_connection.get();
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
    if (!geometry) {
        return {};
    }
    return readImage(c, window, QRect(0, 0, geometry->width, geometry->height));
}

QImage WindowReader::grab(std::uint32_t window, const QRect &rect)
{
    return isConnected() ? readImage(m_connection.get(), window, rect) : QImage{};
}

std::vector<WindowInfo> findWindows(const std::string &display,
                                    const std::function<bool(const WindowInfo &)> &matches)
{
    std::vector<WindowInfo> found;
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return found;
    }
    walk(c.get(), rootOf(c.get()), [&](xcb_window_t window) {
        if (std::optional<WindowInfo> info = describe(c.get(), window); info && matches(*info)) {
            found.push_back(*info);
        }
    });
    return found;
}

std::vector<WindowInfo> findWindowsByTitle(const std::string &display, const QString &title)
{
    return findWindows(display, [&](const WindowInfo &info) { return info.title == title; });
}

std::vector<WindowInfo> findWindowsByRole(const std::string &display, const QString &role)
{
    return findWindows(display, [&](const WindowInfo &info) { return info.role == role; });
}

static std::optional<WindowInfo>
waitForViewable(const std::function<std::vector<WindowInfo>()> &candidates, int timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    do {
        for (const WindowInfo &info : candidates()) {
            if (info.viewable) {
                return info;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    } while (std::chrono::steady_clock::now() < deadline);
    return std::nullopt;
}

std::optional<WindowInfo> waitForViewableRole(const std::string &display, const QString &role,
                                              int timeoutMs)
{
    return waitForViewable([&] { return findWindowsByRole(display, role); }, timeoutMs);
}

std::optional<WindowInfo> waitForViewableWindow(const std::string &display, const QString &title,
                                                int timeoutMs)
{
    return waitForViewable([&] { return findWindowsByTitle(display, title); }, timeoutMs);
}

std::optional<WindowInfo> windowInfo(const std::string &display, std::uint32_t window)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return std::nullopt;
    }
    return describe(c.get(), window);
}

bool takesPointerAt(const std::string &display, std::uint32_t window, QPoint point)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return false;
    }
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c.get(), xcb_get_geometry(c.get(), window), nullptr));
    if (!geometry || !QRect(0, 0, geometry->width, geometry->height).contains(point)) {
        return false;
    }
    // An unshaped window answers with one rectangle, its whole self.
    Reply<xcb_shape_get_rectangles_reply_t> shape(xcb_shape_get_rectangles_reply(
        c.get(), xcb_shape_get_rectangles(c.get(), window, XCB_SHAPE_SK_INPUT), nullptr));
    if (!shape) {
        return false;
    }
    const xcb_rectangle_t *rectangles = xcb_shape_get_rectangles_rectangles(shape.get());
    const int count = xcb_shape_get_rectangles_rectangles_length(shape.get());
    for (int i = 0; i < count; ++i) {
        if (QRect(rectangles[i].x, rectangles[i].y, rectangles[i].width, rectangles[i].height)
                .contains(point)) {
            return true;
        }
    }
    return false;
}

std::optional<int> stackingPosition(const std::string &display, std::uint32_t window)
{
    ConnectionPtr c = connect(display);
    if (xcb_connection_has_error(c.get())) {
        return std::nullopt;
    }
    xcb_window_t topLevel = window;
    for (;;) {
        Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(c.get(), xcb_query_tree(c.get(), topLevel), nullptr));
        if (!tree) {
            return std::nullopt;
        }
        if (tree->parent == tree->root) {
            break;
        }
        topLevel = tree->parent;
    }
    Reply<xcb_query_tree_reply_t> roots(
        xcb_query_tree_reply(c.get(), xcb_query_tree(c.get(), rootOf(c.get())), nullptr));
    if (!roots) {
        return std::nullopt;
    }
    const xcb_window_t *children = xcb_query_tree_children(roots.get());
    const int count = xcb_query_tree_children_length(roots.get());
    for (int i = 0; i < count; ++i) {
        if (children[i] == topLevel) {
            return i;
        }
    }
    return std::nullopt;
}

QColor meanColor(const QImage &image, const QRect &area)
{
    const QRect clipped = area.intersected(image.rect());
    if (clipped.isEmpty()) {
        return {};
    }
    double r = 0, g = 0, b = 0;
    for (int y = clipped.top(); y <= clipped.bottom(); ++y) {
        for (int x = clipped.left(); x <= clipped.right(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            r += qRed(pixel);
            g += qGreen(pixel);
            b += qBlue(pixel);
        }
    }
    const double n = static_cast<double>(clipped.width()) * clipped.height();
    return QColor(qRound(r / n), qRound(g / n), qRound(b / n));
}

int countPixelsNotNear(const QImage &image, const QRect &area, QColor color, int tolerance)
{
    const QRect clipped = area.intersected(image.rect());
    int count = 0;
    for (int y = clipped.top(); y <= clipped.bottom(); ++y) {
        for (int x = clipped.left(); x <= clipped.right(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            if (std::abs(qRed(pixel) - color.red()) > tolerance ||
                std::abs(qGreen(pixel) - color.green()) > tolerance ||
                std::abs(qBlue(pixel) - color.blue()) > tolerance) {
                ++count;
            }
        }
    }
    return count;
}

} // namespace lookpane::testing
