// What viewers see never holds a Lookpane window: the real executable on a private X server
// with openbox, with and without a compositing manager, in overlay and in detached mode. Each
// of Lookpane's own windows is placed over the captured region in turn (the box's outline,
// the "Viewers see a blur" banner, the toolbar, a tooltip, the framing menu, the status menu,
// the settings window and the guide), and the share window, read as a meeting application
// reads it, must show exactly what lies beneath: the document of another program.
//
// A still document alone would prove nothing: the capture delivers a frame only when
// something in the region changes, so a share window that stopped updating would look clean.
// A small ticker window of another program in the region's corner counts frames; only share
// frames whose ticker count is newer than the count read after the Lookpane window was seen
// on the screen are checked, so each was composed while the window lay over the region.
#include "ChildProcess.h"
#include "Eventually.h"
#include "ImageMetrics.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "ToolbarControls.h"
#include "XInput.h"
#include "XKeyboard.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include "model/SystemColors.h"

#include <gtest/gtest.h>

#include <QPainter>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

// A screen on which a box as tall as this one leaves no room for the toolbar above or below
// it: the toolbar then lies inside the box, over the region, and its tooltip and menus open
// over the region too.
constexpr int screenWidth = 1280;
constexpr int screenHeight = 800;
// The box, in the stored form (bottom-left origin) and as the X server places it.
const char *const storedFrame = "{{60, 20}, {560, 760}}";
const QRect region(60, 20, 560, 760);
// The detached share window: the region's size, beside it, so its pixels are the region's.
const char *const storedDetachedFrame = "{{660, 20}, {560, 760}}";
// The ticker, in region coordinates.
const QRect tickerInRegion(20, 20, 24, 24);
// Around the ticker, where a blurred picture carries its colour.
const QRect tickerBlurArea = tickerInRegion.adjusted(-20, -20, 64, 64);

// Pixels of the share window may differ this much from the document's (rounding).
constexpr int pixelTolerance = 8;
// A blurred picture keeps the means of blocks this large within this much of the document's.
constexpr int blurBlock = 40;
constexpr int blurBlockTolerance = 24;

struct Setup
{
    const char *name;
    bool detached;
    bool compositor;
};

std::string setupName(const ::testing::TestParamInfo<Setup> &info)
{
    return info.param.name;
}

int countNear(const QImage &image, QColor color, int tolerance)
{
    return image.isNull() ? 0
                          : image.width() * image.height() -
                                countPixelsNotNear(image, image.rect(), color, tolerance);
}

// The ticker's count from its colour (red: the low byte, green: the high byte).
int tickerCount(QRgb pixel)
{
    return qRed(pixel) | (qGreen(pixel) << 8);
}

// The smallest rectangle holding every pixel that differs by more than `tolerance`.
QRect differingArea(const QImage &a, const QImage &b, int tolerance)
{
    QRect area;
    for (int y = 0; y < std::min(a.height(), b.height()); ++y) {
        for (int x = 0; x < std::min(a.width(), b.width()); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            if (std::abs(qRed(p) - qRed(q)) > tolerance ||
                std::abs(qGreen(p) - qGreen(q)) > tolerance ||
                std::abs(qBlue(p) - qBlue(q)) > tolerance) {
                area |= QRect(x, y, 1, 1);
            }
        }
    }
    return area;
}

std::string describe(const QRect &r)
{
    std::ostringstream text;
    text << r.width() << "x" << r.height() << "+" << r.x() << "+" << r.y();
    return text.str();
}

