#include "platform/x11/X11WindowTraits.h"

#include "platform/x11/ApplicationConnection.h"
#include "platform/x11/PlatformX11Log.h"
#include "platform/x11/XAtoms.h"
#include "platform/x11/XErrors.h"
#include "platform/x11/XReply.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QWidget>

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <algorithm>

namespace lookpane::X11WindowTraits {

namespace {

// None for a window that has no native window yet: shaping one must not create it early.
xcb_window_t nativeWindow(QWidget *window)
{
    if (!window || !window->isWindow() || !window->testAttribute(Qt::WA_WState_Created)) {
        return XCB_WINDOW_NONE;
    }
    return x11::windowId(window);
}

// Sends a request and waits for its outcome, so that an error (a window destroyed by someone
// else meanwhile) is consumed and reported here instead of reaching Qt's error handler.
bool checked(xcb_connection_t *c, xcb_void_cookie_t cookie)
{
    return !x11::checkRequest(c, cookie, lcPlatformX11());
}

} // namespace

static bool setShape(QWidget *window, xcb_shape_kind_t kind, const std::vector<QRect> &rects)
{
    xcb_connection_t *c = x11::applicationConnection();
    const xcb_window_t id = nativeWindow(window);
    if (!c || id == XCB_WINDOW_NONE) {
        return false;
    }
    const qreal scale = window->devicePixelRatioF();
    std::vector<xcb_rectangle_t> xrects;
    xrects.reserve(rects.size());
    for (const QRect &r : rects) {
        if (r.isEmpty()) {
            continue;
        }
        xrects.push_back({static_cast<int16_t>(qRound(r.x() * scale)),
                          static_cast<int16_t>(qRound(r.y() * scale)),
                          static_cast<uint16_t>(qRound(r.width() * scale)),
                          static_cast<uint16_t>(qRound(r.height() * scale))});
    }
    if (xrects.empty()) {
        // A shape without rectangles reads to some window managers (openbox) as "not shaped",
        // and their frame window then swallows the clicks. One rectangle outside the window
        // gives the same empty region without that ambiguity.
        xrects.push_back({-1, -1, 1, 1});
    }
    return checked(
        c, xcb_shape_rectangles_checked(c, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, id,
                                        0, 0, static_cast<uint32_t>(xrects.size()), xrects.data()));
}

static bool clearShape(QWidget *window, xcb_shape_kind_t kind)
{
    xcb_connection_t *c = x11::applicationConnection();
    const xcb_window_t id = nativeWindow(window);
    if (!c || id == XCB_WINDOW_NONE) {
        return false;
    }
    // A "none" mask resets the input shape to the window's own extent.
    return checked(c, xcb_shape_mask_checked(c, XCB_SHAPE_SO_SET, kind, id, 0, 0, XCB_PIXMAP_NONE));
}

bool setInputRegion(QWidget *window, const std::vector<QRect> &rects)
{
    return setShape(window, XCB_SHAPE_SK_INPUT, rects);
}

bool clearInputRegion(QWidget *window)
{
    return clearShape(window, XCB_SHAPE_SK_INPUT);
}

bool setBoundingRegion(QWidget *window, const std::vector<QRect> &rects)
{
    return setShape(window, XCB_SHAPE_SK_BOUNDING, rects);
}

bool clearBoundingRegion(QWidget *window)
{
    return clearShape(window, XCB_SHAPE_SK_BOUNDING);
}

std::vector<QRect> edgeBands(const QSize &size, int band)
{
    const int w = size.width();
    const int h = size.height();
    if (w <= 2 * band || h <= 2 * band) {
        return {QRect(0, 0, w, h)};
    }
    return {
        QRect(0, 0, w, band),                      // top
        QRect(0, h - band, w, band),               // bottom
        QRect(0, band, band, h - 2 * band),        // left
        QRect(w - band, band, band, h - 2 * band), // right
    };
}

} // namespace lookpane::X11WindowTraits

namespace lookpane::X11WindowTraits {

bool setWindowRole(QWidget *window, const QByteArray &role)
{
    if (!window || !window->isWindow()) {
        return false;
    }
    // Through Qt, which keeps the role and writes it onto every X window it creates for this
    // one, also when it re-creates it.
    window->setWindowRole(QString::fromLatin1(role));
    return true;
}

} // namespace lookpane::X11WindowTraits

