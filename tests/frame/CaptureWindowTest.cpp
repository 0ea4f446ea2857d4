// The views' native capture windows: where they draw, what they draw, and when.
#include "QtWait.h"
#include "RenderTestSupport.h"
#include "TestDisplay.h"
#include "XInput.h"
#include "XReadback.h"

#include "annotation/AnnotationCanvasView.h"
#include "frame/GlCaptureView.h"
#include "frame/GlCaptureWindow.h"
#include "frame/PreviewView.h"
#include "frame/ScopeBorderView.h"
#include "model/SystemColors.h"

#include <gtest/gtest.h>

#include <QImage>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

QImage screenOf(const QWidget &widget)
{
    return grabScreenRect(testDisplay().displayName(),
                          QRect(widget.mapToGlobal(QPoint(0, 0)), widget.size()));
}

} // namespace

TEST(RenderCaptureWindow, TheShareViewDrawsIntoANativeWindowThatTakesNoInput)
{
    PreviewView share(false);
    GlCaptureView *shareCapture = share.captureView();
    ASSERT_TRUE(shareCapture != nullptr);

    EXPECT_EQ(shareCapture->surface(), GlCaptureView::Surface::nativeWindow);
    ASSERT_NE(shareCapture->nativeWindow(), nullptr);
    EXPECT_TRUE(shareCapture->nativeWindow()->flags().testFlag(Qt::WindowTransparentForInput));

    share.resize(320, 180);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, QColor(200, 40, 40))));
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    ASSERT_TRUE(waitUntil([&] { return shareCapture->hasRenderedFrame(); }));
    EXPECT_TRUE(shareCapture->nativeWindow()->isExposed());
    EXPECT_EQ(shareCapture->nativeWindow()->size(), share.size());
    EXPECT_TRUE(shareCapture->lastDraw().drewPicture);
}

TEST(RenderCaptureWindow, TheAuthoringViewShowsEachPicturePixelForPixelWithoutOpenGL)
{
    PreviewView authoring(true);
    EXPECT_EQ(authoring.captureView(), nullptr);
    authoring.resize(640, 360);
    ASSERT_TRUE(showAndWait(authoring, {0, 0}));
    // Inside the outline, every pixel is the picture's own.
    const QRect inside(12, 12, 616, 336);
    const auto differing = [&](const QImage &picture) {
        const QImage shown = screenOf(authoring).convertToFormat(QImage::Format_RGB32);
        int count = 0;
        for (int y = inside.top(); y <= inside.bottom(); ++y) {
            for (int x = inside.left(); x <= inside.right(); ++x) {
                count += shown.pixel(x, y) != picture.pixel(x, y) ? 1 : 0;
            }
        }
        return count;
    };
    const QImage fine = finePrintPicture({640, 360}).convertToFormat(QImage::Format_RGB32);
    authoring.setCapturedFrame(CapturedFrame::fromImage(fine));
    const bool fineShown = waitUntil([&] { return differing(fine) == 0; });
    saveScreenshot(screenOf(authoring), "authoring-picture");
    ASSERT_TRUE(fineShown) << differing(fine);

    // The next picture replaces it, as sharp.
    const QImage blocks = colouredBlocksPicture({640, 360}).convertToFormat(QImage::Format_RGB32);
    authoring.setCapturedFrame(CapturedFrame::fromImage(blocks));
    ASSERT_TRUE(waitUntil([&] { return differing(blocks) == 0; })) << differing(blocks);
}

TEST(RenderCaptureWindow, EachPictureIsDrawnAndNothingIsDrawnWhileNothingChanges)
{
    PreviewView share(false);
    share.resize(320, 180);
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    GlCaptureView *capture = share.captureView();
    ASSERT_NE(capture, nullptr);

    const QColor first(30, 160, 60);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, first)));
    ASSERT_TRUE(waitUntil(
        [&] { return pixelsNear(screenOf(share), QRect(0, 0, 320, 180), first, 3) == 320 * 180; }));
    // Settled: no further draws without a new picture or setting.
    const int settled = capture->drawCount();
    spinFor(300);
    EXPECT_EQ(capture->drawCount(), settled);

    const QColor second(40, 60, 190);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, second)));
    ASSERT_TRUE(waitUntil([&] {
        return pixelsNear(screenOf(share), QRect(0, 0, 320, 180), second, 3) == 320 * 180;
    }));
    EXPECT_GT(capture->drawCount(), settled);
}

TEST(RenderCaptureWindow, MarksArePaintedOverThePictureAndGoWhenCleared)
{
    PreviewView share(false);
    share.resize(640, 360);
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    const QColor grey(128, 128, 128);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({640, 360}, grey)));
    const QRect band(100, 178, 440, 4);
    Annotation line{AnnotationTool::line, AnnotationColor::green, {{0.1, 0.5}, {0.9, 0.5}}, 0.02};
    share.annotationCanvas()->setAnnotations({line});

    ASSERT_TRUE(waitUntil(
        [&] { return countPixelsNotNear(screenOf(share), band, SystemColors::green, 6) == 0; }));
    const QImage marked = screenOf(share);
    saveScreenshot(marked, "capture-window-mark");
    // Away from the mark the picture is untouched.
    EXPECT_EQ(pixelsNear(marked, QRect(0, 0, 640, 120), grey, 3), 640 * 120);

    share.annotationCanvas()->setAnnotations({});
    ASSERT_TRUE(waitUntil([&] {
        return pixelsNear(screenOf(share), band, grey, 3) == band.width() * band.height();
    }));
}