class PrivacyExclusion : public ::testing::TestWithParam<Setup>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_server.isRunning());
        ASSERT_TRUE(m_server.startWindowManager());
        if (GetParam().compositor) {
            ASSERT_TRUE(m_server.startCompositor());
        }
        // The document covers the region (not the whole screen: the window manager would take
        // an undecorated window of the screen's size for a full-screen one and raise it above
        // Lookpane's); the ticker sits in the region's corner.
        PatternWindow::Options page =
            PatternWindow::at(QRect(20, 10, 1200, 780), Pattern::text, "Document");
        page.undecorated = true;
        m_document = std::make_unique<PatternWindow>(display(), page);
        ASSERT_TRUE(m_document->isShown());
        m_page = windowInfo(display(), m_document->window()).value_or(WindowInfo{}).geometry;
        ASSERT_TRUE(m_page.contains(region)) << "the document does not fill the region";
        PatternWindow::Options ticker = PatternWindow::at(
            tickerInRegion.translated(region.topLeft()), Pattern::solid, "Ticker");
        ticker.animate = true;
        ticker.overrideRedirect = true;
        ticker.stampSize = tickerInRegion.width();
        m_ticker = std::make_unique<PatternWindow>(display(), ticker);
        ASSERT_TRUE(m_ticker->isShown());

        m_expected = QImage(region.size(), QImage::Format_RGB32);
        const QPoint offset = region.topLeft() - m_page.topLeft();
        for (int y = 0; y < m_expected.height(); ++y) {
            for (int x = 0; x < m_expected.width(); ++x) {
                m_expected.setPixel(
                    x, y, 0xFF000000u | m_document->expectedPixel(offset.x() + x, offset.y() + y));
            }
        }

        keepGuideClosedAtLaunch(m_config.path());
        {
            QSettings stored(lookpaneSettingsFile(m_config.path()), QSettings::NativeFormat);
            stored.setValue(QStringLiteral("FrameWindowFrame"), QString::fromLatin1(storedFrame));
            stored.setValue(QStringLiteral("DetachedShareWindowFrame"),
                            QString::fromLatin1(storedDetachedFrame));
            stored.setValue(QStringLiteral("ShareMode"), GetParam().detached
                                                             ? QStringLiteral("detached")
                                                             : QStringLiteral("overlay"));
        }
        m_lookpane =
            std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()},
                                           lookpaneEnvironment(display(), m_config.path()));
        m_frame = role("frame");
        m_share = role("share");
        m_toolbar = role("toolbar");
        ASSERT_EQ(m_frame.geometry, region) << "the box is not where it was stored";
        ASSERT_EQ(m_share.geometry.size(), region.size())
            << "the share window does not show the region pixel for pixel";
        ASSERT_TRUE(eventually([&] {
            m_toolbar = role("toolbar");
            return region.contains(m_toolbar.geometry);
        })) << "the toolbar is not inside the box: "
            << describe(m_toolbar.geometry);
        ASSERT_EQ(m_toolbar.geometry.size(), toolbarControls().baseRowSize)
            << "the shipped toolbar is not laid out as the toolbar code lays it out here";
        ASSERT_TRUE(m_reader.isConnected());
    }

    std::string display() const { return m_server.displayName(); }

    WindowInfo role(const char *name)
    {
        return waitForViewableRole(display(), QString::fromLatin1(name), 10000)
            .value_or(WindowInfo{});
    }

    // Lookpane's viewable override-redirect windows (menus, tooltips).
    std::vector<WindowInfo> popups()
    {
        const int pid = m_lookpane->pid();
        return findWindows(display(), [pid](const WindowInfo &info) {
            return info.viewable && info.overrideRedirect && info.pid == pid;
        });
    }
    std::optional<WindowInfo> waitForPopup(const std::function<bool(const WindowInfo &)> &which)
    {
        std::optional<WindowInfo> found;
        eventually([&] {
            for (const WindowInfo &info : popups()) {
                if (which(info)) {
                    found = info;
                    return true;
                }
            }
            return false;
        });
        return found;
    }

    // Whether `window` shows on the screen over the region: most of the part of it inside the
    // region reads on the screen as the window's own pixels, and differs from the document.
    // A translucent window (with a compositing manager) shows blended with what lies beneath;
    // its own pixels then match only where it is opaque, which is most of it.
    bool liesOverTheRegion(const WindowInfo &window, std::string *why = nullptr)
    {
        const QRect over = window.geometry & region;
        if (over.width() < 8 || over.height() < 8) {
            if (why != nullptr) {
                *why = "outside the region: " + describe(window.geometry);
            }
            return false;
        }
        const QImage own =
            grabWindow(display(), window.id).copy(over.translated(-window.geometry.topLeft()));
        const QImage screen = grabScreenRect(display(), over);
        const QImage beneath = m_expected.copy(over.translated(-region.topLeft()));
        if (own.isNull() || screen.isNull()) {
            return false;
        }
        const int area = over.width() * over.height();
        const int notOwn = countDiffering(screen, own, 16);
        const int notBeneath = countDiffering(screen, beneath, 16);
        if (why != nullptr) {
            *why = describe(over) + ": " + std::to_string(notOwn) + " pixels not its own, " +
                   std::to_string(notBeneath) + " not the document's";
        }
        return notBeneath >= area / 20 && (notOwn <= area / 4 || notBeneath >= area * 9 / 10);
    }

    static int countDiffering(const QImage &a, const QImage &b, int tolerance)
    {
        int count = 0;
        for (int y = 0; y < std::min(a.height(), b.height()); ++y) {
            for (int x = 0; x < std::min(a.width(), b.width()); ++x) {
                const QRgb p = a.pixel(x, y);
                const QRgb q = b.pixel(x, y);
                count += std::abs(qRed(p) - qRed(q)) > tolerance ||
                                 std::abs(qGreen(p) - qGreen(q)) > tolerance ||
                                 std::abs(qBlue(p) - qBlue(q)) > tolerance
                             ? 1
                             : 0;
            }
        }
        return count;
    }

    // Reads the share window until three frames composed after this call have come, and
    // checks each against the document (`blurred`: against its blurred look, with no orange).
    void expectOnlyTheDocument(const std::string &what, bool blurred)
    {
        const QImage ownTicker = grabWindow(display(), m_ticker->window());
        ASSERT_FALSE(ownTicker.isNull());
        const int seen =
            tickerCount(ownTicker.pixel(ownTicker.width() / 2, ownTicker.height() / 2));
        std::set<int> checked;
        std::string failure;
        const bool enough = eventually(
            [&] {
                QImage frame = m_reader.grab(m_share.id);
                if (frame.isNull() || frame.size() != region.size()) {
                    return false;
                }
                const int count = tickerCount(frame.pixel(tickerInRegion.center()));
                if (count <= seen || checked.contains(count)) {
                    return false;
                }
                checked.insert(count);
                QImage expected = m_expected;
                for (QImage *image : {&frame, &expected}) {
                    QPainter(image).fillRect(blurred ? tickerBlurArea : tickerInRegion, Qt::black);
                }
                if (blurred) {
                    const int orange = countNear(frame, SystemColors::orange, 60);
                    const int blockDifference = maxBlockMeanDifference(frame, expected, blurBlock);
                    if (failure.empty() && (orange > 0 || blockDifference > blurBlockTolerance)) {
                        failure = std::to_string(orange) + " orange pixels, blocks differ by " +
                                  std::to_string(blockDifference) + " where " +
                                  describe(differingArea(frame, expected, 64));
                    }
                } else if (const int difference = maxPixelDifference(frame, expected);
                           failure.empty() && difference > pixelTolerance) {
                    failure = "pixels differ by " + std::to_string(difference) + " in " +
                              describe(differingArea(frame, expected, pixelTolerance));
                }
                return checked.size() >= 3;
            },
            15000);
        EXPECT_TRUE(enough) << what << ": the share window showed no new frame (ticker at " << seen
                            << ")";
        EXPECT_EQ(failure, "") << what << " shows in what viewers see";
    }

    void closePopups()
    {
        ASSERT_TRUE(xdotool(display(), {"key", "Escape"}));
        ASSERT_TRUE(eventually([&] { return popups().empty(); })) << "a menu stayed open";
    }

    // Moves a managed window so that it lies over the region's upper part.
    void moveOverTheRegion(WindowInfo &window, QPoint to)
    {
        ASSERT_TRUE(xdotool(display(), {"windowmove", "--sync", std::to_string(window.id),
                                        std::to_string(to.x()), std::to_string(to.y())}));
        std::string why;
        ASSERT_TRUE(eventually([&] {
            window = windowInfo(display(), window.id).value_or(WindowInfo{});
            return liesOverTheRegion(window, &why);
        })) << window.title.toStdString()
            << " does not show over the region: " << why;
    }

    XvfbServer m_server{{screenWidth, screenHeight}};
    QTemporaryDir m_config;
    std::unique_ptr<PatternWindow> m_document;
    std::unique_ptr<PatternWindow> m_ticker;
    QRect m_page;
    QImage m_expected;
    std::unique_ptr<ChildProcess> m_lookpane;
    WindowInfo m_frame;
    WindowInfo m_share;
    WindowInfo m_toolbar;
    WindowReader m_reader{m_server.displayName()};
};

} // namespace

