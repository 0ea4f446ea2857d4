#include "app/WindowPair.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "frame/BorderlessWindow.h"
#include "frame/FrameGeometry.h"
#include "frame/PreviewView.h"
#include "frame/ScopeBorderView.h"
#include "model/DevicePixels.h"
#include "model/ScreenCoordinates.h"
#include "platform/x11/X11DesktopHints.h"
#include "platform/x11/X11WindowTraits.h"

#include <QBitmap>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QRegion>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <optional>

namespace lookpane {

namespace {

QRect toQt(const ScreenRect &screenRect)
{
    return qtRectFromScreen(screenRect, primaryScreenGeometry()).toRect();
}

ScreenRect fromQt(const QRect &qtRect)
{
    return screenRectFromQt(QRectF(qtRect), primaryScreenGeometry());
}

void fill(QWidget *content, QWidget *window)
{
    auto *layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(content);
}

std::optional<DeviceScreen> deviceScreenOf(const QWidget *window)
{
    const QScreen *screen = window->screen();
    if (!screen) {
        return std::nullopt;
    }
    return DeviceScreen{screen->geometry(), screen->devicePixelRatio()};
}

// Sets a top-level's stay-on-top flag without re-creating a shown window.
void setStaysOnTop(QWidget *window, bool onTop)
{
    if (QWindow *handle = window->windowHandle()) {
        handle->setFlag(Qt::WindowStaysOnTopHint, onTop);
    } else {
        window->setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
    }
}

// The pixels that `marks` cover in a window of `size`, drawn as the canvas draws them, so
// the marks show over the desktop as they do over the picture (with hard edges).
std::vector<QRect> markPixels(const std::vector<Annotation> &marks, const QSize &size)
{
    if (marks.empty()) {
        return {};
    }
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        AnnotationCanvasView::paintAnnotations(painter, marks, QSizeF(image.size()));
    }
    const QRegion region(QBitmap::fromImage(image.createAlphaMask(Qt::MonoOnly)));
    return std::vector<QRect>(region.begin(), region.end());
}

} // namespace

WindowPair::WindowPair(const ScreenRect &contentRect, bool staysOnTop)
    : m_frameWindow(std::make_unique<BorderlessWindow>()),
      m_shareWindow(std::make_unique<BorderlessWindow>())
{
    m_previewView = new PreviewView(true, m_frameWindow.get());
    m_sharePreviewView = new PreviewView(false, m_shareWindow.get());
    fill(m_previewView, m_frameWindow.get());
    fill(m_sharePreviewView, m_shareWindow.get());

    // Only the share window goes by Lookpane's name: it is the one to pick in a meeting
    // application's list of windows.
    m_frameWindow->setWindowTitle(QStringLiteral("Lookpane box"));
    m_shareWindow->setWindowTitle(QStringLiteral("Lookpane"));
    const QSize minimum = FrameGeometry::minimumContentSize.toSize();
    for (BorderlessWindow *window : {m_frameWindow.get(), m_shareWindow.get()}) {
        window->setMinimumSize(minimum);
        window->setAutoFillBackground(true);
    }
    // Only the box turns into a see-through outline (detached). The share window is opaque,
    // black behind its picture: what a meeting application reads of it has no transparency
    // to mishandle, and its backing store needs no clearing before each picture.
    m_frameWindow->setAttribute(Qt::WA_TranslucentBackground);
    m_frameWindow->setGeometry(toQt(contentRect));
    m_shareWindow->setGeometry(toQt(contentRect));
    m_frameWindow->setMovableByBackground(true);
    QPalette sharePalette = m_shareWindow->palette();
    sharePalette.setColor(QPalette::Window, Qt::black);
    m_shareWindow->setPalette(sharePalette);

    // The level first: on a window that already has its native window, Qt applies a changed
    // stay-on-top flag by re-creating it at the next show, and setting the role creates it.
    setStaysOnTop(staysOnTop);
    X11WindowTraits::setWindowRole(m_frameWindow.get(), "frame");
    X11WindowTraits::setWindowRole(m_shareWindow.get(), "share");
    // A utility window, not a normal one: window pickers leave it out, so that nobody shares
    // the box (unblurred in overlay mode) instead of the share window, and window managers
    // keep it with the share window (openbox stacks it above).
    X11WindowTraits::setWindowType(m_frameWindow.get(), X11WindowTraits::WindowType::utility);
}

WindowPair::~WindowPair() = default;

ScreenRect WindowPair::contentRect() const
{
    return fromQt(m_frameWindow->geometry());
}

ScreenRect WindowPair::shareWindowRect() const
{
    return fromQt(m_shareWindow->geometry());
}

QScreen *WindowPair::screen() const
{
    QScreen *onScreen = m_frameWindow->screen();
    return onScreen ? onScreen : QGuiApplication::primaryScreen();
}

