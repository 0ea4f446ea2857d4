// The global shortcuts from end to end: the real executable on a private X server with openbox,
// a window of another program in front, and the keys pressed as a user presses them (xdotool,
// through XTEST). What viewers see is read back from the share window.
#include "ChildProcess.h"
#include "Eventually.h"
#include "ImageMetrics.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "XInput.h"
#include "XKeyboard.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include "model/SystemColors.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>

#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <memory>
#include <string>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

// Lookpane on the test's display with the test's settings, the guide kept closed.
ChildProcess::Options lookpaneEnvironment(const XvfbServer &server, const QTemporaryDir &config)
{
    keepGuideClosedAtLaunch(config.path());
    return lookpane::testing::lookpaneEnvironment(server.displayName(), config.path());
}

int countNear(const QImage &image, QColor color, int tolerance)
{
    return image.isNull() ? 0
                          : image.width() * image.height() -
                                countPixelsNotNear(image, image.rect(), color, tolerance);
}

const QColor markRed(0xFF, 0x3B, 0x30);
// The settings window's conflict message.
const QColor conflictRed = lookpane::SystemColors::red;

class HotKeysEndToEnd : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_server.isRunning());
        ASSERT_TRUE(m_server.startWindowManager());
        // A document of another program, larger than the box and under all of it.
        m_document = std::make_unique<PatternWindow>(
            display(), PatternWindow::at(QRect(460, 215, 1000, 650), Pattern::text, "Document"));
        ASSERT_TRUE(m_document->isShown());
        m_page = windowInfo(display(), m_document->window()).value_or(WindowInfo{}).geometry;
    }

    std::string display() const { return m_server.displayName(); }

    WindowInfo role(const char *name)
    {
        return waitForViewableRole(display(), QString::fromLatin1(name), 10000)
            .value_or(WindowInfo{});
    }

    // Starts Lookpane and waits until its share window shows the document, sharp.
    void launchLookpane()
    {
        m_lookpane = std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()},
                                                    lookpaneEnvironment(m_server, m_config));
        m_frame = role("frame");
        m_share = role("share");
        ASSERT_EQ(m_frame.geometry, QRect(560, 315, 800, 450)) << "the box is not centred";
        ASSERT_TRUE(m_page.contains(m_frame.geometry)) << "the document does not fill the box";
        m_expected = QImage(m_frame.geometry.size(), QImage::Format_RGB32);
        const QPoint offset = m_frame.geometry.topLeft() - m_page.topLeft();
        for (int y = 0; y < m_expected.height(); ++y) {
            for (int x = 0; x < m_expected.width(); ++x) {
                m_expected.setPixel(
                    x, y, 0xFF000000u | m_document->expectedPixel(offset.x() + x, offset.y() + y));
            }
        }
        ASSERT_TRUE(eventually([&] { return showsTheDocument(shared()); }, 20000))
            << "the share window does not show the document";
        m_baseToolbarWidth = role("toolbar").geometry.width();
    }

    QImage shared() { return grabWindow(display(), m_share.id); }
    bool showsTheDocument(const QImage &image)
    {
        return !image.isNull() && maxPixelDifference(image, m_expected) <= 2;
    }
    bool isBlurred(const QImage &image)
    {
        return !image.isNull() && laplacianEnergy(image) <= 0.1 * laplacianEnergy(m_expected);
    }

    // Gives the keyboard focus to the document, as a click on it would.
    void focusTheDocument()
    {
        ASSERT_TRUE(
            xdotool(display(), {"windowactivate", "--sync", std::to_string(m_document->window())}));
    }

    // Drawing mode shows the tools, colours, undo, clear and done in the toolbar, which
    // makes it wider.
    bool toolbarShowsTheDrawingRow()
    {
        return role("toolbar").geometry.width() > m_baseToolbarWidth;
    }

    // Drags across the lower right part of the box, which draws a mark in drawing mode.
    bool drawAMark()
    {
        const QPoint origin = m_frame.geometry.topLeft();
        return dragFromTo(display(), origin + QPoint(450, 400), origin + QPoint(750, 250));
    }

    XvfbServer m_server{{1920, 1080}};
    QTemporaryDir m_config;
    std::unique_ptr<PatternWindow> m_document;
    QRect m_page;
    std::unique_ptr<ChildProcess> m_lookpane;
    WindowInfo m_frame;
    WindowInfo m_share;
    QImage m_expected;
    int m_baseToolbarWidth = 0;
};

} // namespace