TEST_P(PrivacyExclusion, NoLookpaneWindowOverTheRegionShowsInWhatViewersSee)
{
    // The box's outline and the toolbar inside it, from the start.
    std::string why;
    // With a compositing manager the box, activated when it is shown, ends up stacked above
    // the toolbar that lies inside it and hides it (a stacking fault of its own, reported
    // apart); raised here, the toolbar shows over the region as it should.
    ASSERT_TRUE(xdotool(display(), {"windowraise", std::to_string(m_toolbar.id)}));
    ASSERT_TRUE(eventually([&] { return liesOverTheRegion(m_toolbar, &why); }))
        << "the toolbar does not show over the region: " << why;
    ASSERT_NO_FATAL_FAILURE(expectOnlyTheDocument("the outline or the toolbar", false));

    // A tooltip: the pointer rests on the blur button.
    const QPoint blurButton = m_toolbar.geometry.topLeft() + toolbarControls().blur;
    ASSERT_TRUE(moveMouseTo(display(), blurButton));
    const std::optional<WindowInfo> tooltip = waitForPopup([](const WindowInfo &) { return true; });
    ASSERT_TRUE(tooltip.has_value()) << "no tooltip over the blur button";
    ASSERT_TRUE(eventually([&] { return liesOverTheRegion(*tooltip, &why); }))
        << "the tooltip does not show over the region: " << why;
    ASSERT_NO_FATAL_FAILURE(expectOnlyTheDocument("the tooltip", false));
    ASSERT_TRUE(moveMouseTo(display(), region.topLeft() + QPoint(300, 300)));
    ASSERT_TRUE(eventually([&] { return popups().empty(); })) << "the tooltip stayed";

    // The framing menu, from its toolbar button; it opens upwards, over the region.
    const auto isMenu = [](const WindowInfo &info) {
        return info.geometry.width() > 100 && info.geometry.height() > 60;
    };
    ASSERT_TRUE(clickAt(display(), m_toolbar.geometry.topLeft() + toolbarControls().framing));
    std::optional<WindowInfo> menu = waitForPopup(isMenu);
    ASSERT_TRUE(menu.has_value()) << "the framing menu did not open";
    ASSERT_TRUE(eventually([&] { return liesOverTheRegion(*menu, &why); }))
        << "the framing menu does not show over the region: " << why;
    ASSERT_NO_FATAL_FAILURE(expectOnlyTheDocument("the framing menu", false));
    ASSERT_NO_FATAL_FAILURE(closePopups());

    // The status menu, from a right-click on the toolbar (there is no tray here).
    ASSERT_TRUE(clickAt(display(), m_toolbar.geometry.topLeft() + toolbarControls().grip, 3));
    menu = waitForPopup(isMenu);
    ASSERT_TRUE(menu.has_value()) << "the status menu did not open";
    ASSERT_TRUE(eventually([&] { return liesOverTheRegion(*menu, &why); }))
        << "the status menu does not show over the region: " << why;
    ASSERT_NO_FATAL_FAILURE(expectOnlyTheDocument("the status menu", false));
    ASSERT_NO_FATAL_FAILURE(closePopups());

    // The blur: the outline turns orange and the box says "Viewers see a blur"; viewers see
    // the document blurred, with neither.
    XKeyboard keyboard(display());
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyB));
    const QRect bannerStrip(region.center().x() - 40, region.top() + 10, 80, 14);
    ASSERT_TRUE(eventually([&] {
        return countNear(grabScreenRect(display(), bannerStrip), SystemColors::orange, 40) >
               bannerStrip.width() * bannerStrip.height() / 3;
    })) << "no banner in the box";
    ASSERT_NO_FATAL_FAILURE(expectOnlyTheDocument("the orange outline or the banner", true));
    ASSERT_TRUE(keyboard.pressCtrlAltSuper(XKeyboard::keyB));
    ASSERT_TRUE(eventually([&] {
        return countNear(grabScreenRect(display(), bannerStrip), SystemColors::orange, 40) == 0;
    })) << "the banner stayed";

    // The settings window (Ctrl+, in a Lookpane window), moved over the region.
    ASSERT_TRUE(xdotool(display(), {"windowactivate", "--sync", std::to_string(m_share.id)}));
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+comma"}));
    WindowInfo settings = role("settings");
    ASSERT_TRUE(settings.viewable) << "Ctrl+, did not open the settings window";
    ASSERT_NO_FATAL_FAILURE(moveOverTheRegion(settings, region.topLeft() + QPoint(40, 120)));
    ASSERT_NO_FATAL_FAILURE(expectOnlyTheDocument("the settings window", false));

    // The guide, from the status menu's "How to Use Lookpane…" (third from the end), moved over
    // the region below the settings window.
    ASSERT_TRUE(clickAt(display(), m_toolbar.geometry.topLeft() + toolbarControls().grip, 3));
    ASSERT_TRUE(waitForPopup(isMenu).has_value()) << "the status menu did not open";
    ASSERT_TRUE(xdotool(display(), {"key", "Up", "Up", "Up", "Return"}));
    std::optional<WindowInfo> guide =
        waitForViewableWindow(display(), QStringLiteral("How to Use Lookpane"), 10000);
    ASSERT_TRUE(guide.has_value()) << "the menu did not open the guide";
    ASSERT_NO_FATAL_FAILURE(moveOverTheRegion(*guide, region.topLeft() + QPoint(10, 330)));
    ASSERT_NO_FATAL_FAILURE(expectOnlyTheDocument("the guide window", false));

    EXPECT_FALSE(m_lookpane->waitForExit(std::chrono::milliseconds(0)).has_value())
        << "Lookpane ended";
}

INSTANTIATE_TEST_SUITE_P(Desktops, PrivacyExclusion,
                         ::testing::Values(Setup{"Overlay", false, false},
                                           Setup{"Detached", true, false},
                                           Setup{"OverlayWithCompositor", false, true},
                                           Setup{"DetachedWithCompositor", true, true}),
                         setupName);
