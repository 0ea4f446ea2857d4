// The toolbar's window on a real desktop: window manager, compositing manager, focus and
// virtual desktops, checked through what the X server shows.
#include "TestDisplay.h"
#include "ToolbarTestSupport.h"
#include "XReadback.h"
#include "XSync.h"

#include "platform/x11/X11DesktopHints.h"
#include "toolbar/SymbolButton.h"
#include "toolbar/SymbolIcons.h"
#include "toolbar/ToolbarPanel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QTest>
#include <QToolTip>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <memory>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

// A plain window of a known colour to stand behind the toolbar.
class Backdrop : public QWidget
{
public:
    explicit Backdrop(QColor color) : m_color(color)
    {
        setWindowTitle(QStringLiteral("Backdrop"));
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        if (m_color.isValid()) {
            painter.fillRect(rect(), m_color);
            return;
        }
        // A colourful scene, to look at how the strip sits on real content.
        QLinearGradient gradient(0, 0, width(), height());
        gradient.setColorAt(0, QColor(0x2E, 0x86, 0xDE));
        gradient.setColorAt(0.5, QColor(0xF5, 0xF0, 0xE8));
        gradient.setColorAt(1, QColor(0xE8, 0x5D, 0x3F));
        painter.fillRect(rect(), gradient);
        painter.setPen(QColor(40, 40, 40));
        QFont font = painter.font();
        font.setPointSize(14);
        painter.setFont(font);
        for (int y = 30; y < height(); y += 36) {
            painter.drawText(20, y,
                             QStringLiteral("Quarterly figures  ·  Revenue 12.4  ·  Costs 8.1"));
        }
    }

private:
    QColor m_color;
};

QRect globalRect(QWidget *widget)
{
    return QRect(widget->mapToGlobal(QPoint(0, 0)), widget->size());
}

QColor pixelOnScreen(QPoint point)
{
    const QImage shot = grabScreenRect(testDisplay().displayName(), QRect(point, QSize(1, 1)));
    return shot.isNull() ? QColor() : shot.pixelColor(0, 0);
}

bool near(QColor a, QColor b, int tolerance)
{
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

// Saves what the screen shows around `area` when LOOKPANE_SCREENSHOT_DIR names a folder.
void saveScreenshot(const QRect &area, const QString &name)
{
    const char *folder = std::getenv("LOOKPANE_SCREENSHOT_DIR");
    if (folder == nullptr) {
        return;
    }
    const QImage shot = grabScreenRect(testDisplay().displayName(), area);
    shot.save(QDir(QString::fromLocal8Bit(folder)).filePath(name));
}

void showAt(QWidget *window, QPoint position)
{
    window->move(position);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
}

// Starts openbox; the harness waits until it really maps windows.
bool startWindowManager()
{
    return testDisplay().startWindowManager();
}

xcb_connection_t *appConnection()
{
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

// The real pointer, moved through the X server.
void fakeMotion(QPoint globalPoint)
{
    xcb_connection_t *conn = appConnection();
    ASSERT_NE(conn, nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(conn)).data->root;
    xcb_test_fake_input(conn, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root,
                        static_cast<int16_t>(globalPoint.x()),
                        static_cast<int16_t>(globalPoint.y()), 0);
    xcb_flush(conn);
}

// The window that has the keyboard focus, as the X server says.
WId inputFocus()
{
    xcb_connection_t *conn = appConnection();
    if (conn == nullptr) {
        return 0;
    }
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> focus(
        xcb_get_input_focus_reply(conn, xcb_get_input_focus(conn), nullptr), &std::free);
    return focus ? focus->focus : 0;
}

// A real click through the X server, as the user's pointer would make it.
void fakeClick(QPoint globalPoint)
{
    fakeMotion(globalPoint);
    xcb_connection_t *conn = appConnection();
    ASSERT_NE(conn, nullptr);
    xcb_test_fake_input(conn, XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_test_fake_input(conn, XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(conn);
}

} // namespace

TEST(ToolbarDesktop, PanelDoesNotTakeFocusWhenShownOrClicked)
{
    ASSERT_TRUE(startWindowManager());
    QWidget other;
    other.setWindowTitle(QStringLiteral("Other"));
    other.resize(400, 300);
    showAt(&other, QPoint(100, 100));
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &other; }, 10000));

    FrameToolbarWindowController toolbar;
    int drawToggles = 0;
    QObject::connect(&toolbar, &FrameToolbarWindowController::toggleDrawing,
                     [&] { ++drawToggles; });
    showAt(toolbar.window(), QPoint(700, 600));
    // Openbox focuses a window it takes in while it maps it; once it has caught up, and this
    // application has heard what came of it, the focus is where it stays.
    ASSERT_TRUE(windowsSettled(testDisplay().displayName()));
    EXPECT_EQ(inputFocus(), other.winId());
    EXPECT_EQ(QApplication::activeWindow(), &other);
    EXPECT_FALSE(toolbar.window()->isActiveWindow());

    // A real click on a control calls it, and still leaves the other window active.
    fakeClick(globalRect(toolbar.drawButton()).center());
    ASSERT_TRUE(QTest::qWaitFor([&] { return drawToggles == 1; }, 10000));
    ASSERT_TRUE(windowsSettled(testDisplay().displayName()));
    EXPECT_EQ(inputFocus(), other.winId());
    EXPECT_EQ(QApplication::activeWindow(), &other);
    EXPECT_FALSE(toolbar.window()->isActiveWindow());
}