TEST_F(HotKeysEndToEnd, ShortcutsBlurDrawAndClearWhileAnotherApplicationHasTheFocus)
{
    ASSERT_NO_FATAL_FAILURE(launchLookpane());
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());

    // Ctrl+Alt+Super+B: viewers see the blur; again: they see the document again.
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+b"}));
    QImage image;
    EXPECT_TRUE(eventually([&] { return isBlurred(image = shared()); }))
        << "the blur shortcut did not blur the share window: energy " << laplacianEnergy(image)
        << " of " << laplacianEnergy(m_expected);
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+b"}));
    EXPECT_TRUE(eventually([&] { return showsTheDocument(shared()); }))
        << "the blur shortcut did not take the blur away";

    // Ctrl+Alt+Super+D: drawing mode; the box takes the mouse, and a drag draws a mark.
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+d"}));
    ASSERT_TRUE(eventually([&] { return toolbarShowsTheDrawingRow(); }))
        << "the drawing shortcut did not start drawing mode";
    ASSERT_TRUE(drawAMark());
    ASSERT_TRUE(eventually([&] { return countNear(shared(), markRed, 30) > 300; }))
        << "no mark in the share window";

    // Ctrl+Alt+Super+E, with the document in front again: the mark is gone.
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+e"}));
    EXPECT_TRUE(eventually([&] { return countNear(shared(), markRed, 30) == 0; }))
        << "the clear shortcut left the mark";

    // Ctrl+Alt+Super+D again ends drawing mode: the toolbar shows its base row, and clicks in
    // the box reach the document again (click-through).
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+d"}));
    ASSERT_TRUE(eventually([&] { return !toolbarShowsTheDrawingRow(); }))
        << "the drawing shortcut did not end drawing mode";
    while (m_document->waitForClick(50)) {
    }
    const QPoint inside = m_frame.geometry.topLeft() + QPoint(400, 200);
    ASSERT_TRUE(clickAt(display(), inside));
    const std::optional<QPoint> click = m_document->waitForClick(3000);
    ASSERT_TRUE(click.has_value()) << "the box kept the mouse after drawing mode ended";
    EXPECT_EQ(*click, inside - m_page.topLeft());
}

TEST_F(HotKeysEndToEnd, ShortcutHeldByAnotherApplicationDoesNothingWhileTheOthersWork)
{
    // Another application holds Ctrl+Alt+Super+B before Lookpane starts.
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display();
    options.captureStdout = true;
    ChildProcess holder({keyGrabberExecutable(), std::to_string(XKeyboard::keyB),
                         std::to_string(XKeyboard::ctrlAltSuperMask)},
                        options);
    ASSERT_EQ(holder.readLine(std::chrono::seconds(10)), std::optional<std::string>("grabbed"));

    ASSERT_NO_FATAL_FAILURE(launchLookpane());
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());

    // B goes to the other application; D, pressed after it, still works. A mark drawn after
    // that needs pictures rendered after both keys, so any blur would show by then.
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+b"}));
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+d"}));
    ASSERT_TRUE(eventually([&] { return toolbarShowsTheDrawingRow(); }))
        << "the drawing shortcut did not start drawing mode";
    ASSERT_TRUE(drawAMark());
    QImage image;
    ASSERT_TRUE(eventually([&] { return countNear(image = shared(), markRed, 30) > 300; }))
        << "no mark in the share window";
    // The upper left part of the picture, away from the mark, is the sharp document.
    const QRect untouched(0, 0, 400, 200);
    EXPECT_LE(maxPixelDifference(image.copy(untouched), m_expected.copy(untouched)), 2)
        << "the share window was blurred by a shortcut another application holds";

    // Lookpane started and runs normally.
    EXPECT_FALSE(m_lookpane->waitForExit(std::chrono::milliseconds(0)).has_value());
    EXPECT_TRUE(role("share").viewable);

    // The settings window, opened now, says why: its conflict message is the only red text.
    ASSERT_TRUE(xdotool(display(), {"windowactivate", "--sync", std::to_string(m_share.id)}));
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+comma"}));
    const WindowInfo settings = role("settings");
    ASSERT_TRUE(settings.viewable) << "Ctrl+, did not open the settings window";
    EXPECT_TRUE(eventually([&] {
        return countNear(grabWindow(display(), settings.id), conflictRed, 40) > 50;
    })) << "the settings window shows no conflict message";
}