TEST(RenderCaptureWindow, AMessageHidesTheNativePictureAndTheNextPictureBringsItBack)
{
    PreviewView share(false);
    share.resize(320, 180);
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    GlCaptureView *capture = share.captureView();
    ASSERT_NE(capture, nullptr);
    const QColor red(200, 40, 40);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, red)));
    ASSERT_TRUE(waitUntil(
        [&] { return pixelsNear(screenOf(share), QRect(0, 0, 320, 60), red, 3) == 320 * 60; }));

    share.setCaptureMessage(QStringLiteral("Capture paused"));
    EXPECT_FALSE(capture->nativeWindow()->isVisible());
    ASSERT_TRUE(waitUntil([&] {
        return countPixelsNotNear(screenOf(share), QRect(0, 0, 320, 60), Qt::black, 0) == 0;
    }));

    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, red)));
    EXPECT_TRUE(capture->nativeWindow()->isVisible());
    ASSERT_TRUE(waitUntil(
        [&] { return pixelsNear(screenOf(share), QRect(0, 0, 320, 60), red, 3) == 320 * 60; }));
}

TEST(RenderCaptureWindow, DrawingGesturesOverTheAuthoringPictureReachTheCanvas)
{
    PreviewView authoring(true);
    authoring.resize(640, 360);
    int drafts = 0;
    int commits = 0;
    authoring.onAnnotationDraftChanged = [&](const Annotation &) { ++drafts; };
    authoring.onAnnotationCommitted = [&] { ++commits; };
    ASSERT_TRUE(showAndWait(authoring, {0, 0}));
    const QColor grey(128, 128, 128);
    authoring.setCapturedFrame(CapturedFrame::fromImage(solidPicture({640, 360}, grey)));
    ASSERT_TRUE(waitUntil([&] {
        return pixelsNear(screenOf(authoring), QRect(100, 100, 440, 160), grey, 3) == 440 * 160;
    }));
    authoring.annotationCanvas()->setEditing(true);

    // Real pointer input through the X server, over the picture.
    const QPoint origin = authoring.mapToGlobal(QPoint(0, 0));
    const auto moveTo = [&](int x, int y) {
        return xdotool(testDisplay().displayName(),
                       {"mousemove", "--sync", std::to_string(origin.x() + x),
                        std::to_string(origin.y() + y)});
    };
    ASSERT_TRUE(moveTo(200, 180));
    ASSERT_TRUE(xdotool(testDisplay().displayName(), {"mousedown", "1"}));
    ASSERT_TRUE(moveTo(300, 200));
    ASSERT_TRUE(moveTo(400, 220));
    ASSERT_TRUE(xdotool(testDisplay().displayName(), {"mouseup", "1"}));
    ASSERT_TRUE(waitUntil([&] { return commits >= 1; }));
    EXPECT_GE(drafts, 1);
    EXPECT_EQ(commits, 1);
}

TEST(RenderCaptureWindow, TheOutlineAndItsBannerArePaintedOverTheAuthoringPicture)
{
    PreviewView authoring(true);
    authoring.resize(640, 360);
    ASSERT_TRUE(showAndWait(authoring, {0, 0}));
    const QColor grey(128, 128, 128);
    authoring.setCapturedFrame(CapturedFrame::fromImage(solidPicture({640, 360}, grey)));
    const bool greyShown = waitUntil([&] {
        return pixelsNear(screenOf(authoring), QRect(100, 100, 440, 160), grey, 3) == 440 * 160;
    });
    saveScreenshot(screenOf(authoring), "authoring-outline");
    ASSERT_TRUE(greyShown) << pixelsNear(screenOf(authoring), QRect(100, 100, 440, 160), grey, 3);
    // The outline runs 3 inside the edge: not the picture's grey there.
    EXPECT_EQ(pixelsNear(screenOf(authoring), QRect(100, 3, 440, 1), grey, 3), 0);

    authoring.scopeBorderView()->setPrivacyBlurActive(true);
    const std::optional<QRectF> banner =
        ScopeBorderView::bannerRect(ScopeBorderView::outlineRect(QRectF(0, 0, 640, 360)));
    ASSERT_TRUE(banner.has_value());
    const QRect pill = banner->toRect().adjusted(12, 2, -12, -2);
    ASSERT_TRUE(waitUntil([&] {
        return pixelsNear(screenOf(authoring), pill, SystemColors::orange, 24) > pill.width() * 2;
    }));
    authoring.scopeBorderView()->setPrivacyBlurActive(false);
    ASSERT_TRUE(waitUntil(
        [&] { return pixelsNear(screenOf(authoring), pill, SystemColors::orange, 24) == 0; }));
}