TEST(ToolbarDesktop, TooltipsShowAlthoughThePanelIsNeverActive)
{
    ASSERT_TRUE(startWindowManager());
    QWidget other;
    other.setWindowTitle(QStringLiteral("Other"));
    other.resize(300, 200);
    showAt(&other, QPoint(100, 100));
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &other; }, 10000));

    FrameToolbarWindowController toolbar;
    showAt(toolbar.window(), QPoint(700, 600));
    // The pointer comes to rest on the pin button.
    const QPoint pin = globalRect(toolbar.alwaysOnTopButton()).center();
    fakeMotion(pin + QPoint(-6, 0));
    ASSERT_TRUE(QTest::qWaitFor([&] { return toolbar.alwaysOnTopButton()->underMouse(); }, 10000));
    fakeMotion(pin);
    EXPECT_TRUE(QTest::qWaitFor(
        [] {
            return QToolTip::isVisible() && QToolTip::text() == "Keep the box above other windows";
        },
        10000))
        << QToolTip::text().toStdString();
    EXPECT_EQ(QApplication::activeWindow(), &other);
}

TEST(ToolbarDesktop, PanelIsOnEveryVirtualDesktop)
{
    ASSERT_TRUE(startWindowManager());
    FrameToolbarWindowController toolbar;
    showAt(toolbar.window(), QPoint(500, 500));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return x11::desktopOfWindow(toolbar.window()) == 0xFFFFFFFFu; }, 10000))
        << "desktop " << x11::desktopOfWindow(toolbar.window()).value_or(12345);

    // Still so after hiding and showing again.
    toolbar.window()->hide();
    ASSERT_TRUE(applicationRequestsDone());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const std::optional<WindowInfo> info =
                windowInfo(testDisplay().displayName(), toolbar.window()->winId());
            return info && !info->viewable;
        },
        10000));
    toolbar.window()->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(toolbar.window()));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return x11::desktopOfWindow(toolbar.window()) == 0xFFFFFFFFu; }, 10000));
}

TEST(ToolbarDesktop, WithoutCompositingTheStripIsPaintedOpaque)
{
    ASSERT_TRUE(startWindowManager());
    testDisplay().stopCompositor();
    ASSERT_TRUE(QTest::qWaitFor([] { return !x11::isCompositingManagerRunning(); }, 10000));
    Backdrop backdrop(QColor(255, 0, 0));
    backdrop.resize(600, 200);
    showAt(&backdrop, QPoint(400, 400));

    FrameToolbarWindowController toolbar;
    auto *panel = static_cast<ToolbarPanel *>(toolbar.window());
    showAt(panel, QPoint(500, 480));
    const QRect area = globalRect(panel);
    // The corner and an empty bit of background both show the opaque strip, not red or black.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return near(pixelOnScreen(area.topLeft() + QPoint(0, 1)), ToolbarPanel::opaqueFill(),
                        6);
        },
        10000))
        << "corner pixel " << pixelOnScreen(area.topLeft() + QPoint(0, 1)).name().toStdString();
    EXPECT_TRUE(
        near(pixelOnScreen(area.bottomLeft() + QPoint(3, -3)), ToolbarPanel::opaqueFill(), 6));
    EXPECT_FALSE(panel->paintedTranslucent());
}

