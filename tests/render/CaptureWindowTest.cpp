// The views' native capture windows: where they draw, what they draw, and when.
#include "QtWait.h"
#include "RenderTestSupport.h"
#include "TestDisplay.h"
#include "XInput.h"
#include "XReadback.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "frame/PreviewView.h"
#include "frame/ScopeBorderView.h"
#include "model/SystemColors.h"
#include "render/GlCaptureView.h"

#include <gtest/gtest.h>

#include <optional>

#include <QImage>
#include <QWindow>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

QImage screenOf(const QWidget &widget)
{
    return grabScreenRect(testDisplay().displayName(),
                          QRect(widget.mapToGlobal(QPoint(0, 0)), widget.size()));
}

// A share view drawing through the native window of `surface`.
PreviewView::CaptureViewFactory surfaceOf(GlCaptureView::Surface surface)
{
    return [surface](QWidget *parent) { return GlCaptureView::make(parent, surface); };
}

std::string surfaceName(const ::testing::TestParamInfo<GlCaptureView::Surface> &info)
{
    return info.param == GlCaptureView::Surface::rasterWindow ? "Raster" : "OpenGL";
}

// The share view's tests run on both native window surfaces.
class ShareWindow : public ::testing::TestWithParam<GlCaptureView::Surface>
{};

} // namespace

INSTANTIATE_TEST_SUITE_P(RenderCaptureWindow, ShareWindow,
                         ::testing::Values(GlCaptureView::Surface::nativeWindow,
                                           GlCaptureView::Surface::rasterWindow),
                         surfaceName);

TEST_P(ShareWindow, DrawsIntoANativeWindowThatTakesNoInput)
{
    PreviewView share(false, nullptr, surfaceOf(GetParam()));
    GlCaptureView *shareCapture = share.captureView();
    ASSERT_TRUE(shareCapture != nullptr);

    EXPECT_EQ(shareCapture->surface(), GetParam());
    QWindow *native = shareCapture->nativeWindow();
    ASSERT_NE(native, nullptr);
    EXPECT_TRUE(native->flags().testFlag(Qt::WindowTransparentForInput));

    share.resize(320, 180);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, QColor(200, 40, 40))));
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    ASSERT_TRUE(waitUntil([&] { return shareCapture->hasRenderedFrame(); }));
    EXPECT_TRUE(native->isExposed());
    EXPECT_EQ(native->size(), share.size());
    EXPECT_TRUE(shareCapture->lastDraw().drewPicture);
}

TEST(RenderCaptureWindow, TheShareViewDrawsThroughTheRasterWindowOnASoftwareRasteriser)
{
    // The private X server's OpenGL is Mesa's llvmpipe.
    EXPECT_EQ(GlCaptureView::preferredWindowSurface(), GlCaptureView::Surface::rasterWindow);
    PreviewView share(false);
    ASSERT_NE(share.captureView(), nullptr);
    EXPECT_EQ(share.captureView()->surface(), GlCaptureView::Surface::rasterWindow);
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

TEST_P(ShareWindow, EachPictureIsDrawnAndNothingIsDrawnWhileNothingChanges)
{
    PreviewView share(false, nullptr, surfaceOf(GetParam()));
    share.resize(320, 180);
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    GlCaptureView *capture = share.captureView();
    ASSERT_NE(capture, nullptr);

    const QColor first(30, 160, 60);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, first)));
    ASSERT_TRUE(waitUntil(
        [&] { return pixelsNear(screenOf(share), QRect(0, 0, 320, 180), first, 3) == 320 * 180; }));
    // Settled: no further draws without a new picture or setting. Room for a stray draw (one
    // made by a timer, say); the next picture then shows whether any came: the draw that
    // brings it to the screen must be the first since.
    const int settled = capture->drawCount();
    ASSERT_TRUE(handlePostedEvents());
    const QColor second(40, 60, 190);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, second)));
    std::optional<int> drawsUntilShown;
    ASSERT_TRUE(waitUntil([&] {
        const int draws = capture->drawCount();
        if (pixelsNear(screenOf(share), QRect(0, 0, 320, 180), second, 3) == 320 * 180) {
            drawsUntilShown = draws;
        }
        return drawsUntilShown.has_value();
    }));
    EXPECT_EQ(*drawsUntilShown, settled + 1) << "drawn again while nothing changed";
}

TEST_P(ShareWindow, MarksArePaintedOverThePictureAndGoWhenCleared)
{
    PreviewView share(false, nullptr, surfaceOf(GetParam()));
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

TEST_P(ShareWindow, AMessageHidesTheNativePictureAndTheNextPictureBringsItBack)
{
    PreviewView share(false, nullptr, surfaceOf(GetParam()));
    share.resize(320, 180);
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    GlCaptureView *capture = share.captureView();
    ASSERT_NE(capture, nullptr);
    const QColor red(200, 40, 40);
    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, red)));
    ASSERT_TRUE(waitUntil(
        [&] { return pixelsNear(screenOf(share), QRect(0, 0, 320, 60), red, 3) == 320 * 60; }));

    QWindow *native = capture->nativeWindow();
    ASSERT_NE(native, nullptr);
    share.setCaptureMessage(QStringLiteral("Capture paused"));
    EXPECT_FALSE(native->isVisible());
    ASSERT_TRUE(waitUntil([&] {
        return countPixelsNotNear(screenOf(share), QRect(0, 0, 320, 60), Qt::black, 0) == 0;
    }));

    share.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, red)));
    EXPECT_TRUE(native->isVisible());
    ASSERT_TRUE(waitUntil(
        [&] { return pixelsNear(screenOf(share), QRect(0, 0, 320, 60), red, 3) == 320 * 60; }));
}