TEST_F(HotKeysEndToEnd, ABlurShortcutRecordedInSettingsWorksAtOnceTheOldOneNotAndAfterARelaunch)
{
    ASSERT_NO_FATAL_FAILURE(launchLookpane());

    // Ctrl+, opens the settings window from any Lookpane window; the blur recorder is the first
    // control and has the focus, so Space starts recording, as a click would.
    ASSERT_TRUE(xdotool(display(), {"windowactivate", "--sync", std::to_string(m_share.id)}));
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+comma"}));
    const WindowInfo settings = role("settings");
    ASSERT_TRUE(settings.viewable) << "Ctrl+, did not open the settings window";
    ASSERT_TRUE(xdotool(display(), {"windowactivate", "--sync", std::to_string(settings.id)}));
    ASSERT_TRUE(xdotool(display(), {"key", "space"}));
    // The combination bound now reaches the recorder, not the blur; then the new one.
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+k"}));
    const QString settingsFile = lookpaneSettingsFile(m_config.path());
    ASSERT_TRUE(eventually([&] {
        QSettings stored(settingsFile, QSettings::NativeFormat);
        return stored.value(QStringLiteral("Shortcut.privacyBlur.keyCode")).toInt() == 40;
    })) << "the recorded combination was not stored";

    // The settings window floats above the box; out of the way of the mark drawn below.
    ASSERT_TRUE(
        xdotool(display(), {"windowmove", "--sync", std::to_string(settings.id), "0", "0"}));

    // From the document: the old combination does nothing. D after it shows that B has been
    // handled; a mark drawn then needs pictures rendered after both keys.
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+b"}));
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+d"}));
    ASSERT_TRUE(eventually([&] { return toolbarShowsTheDrawingRow(); }))
        << "the drawing shortcut did not start drawing mode";
    ASSERT_TRUE(drawAMark());
    QImage image;
    ASSERT_TRUE(eventually([&] { return countNear(image = shared(), markRed, 30) > 300; }));
    const QRect untouched(0, 0, 400, 200);
    EXPECT_LE(maxPixelDifference(image.copy(untouched), m_expected.copy(untouched)), 2)
        << "the old blur shortcut still blurs";

    // The new one blurs at once.
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+k"}));
    EXPECT_TRUE(eventually([&] {
        return laplacianEnergy(shared().copy(untouched)) <=
               0.1 * laplacianEnergy(m_expected.copy(untouched));
    })) << "the new blur shortcut did not blur";

    // Quit and launch again: the new combination is the blur's.
    m_lookpane->signal(SIGTERM);
    ASSERT_TRUE(m_lookpane->waitForExit(std::chrono::seconds(10)).has_value());
    ASSERT_NO_FATAL_FAILURE(launchLookpane());
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+k"}));
    EXPECT_TRUE(eventually([&] { return isBlurred(image = shared()); }))
        << "after a relaunch the recorded blur shortcut does nothing";
}

TEST_F(HotKeysEndToEnd, TheToolKeysSelectToolsInTheShippedProgram)
{
    ASSERT_NO_FATAL_FAILURE(launchLookpane());
    ASSERT_NO_FATAL_FAILURE(focusTheDocument());
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+alt+super+d"}));
    ASSERT_TRUE(eventually([&] { return toolbarShowsTheDrawingRow(); }));

    // R picks the rectangle: a diagonal drag then draws the two corners it did not pass.
    ASSERT_TRUE(xdotool(display(), {"windowactivate", "--sync", std::to_string(m_frame.id)}));
    ASSERT_TRUE(xdotool(display(), {"key", "r"}));
    const QPoint origin = m_frame.geometry.topLeft();
    const QPoint from(150, 100);
    const QPoint to(450, 300);
    ASSERT_TRUE(dragFromTo(display(), origin + from, origin + to));
    const QRect untouchedCorner(to.x() - 6, from.y() - 6, 12, 12);
    QImage image;
    EXPECT_TRUE(eventually([&] {
        return countNear((image = shared()).copy(untouchedCorner), markRed, 30) > 10;
    })) << "R did not pick the rectangle: no outline at the corner the drag did not pass";
}