TEST(ToolbarDesktop, WithCompositingTheStripIsRoundedAndTranslucent)
{
    ASSERT_TRUE(startWindowManager());
    ASSERT_TRUE(testDisplay().startCompositor());
    ASSERT_TRUE(QTest::qWaitFor([] { return x11::isCompositingManagerRunning(); }, 10000));
    Backdrop backdrop(QColor(255, 0, 0));
    backdrop.resize(600, 200);
    showAt(&backdrop, QPoint(400, 400));

    FrameToolbarWindowController toolbar;
    auto *panel = static_cast<ToolbarPanel *>(toolbar.window());
    showAt(panel, QPoint(500, 480));
    const QRect area = globalRect(panel);
    // The rounded-off corner shows the red window beneath; the background in the middle of
    // the left margin is dark with a little red showing through.
    const QPoint margin(area.left() + 4, area.center().y());
    const auto blended = [](QColor c) {
        return c.red() < 120 && c.green() < 60 && c.blue() < 60 && c.red() > c.green() + 10;
    };
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return near(pixelOnScreen(area.topLeft()), QColor(255, 0, 0), 20) &&
                   blended(pixelOnScreen(margin));
        },
        10000))
        << "corner " << pixelOnScreen(area.topLeft()).name().toStdString() << ", margin "
        << pixelOnScreen(margin).name().toStdString();
    EXPECT_TRUE(panel->paintedTranslucent());
}

TEST(ToolbarDesktop, BothRowsOnTheDesktopAsTheUserSeesThem)
{
    ASSERT_TRUE(startWindowManager());
    const bool composited = std::getenv("LOOKPANE_SCREENSHOT_OPAQUE") == nullptr;
    if (composited) {
        ASSERT_TRUE(testDisplay().startCompositor());
        ASSERT_TRUE(QTest::qWaitFor([] { return x11::isCompositingManagerRunning(); }, 10000));
    }
    Backdrop backdrop{QColor()};
    backdrop.resize(760, 260);
    showAt(&backdrop, QPoint(300, 300));

    FrameToolbarWindowController baseRow;
    ToolbarState state;
    state.isPrivacyBlurActive = true;
    state.clickThrough = true;
    push(baseRow, state);
    showAt(baseRow.window(), QPoint(340, 340));

    FrameToolbarWindowController drawingRow;
    state.isDrawing = true;
    state.annotationTool = AnnotationTool::arrow;
    state.annotationColor = AnnotationColor::yellow;
    state.canUndo = true;
    state.canClear = false;
    push(drawingRow, state);
    showAt(drawingRow.window(), QPoint(340, 420));

    // Both strips show their controls: light symbols, the blur symbol in orange, the yellow
    // swatch.
    const QRect base = globalRect(baseRow.window());
    const QRect drawing = globalRect(drawingRow.window());
    const auto pixelsNear = [](const QRect &area, QColor color) {
        return countPixelsNear(grabScreenRect(testDisplay().displayName(), area), color, 30);
    };
    const bool shown = QTest::qWaitFor(
        [&] {
            return pixelsNear(base, QColor(0xFF, 0x95, 0x00)) > 20 &&
                   pixelsNear(drawing, QColor(0xFF, 0xCC, 0x00)) > 40 &&
                   pixelsNear(drawing, symbolColor) > 40;
        },
        10000);
    saveScreenshot(QRect(300, 300, 760, 260), composited ? QStringLiteral("toolbar-composited.png")
                                                         : QStringLiteral("toolbar-opaque.png"));
    EXPECT_TRUE(shown) << "orange " << pixelsNear(base, QColor(0xFF, 0x95, 0x00)) << ", yellow "
                       << pixelsNear(drawing, QColor(0xFF, 0xCC, 0x00)) << ", symbols "
                       << pixelsNear(drawing, symbolColor);
}
