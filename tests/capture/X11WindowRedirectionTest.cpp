// A window-sharing client reads Lookpane's share window as it really is, even where
// Lookpane's own frame window covers it on the screen.
#include "X11CaptureHarness.h"
#include "XSync.h"

#include "ChildProcess.h"
#include "TestDisplay.h"
#include "XReadback.h"

#include "capture/x11/X11WindowRedirection.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <sys/wait.h>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

const QColor shareGreen(0x20, 0xC0, 0x40);
const QColor coverRed(0xEE, 0x11, 0x22);

// One picture of a window as GStreamer's X window source reads it.
QImage readWithGStreamer(std::uint32_t window)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("window.png"));
    ChildProcess::Options options;
    options.environment["DISPLAY"] = testDisplay().displayName();
    ChildProcess gst({"gst-launch-1.0", "-q", "ximagesrc", "xid=" + std::to_string(window),
                      "use-damage=false", "show-pointer=false", "num-buffers=1", "!",
                      "videoconvert", "!", "pngenc", "!", "filesink",
                      "location=" + file.toStdString()},
                     options);
    const std::optional<int> status = gst.waitForExit(std::chrono::seconds(30));
    if (!status || !WIFEXITED(*status) || WEXITSTATUS(*status) != 0) {
        return {};
    }
    return QImage(file).convertToFormat(QImage::Format_RGB32);
}

} // namespace

TEST(X11WindowRedirection, CoveredShareWindowReadsItsTrueContentInAWindowSharingClient)
{
    const QRect shareGeometry(300, 200, 400, 300);
    const auto share = showOwnWindow(shareGeometry, shareGreen, QStringLiteral("Share"));
    const std::uint32_t shareId = static_cast<std::uint32_t>(share->winId());
    x11::X11WindowRedirection redirection(shareId, testDisplay().displayName());
    ASSERT_TRUE(redirection.isActive()) << redirection.failure().toStdString();
    // Repaint after redirecting, as the share window does with every frame.
    share->repaint();
    ASSERT_TRUE(applicationRequestsDone());

    const auto cover =
        showOwnWindow(shareGeometry.adjusted(-20, -20, 20, 20), coverRed, QStringLiteral("Frame"));
    // On the screen, the share window is hidden.
    ASSERT_EQ(countPixelsNotNear(grabScreenRect(testDisplay().displayName(), shareGeometry),
                                 QRect(0, 0, 400, 300), coverRed, 2),
              0);

    const QImage read = readWithGStreamer(shareId);
    ASSERT_FALSE(read.isNull()) << "gst-launch-1.0 ximagesrc failed";
    saveForInspection(read, QStringLiteral("share-window-through-ximagesrc"));
    EXPECT_EQ(read.size(), shareGeometry.size());
    EXPECT_EQ(countPixelsNotNear(read, read.rect(), shareGreen, 2), 0);
}

TEST(X11WindowRedirection, WithoutRedirectionTheClientReadsTheCover)
{
    // The control: what the same client reads when nothing keeps the window redirected.
    const QRect shareGeometry(300, 200, 400, 300);
    const auto share = showOwnWindow(shareGeometry, shareGreen, QStringLiteral("Share"));
    const auto cover =
        showOwnWindow(shareGeometry.adjusted(-20, -20, 20, 20), coverRed, QStringLiteral("Frame"));
    const QImage read = readWithGStreamer(static_cast<std::uint32_t>(share->winId()));
    ASSERT_FALSE(read.isNull()) << "gst-launch-1.0 ximagesrc failed";
    EXPECT_GT(countPixelsNotNear(read, read.rect(), shareGreen, 2),
              read.width() * read.height() / 2);
}

TEST(X11WindowRedirection, RedirectionOfAVanishedWindowFailsWithAReason)
{
    x11::X11WindowRedirection redirection(0x7FFFFF, testDisplay().displayName());
    EXPECT_FALSE(redirection.isActive());
    EXPECT_TRUE(redirection.failure().startsWith(QStringLiteral("the window 0x7fffff cannot be "
                                                                "redirected")))
        << redirection.failure().toStdString();
}