void WindowPair::setContentRect(const ScreenRect &screenRect)
{
    m_frameWindow->setGeometry(toQt(screenRect));
}

void WindowPair::setShareWindowRect(const ScreenRect &screenRect)
{
    m_shareWindow->setGeometry(toQt(screenRect));
}

void WindowPair::moveTopLevel(QWidget *window, const ScreenRect &screenRect)
{
    window->move(toQt(screenRect).topLeft());
}

QPoint WindowPair::frameDevicePosition() const
{
    const QPoint corner = m_frameWindow->geometry().topLeft();
    const std::optional<DeviceScreen> screen = deviceScreenOf(m_frameWindow.get());
    return screen ? devicePixelPosition(corner, *screen) : corner;
}

ScreenRect WindowPair::frameRectAtDevicePixel(const QPointF &device) const
{
    const QSize size = m_frameWindow->size();
    const QPoint corner = qtPositionForDevicePixel(device, size, currentDeviceScreens(),
                                                   deviceScreenOf(m_frameWindow.get()));
    return fromQt(QRect(corner, size));
}

double WindowPair::scaleOf(const QWidget *window)
{
    const std::optional<DeviceScreen> screen = deviceScreenOf(window);
    return screen && screen->scale > 0 ? screen->scale : 1.0;
}

void WindowPair::putShareWindowUnderFrame()
{
    if (m_shareWindow->geometry() != m_frameWindow->geometry()) {
        m_shareWindow->setGeometry(m_frameWindow->geometry());
    }
}

void WindowPair::setStaysOnTop(bool onTop)
{
    lookpane::setStaysOnTop(m_frameWindow.get(), onTop);
}

void WindowPair::show()
{
    m_shareWindow->show();
    m_shareWindow->raise();
    m_frameWindow->show();
    // A stay-on-top flag changed since the last show makes Qt re-create the box's X window
    // here, and Qt 6 does not carry the role over to the new one.
    X11WindowTraits::setWindowRole(m_frameWindow.get(), "frame");
    m_frameWindow->raise();
    m_frameWindow->activateWindow();
    x11::showOnAllDesktops(m_frameWindow.get());
    x11::showOnAllDesktops(m_shareWindow.get());
}

void WindowPair::hide()
{
    m_frameWindow->hide();
    m_shareWindow->hide();
}

bool WindowPair::applyInput(const InputPolicy &policy)
{
    // Lying under the box, the share window must never catch the clicks that pass through the
    // box's interior; detached, it is an ordinary window.
    if (policy.sharePassesClicks) {
        X11WindowTraits::setInputRegion(m_shareWindow.get(), {});
    } else {
        X11WindowTraits::clearInputRegion(m_shareWindow.get());
    }
    switch (policy.frameInput) {
    case FrameInput::wholeWindow:
        return X11WindowTraits::clearInputRegion(m_frameWindow.get());
    case FrameInput::edgeBands:
        return X11WindowTraits::setInputRegion(
            m_frameWindow.get(),
            X11WindowTraits::edgeBands(m_frameWindow->size(), BorderlessWindow::edgeBand));
    case FrameInput::nothing:
        return X11WindowTraits::setInputRegion(m_frameWindow.get(), {});
    }
    return false;
}

void WindowPair::applyOutline(bool cut, bool withBanner, const std::vector<Annotation> &marks)
{
    // A compositing manager shows the outline's transparent middle as it is; without one the
    // window would show black there, so its shape is cut down to what must stay visible.
    if (!cut) {
        if (m_outlineShapeApplied) {
            X11WindowTraits::clearBoundingRegion(m_frameWindow.get());
            m_outlineShapeApplied = false;
        }
        return;
    }
    std::vector<QRect> rects =
        X11WindowTraits::edgeBands(m_frameWindow->size(), BorderlessWindow::edgeBand);
    if (withBanner) {
        const QRectF outline = ScopeBorderView::outlineRect(QRectF(m_frameWindow->rect()));
        if (const std::optional<QRectF> banner = ScopeBorderView::bannerRect(outline)) {
            rects.push_back(banner->toAlignedRect());
        }
    }
    const std::vector<QRect> covered = markPixels(marks, m_frameWindow->size());
    rects.insert(rects.end(), covered.begin(), covered.end());
    m_outlineShapeApplied = X11WindowTraits::setBoundingRegion(m_frameWindow.get(), rects);
}

void WindowPair::setFrameShowsPicture(bool mirror)
{
    QPalette palette = m_frameWindow->palette();
    palette.setColor(QPalette::Window, mirror ? QColor(Qt::black) : QColor(Qt::transparent));
    m_frameWindow->setPalette(palette);
    m_previewView->setPreviewStyle(mirror ? PreviewView::Style::mirror
                                          : PreviewView::Style::selection);
}

} // namespace lookpane