TEST(RenderCaptureWindow, DrawingGesturesOverTheAuthoringPictureReachTheCanvas)
{
    PreviewView authoring(true);
    authoring.resize(640, 360);
    int drafts = 0;
    int commits = 0;
    QObject::connect(&authoring, &PreviewView::annotationDraftChanged,
                     [&](const Annotation &) { ++drafts; });
    QObject::connect(&authoring, &PreviewView::annotationCommitted, [&] { ++commits; });
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

TEST_P(ShareWindow, BlurHidesTheFinePrintAndMatchesTheOpenGLWindowsPicture)
{
    const QImage picture = finePrintPicture({640, 360});
    const auto blurredShare = [&](PreviewView &share, QPoint at) {
        share.resize(640, 360);
        GlCaptureView *capture = share.captureView();
        capture->setCaptureScale(1.0);
        capture->setBlurEnabled(true);
        share.setCapturedFrame(CapturedFrame::fromImage(picture));
        return showAndWait(share, at) && waitUntil([&] { return capture->hasRenderedFrame(); });
    };
    PreviewView share(false, nullptr, surfaceOf(GetParam()));
    ASSERT_TRUE(blurredShare(share, {0, 0}));
    PreviewView reference(false, nullptr, surfaceOf(GlCaptureView::Surface::nativeWindow));
    ASSERT_TRUE(blurredShare(reference, {0, 400}));
    // Light reads one whole level of the chain; strong blends two.
    for (const BlurStrength strength : {BlurStrength::light, BlurStrength::strong}) {
        share.setBlurStrength(strength);
        reference.setBlurStrength(strength);
        ASSERT_TRUE(waitUntil([&] {
            return share.captureView()->hasRenderedFrame() &&
                   reference.captureView()->hasRenderedFrame();
        }));
        // Rendered is not yet on the screen: wait until both windows show the blur, that is the
        // fine print is gone from both.
        QImage shown;
        QImage expected;
        waitUntil([&] {
            shown = screenOf(share);
            expected = screenOf(reference);
            return laplacianEnergy(shown) <= laplacianEnergy(picture) * 0.02 &&
                   laplacianEnergy(expected) <= laplacianEnergy(picture) * 0.02 &&
                   maxBlockMeanDifference(shown, expected, 8) <=
                       (strength == BlurStrength::light ? 2 : 4);
        });
        const bool raster = GetParam() == GlCaptureView::Surface::rasterWindow;
        const bool light = strength == BlurStrength::light;
        saveScreenshot(shown,
                       raster ? (light ? "share-blur-raster-light" : "share-blur-raster-strong")
                              : (light ? "share-blur-opengl-light" : "share-blur-opengl-strong"));
        EXPECT_EQ(share.captureView()->lastDraw().state, BlurState::blur);
        EXPECT_EQ(share.captureView()->lastDraw().effects.y(),
                  reference.captureView()->lastDraw().effects.y());
        // The fine print is gone...
        EXPECT_LE(laplacianEnergy(shown), laplacianEnergy(picture) * 0.02);
        // ...and the blurred picture is the one the OpenGL window draws, within a few levels
        // (a blend of two levels rounds the upper one differently: halved on the GPU there).
        EXPECT_LE(maxBlockMeanDifference(shown, expected, 8), light ? 2 : 4);
        int far = 0;
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x) {
                const QColor a = shown.pixelColor(x, y);
                const QColor b = expected.pixelColor(x, y);
                far += std::abs(a.red() - b.red()) > 6 || std::abs(a.green() - b.green()) > 6 ||
                               std::abs(a.blue() - b.blue()) > 6
                           ? 1
                           : 0;
            }
        }
        EXPECT_EQ(far, 0) << (light ? "light" : "strong");
    }
}

TEST_P(ShareWindow, ABlurWithoutItsMipChainShowsTheFailSafeColourAndNoneOfThePicture)
{
    PreviewView share(false, nullptr, surfaceOf(GetParam()));
    share.resize(320, 180);
    GlCaptureView *capture = share.captureView();
    ASSERT_NE(capture, nullptr);
    capture->setMaximumMipChainSide(64);
    capture->setCaptureScale(1.0);
    capture->setBlurEnabled(true);
    share.setCapturedFrame(CapturedFrame::fromImage(finePrintPicture({320, 180})));
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    const QColor failSafe(10, 10, 13);
    ASSERT_TRUE(waitUntil([&] {
        return pixelsNear(screenOf(share), QRect(0, 0, 320, 180), failSafe, 1) == 320 * 180;
    }));
    EXPECT_EQ(capture->lastDraw().state, BlurState::failSafe);
}