namespace lookpane::X11WindowTraits {

namespace {

const char *typeAtomName(WindowType type)
{
    switch (type) {
    case WindowType::utility:
        return "_NET_WM_WINDOW_TYPE_UTILITY";
    case WindowType::dialog:
        return "_NET_WM_WINDOW_TYPE_DIALOG";
    }
    return "_NET_WM_WINDOW_TYPE_NORMAL";
}

// `types` with "normal" replaced by `wanted` where it stands, `wanted` appended when there is
// neither, and no type twice. Applied to its own result it changes nothing, so writing it back
// never starts a loop of property changes.
std::vector<xcb_atom_t> withTypeForNormal(const std::vector<xcb_atom_t> &types, xcb_atom_t normal,
                                          xcb_atom_t wanted)
{
    std::vector<xcb_atom_t> result;
    for (const xcb_atom_t type : types) {
        const xcb_atom_t kept = type == normal ? wanted : type;
        if (std::find(result.begin(), result.end(), kept) == result.end()) {
            result.push_back(kept);
        }
    }
    if (std::find(result.begin(), result.end(), wanted) == result.end()) {
        result.push_back(wanted);
    }
    return result;
}

// Keeps one window's type, for as long as the window lives (it is the window's child). It
// writes the type before each show, when Qt gives the widget a new X window, and after Qt (or
// anyone) writes the property anew.
class WindowTypeKeeper : public QObject, public QAbstractNativeEventFilter
{
public:
    static constexpr const char *name = "lookpane-window-type";

    WindowTypeKeeper(QWidget *window, xcb_connection_t *connection)
        : QObject(window), m_window(window), m_connection(connection),
          m_property(x11::internAtom(connection, "_NET_WM_WINDOW_TYPE")),
          m_normal(x11::internAtom(connection, "_NET_WM_WINDOW_TYPE_NORMAL"))
    {
        setObjectName(QLatin1String(name));
        window->installEventFilter(this);
        QCoreApplication::instance()->installNativeEventFilter(this);
    }

    ~WindowTypeKeeper() override
    {
        if (QCoreApplication *application = QCoreApplication::instance()) {
            application->removeNativeEventFilter(this);
        }
    }

    WindowTypeKeeper(const WindowTypeKeeper &) = delete;
    WindowTypeKeeper &operator=(const WindowTypeKeeper &) = delete;

    // False when the server gave no atoms to write.
    bool setType(WindowType type)
    {
        m_wanted = x11::internAtom(m_connection, typeAtomName(type));
        return isValid();
    }

    // Writes the type onto the window's X window, if it has one yet; false on an X failure.
    bool apply()
    {
        const xcb_window_t id = nativeWindow(m_window);
        if (id == XCB_WINDOW_NONE || !isValid()) {
            return id == XCB_WINDOW_NONE;
        }
        const x11::Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, id, m_property, XCB_ATOM_ATOM, 0, 64),
            nullptr));
        if (!reply) {
            qCWarning(lcPlatformX11, "the window type of window 0x%x cannot be read", id);
            return false;
        }
        std::vector<xcb_atom_t> types;
        if (reply->format == 32) {
            const auto *first =
                static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
            types.assign(first, first + xcb_get_property_value_length(reply.get()) / 4);
        }
        const std::vector<xcb_atom_t> wanted = withTypeForNormal(types, m_normal, m_wanted);
        if (wanted == types) {
            return true;
        }
        qCDebug(lcPlatformX11, "window 0x%x: %zu window types written over %zu", id, wanted.size(),
                types.size());
        return checked(m_connection,
                       xcb_change_property_checked(
                           m_connection, XCB_PROP_MODE_REPLACE, id, m_property, XCB_ATOM_ATOM, 32,
                           static_cast<uint32_t>(wanted.size()), wanted.data()));
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // The widget's show event comes after its X window exists and before it is mapped.
        if (watched == m_window &&
            (event->type() == QEvent::Show || event->type() == QEvent::WinIdChange)) {
            apply();
        }
        return false;
    }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        if (eventType != "xcb_generic_event_t") {
            return false;
        }
        const auto *event = static_cast<const xcb_generic_event_t *>(message);
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY) {
            return false;
        }
        const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (notify->atom != m_property || notify->window != nativeWindow(m_window) ||
            m_applyQueued) {
            return false;
        }
        // After Qt has seen the event too, and once for a burst of them.
        m_applyQueued = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_applyQueued = false;
                apply();
            },
            Qt::QueuedConnection);
        return false;
    }

private:
    bool isValid() const
    {
        return m_property != XCB_ATOM_NONE && m_normal != XCB_ATOM_NONE &&
               m_wanted != XCB_ATOM_NONE;
    }

    QWidget *m_window;
    xcb_connection_t *m_connection;
    xcb_atom_t m_property;
    xcb_atom_t m_normal;
    xcb_atom_t m_wanted = XCB_ATOM_NONE;
    bool m_applyQueued = false;
};

} // namespace

bool setWindowType(QWidget *window, WindowType type)
{
    xcb_connection_t *c = x11::applicationConnection();
    if (!c || !window || !window->isWindow()) {
        return false;
    }
    // One keeper per window: the type asked for last is the one kept.
    auto *keeper = dynamic_cast<WindowTypeKeeper *>(window->findChild<QObject *>(
        QLatin1String(WindowTypeKeeper::name), Qt::FindDirectChildrenOnly));
    if (!keeper) {
        keeper = new WindowTypeKeeper(window, c); // owned by the window
    }
    if (!keeper->setType(type)) {
        qCWarning(lcPlatformX11, "the window type atoms cannot be had from the X server");
        return false;
    }
    return keeper->apply();
}

} // namespace lookpane::X11WindowTraits
