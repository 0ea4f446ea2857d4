// The preview view and the scope border: picture, message, styles, banner, and marks on the
// share view's blurred picture.
#include "QtWait.h"
#include "RenderTestSupport.h"
#include "TestDisplay.h"
#include "XReadback.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "frame/PreviewView.h"
#include "frame/ScopeBorderView.h"
#include "model/SystemColors.h"
#include "render/GlCaptureView.h"

#include <gtest/gtest.h>

#include <QFontMetricsF>
#include <QWindow>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

std::unique_ptr<GlCaptureView> noOpenGL(QWidget *)
{
    return nullptr;
}

// Pixels close to system orange.
int orangePixels(const QImage &image, const QRect &area)
{
    return area.width() * area.height() - countPixelsNotNear(image, area, SystemColors::orange, 24);
}

QImage screenOf(const QWidget &widget)
{
    return grabScreenRect(testDisplay().displayName(),
                          QRect(widget.mapToGlobal(QPoint(0, 0)), widget.size()));
}

// Bounding box of the pixels brighter than `level` in every channel.
QRect brightBox(const QImage &image, int level)
{
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.red() > level && c.green() > level && c.blue() > level) {
                box = box.united(QRect(x, y, 1, 1));
            }
        }
    }
    return box;
}

} // namespace

TEST(RenderPreview, WithoutOpenGLShowsTheUnavailableMessageForItsWholeLife)
{
    for (const bool authoring : {false, true}) {
        PreviewView preview(authoring, nullptr, noOpenGL);
        EXPECT_EQ(preview.captureView(), nullptr);
        EXPECT_EQ(preview.message(),
                  QStringLiteral(
                      "This computer can't render the Lookpane preview (OpenGL is unavailable)"));
        preview.setCapturedFrame(CapturedFrame::fromImage(finePrintPicture({64, 36})));
        preview.setCaptureMessage(QStringLiteral("Capture stopped"));
        preview.setCaptureMessage(std::nullopt);
        EXPECT_FALSE(preview.hasCapturedFrame());
        EXPECT_EQ(preview.message(), PreviewView::unavailableMessage());

        preview.resize(720, 200);
        ASSERT_TRUE(showAndWait(preview, {0, 0}));
        const QImage shot = preview.grab().toImage();
        saveScreenshot(shot, authoring ? "authoring-no-opengl" : "preview-no-opengl");
        EXPECT_FALSE(brightBox(shot, 200).isEmpty());
    }
}

TEST(RenderPreview, AMessageThatFitsIsDrawnCentredOnOneLine)
{
    PreviewView preview(false);
    preview.resize(640, 360);
    ASSERT_TRUE(showAndWait(preview, {0, 0}));
    preview.setCaptureMessage(QStringLiteral("Waiting for the first picture of the shared region"));
    ASSERT_TRUE(waitUntil([&] { return !brightBox(preview.grab().toImage(), 160).isEmpty(); }));
    const QImage shot = preview.grab().toImage();
    const QRect box = brightBox(shot, 160);
    const double lineHeight = QFontMetricsF(PreviewView::messageFont()).height();
    EXPECT_LE(box.height(), lineHeight);
    EXPECT_NEAR(box.center().x(), 320, 3);
    EXPECT_NEAR(box.center().y(), 180, 4);
}

TEST(RenderPreview, AMessageWiderThanTheViewWrapsWithinItsEdges)
{
    PreviewView preview(false);
    preview.resize(320, 200);
    ASSERT_TRUE(showAndWait(preview, {0, 0}));
    const QString reason = QStringLiteral("Unable to start capture: the X server lacks the "
                                          "Composite 0.2 extension that screen capture needs");
    ASSERT_GT(QFontMetricsF(PreviewView::messageFont()).horizontalAdvance(reason), 2 * 320);
    preview.setCaptureMessage(reason);
    ASSERT_TRUE(waitUntil([&] { return !brightBox(preview.grab().toImage(), 160).isEmpty(); }));
    const QRect box = brightBox(preview.grab().toImage(), 160);
    const double lineHeight = QFontMetricsF(PreviewView::messageFont()).height();
    // Several lines, every one of them inside the view with room to spare at the sides,
    // the block centred.
    EXPECT_GE(box.height(), 2 * lineHeight);
    EXPECT_GE(box.left(), PreviewView::messageMargin - 1);
    EXPECT_LE(box.right(), 320 - PreviewView::messageMargin);
    EXPECT_GT(box.width(), 320 / 2);
    EXPECT_NEAR(box.center().x(), 160, 12);
    EXPECT_NEAR(box.center().y(), 100, lineHeight);
}

TEST(RenderPreview, AWordLongerThanTheViewIsBrokenWithinItsEdges)
{
    PreviewView preview(false);
    preview.resize(200, 150);
    ASSERT_TRUE(showAndWait(preview, {0, 0}));
    preview.setCaptureMessage(
        QStringLiteral("Unable to start capture: /tmp/.X11-unix/X1234567890/abcdefghijklmnop"));
    ASSERT_TRUE(waitUntil([&] { return !brightBox(preview.grab().toImage(), 160).isEmpty(); }));
    const QRect box = brightBox(preview.grab().toImage(), 160);
    // On more than one line, none of them past the view's edges.
    EXPECT_GT(box.height(), QFontMetricsF(PreviewView::messageFont()).height());
    EXPECT_GE(box.left(), PreviewView::messageMargin - 1);
    EXPECT_LE(box.right(), 200 - PreviewView::messageMargin);
}

TEST(RenderPreview, MessageHidesThePictureUntilTheNextOneArrives)
{
    PreviewView preview(false);
    ASSERT_NE(preview.captureView(), nullptr);
    preview.resize(640, 360);
    ASSERT_TRUE(showAndWait(preview, {0, 0}));
    const QImage picture = colouredBlocksPicture({640, 360});
    preview.setCapturedFrame(CapturedFrame::fromImage(picture));
    GlCaptureView *capture = preview.captureView();

    ASSERT_TRUE(waitUntil([&] { return capture->isVisible() && capture->hasRenderedFrame(); }));
    const bool pictureShown =
        waitUntil([&] { return maxBlockMeanDifference(screenOf(preview), picture, 64) <= 3; });
    saveScreenshot(screenOf(preview), "preview-picture");
    ASSERT_TRUE(pictureShown) << maxBlockMeanDifference(screenOf(preview), picture, 64);

    preview.setCaptureMessage(QStringLiteral("Capture paused"));
    EXPECT_FALSE(capture->isVisible());
    // Only black and the white message reach the screen; none of the picture's colours.
    ASSERT_TRUE(waitUntil([&] {
        const QImage shown = screenOf(preview);
        return countPixelsNotNear(shown, QRect(0, 0, 640, 150), Qt::black, 0) == 0;
    }));
    const QImage paused = screenOf(preview);
    EXPECT_FALSE(brightBox(paused, 160).isEmpty());
    saveScreenshot(paused, "preview-message");

    preview.setCapturedFrame(CapturedFrame::fromImage(picture));
    EXPECT_FALSE(preview.message().has_value());
    EXPECT_TRUE(capture->isVisible());
    ASSERT_TRUE(
        waitUntil([&] { return maxBlockMeanDifference(screenOf(preview), picture, 64) <= 3; }));

    // Later pictures keep reaching the screen.
    const QImage next = finePrintPicture({640, 360});
    preview.setCapturedFrame(CapturedFrame::fromImage(next));
    ASSERT_TRUE(
        waitUntil([&] { return maxBlockMeanDifference(screenOf(preview), next, 64) <= 3; }));
    preview.setCapturedFrame(CapturedFrame::fromImage(picture));
    ASSERT_TRUE(
        waitUntil([&] { return maxBlockMeanDifference(screenOf(preview), picture, 64) <= 3; }));
}

TEST(RenderPreview, SwitchingToSelectionHidesThePictureAndMirrorShowsItOnlyWhenThereIsOne)
{
    PreviewView preview(false);
    preview.resize(320, 180);
    ASSERT_TRUE(showAndWait(preview, {0, 0}));
    GlCaptureView *capture = preview.captureView();
    ASSERT_NE(capture, nullptr);
    EXPECT_FALSE(capture->isVisible()); // no picture yet

    preview.setPreviewStyle(PreviewStyle::selection);
    preview.setPreviewStyle(PreviewStyle::mirror);
    EXPECT_FALSE(capture->isVisible()); // still no picture

    preview.setCapturedFrame(CapturedFrame::fromImage(finePrintPicture({320, 180})));
    EXPECT_TRUE(capture->isVisible());
    preview.setPreviewStyle(PreviewStyle::selection);
    EXPECT_FALSE(capture->isVisible());
    preview.setPreviewStyle(PreviewStyle::mirror);
    EXPECT_TRUE(capture->isVisible());

    preview.setCaptureMessage(QStringLiteral("Capture paused"));
    preview.setPreviewStyle(PreviewStyle::selection);
    preview.setPreviewStyle(PreviewStyle::mirror);
    EXPECT_FALSE(capture->isVisible()); // a message is set

    // A picture arriving in selection style stays hidden.
    preview.setPreviewStyle(PreviewStyle::selection);
    preview.setCapturedFrame(CapturedFrame::fromImage(finePrintPicture({320, 180})));
    EXPECT_FALSE(capture->isVisible());
}

TEST(RenderPreview, TheAuthoringViewPaintsItsPictureOnlyInMirrorStyleAndWithoutAMessage)
{
    // Over a white window, so that what the authoring view leaves transparent shows white.
    QWidget backdrop;
    backdrop.setStyleSheet(QStringLiteral("background: white"));
    backdrop.resize(320, 180);
    PreviewView preview(true, &backdrop);
    preview.setGeometry(backdrop.rect());
    ASSERT_TRUE(showAndWait(backdrop, {0, 0}));
    EXPECT_EQ(preview.captureView(), nullptr);
    const QColor red(200, 40, 40);
    const QRect middle(60, 50, 200, 80);
    const auto redPixels = [&] { return pixelsNear(screenOf(preview), middle, red, 3); };

    preview.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, red)));
    ASSERT_TRUE(waitUntil([&] { return redPixels() == middle.width() * middle.height(); }));
    preview.setPreviewStyle(PreviewStyle::selection);
    EXPECT_EQ(preview.scopeBorderView()->previewStyle(), PreviewStyle::selection);
    ASSERT_TRUE(waitUntil(
        [&] { return countPixelsNotNear(screenOf(preview), middle, Qt::white, 3) == 0; }));
    // A picture arriving in selection style stays hidden. The backdrop turns grey after it:
    // once the grey shows, whatever the picture made the view paint has reached the screen.
    preview.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, red)));
    backdrop.setStyleSheet(QStringLiteral("background: rgb(128, 128, 128)"));
    ASSERT_TRUE(waitUntil([&] {
        return countPixelsNotNear(screenOf(preview), middle, QColor(128, 128, 128), 3) == 0;
    })) << "the backdrop did not turn grey";
    EXPECT_EQ(redPixels(), 0);

    preview.setPreviewStyle(PreviewStyle::mirror);
    ASSERT_TRUE(waitUntil([&] { return redPixels() == middle.width() * middle.height(); }));
    preview.setCaptureMessage(QStringLiteral("Capture paused"));
    ASSERT_TRUE(waitUntil([&] {
        return countPixelsNotNear(screenOf(preview), QRect(0, 0, 320, 40), Qt::black, 0) <
               320 * 40 / 4;
    }));
    EXPECT_EQ(redPixels(), 0);
    preview.setCapturedFrame(CapturedFrame::fromImage(solidPicture({320, 180}, red)));
    EXPECT_FALSE(preview.message().has_value());
    ASSERT_TRUE(waitUntil([&] { return redPixels() == middle.width() * middle.height(); }));
}

TEST(RenderPreview, SubviewsAreStackedPictureBorderCanvasAndFillTheView)
{
    PreviewView authoring(true);
    authoring.resize(300, 200);
    ASSERT_TRUE(showAndWait(authoring, {0, 0}));
    const QObjectList children = authoring.children();
    const auto indexOf = [&](QObject *o) { return children.indexOf(o); };
    // The authoring view paints the picture itself, beneath every child.
    EXPECT_EQ(authoring.captureView(), nullptr);
    EXPECT_LT(indexOf(authoring.scopeBorderView()), indexOf(authoring.annotationCanvas()));
    EXPECT_EQ(authoring.annotationCanvas()->geometry(), authoring.rect());
    EXPECT_EQ(authoring.scopeBorderView()->geometry(), authoring.rect());

    PreviewView share(false);
    share.resize(300, 200);
    ASSERT_TRUE(showAndWait(share, {0, 320}));
    EXPECT_EQ(share.scopeBorderView(), nullptr);
    const QObjectList shareChildren = share.children();
    ASSERT_NE(share.captureView(), nullptr);
    EXPECT_LT(shareChildren.indexOf(share.captureView()),
              shareChildren.indexOf(share.annotationCanvas()));
    EXPECT_EQ(share.captureView()->geometry(), share.rect());
    EXPECT_EQ(share.annotationCanvas()->geometry(), share.rect());
}

TEST(RenderPreview, OnlyTheAuthoringCanvasReportsDraftsAndCommits)
{
    for (const bool authoring : {true, false}) {
        PreviewView preview(authoring);
        preview.resize(200, 100);
        int drafts = 0;
        int commits = 0;
        QObject::connect(&preview, &PreviewView::annotationDraftChanged,
                         [&](const Annotation &) { ++drafts; });
        QObject::connect(&preview, &PreviewView::annotationCommitted, [&] { ++commits; });
        AnnotationCanvasView *canvas = preview.annotationCanvas();
        // What the canvas reports reaches the owner only from the authoring instance.
        Q_EMIT canvas->draftChanged(Annotation{});
        Q_EMIT canvas->committed();
        EXPECT_EQ(drafts, authoring ? 1 : 0);
        EXPECT_EQ(commits, authoring ? 1 : 0);
    }
}

TEST(RenderPreview, MarksAppearOnTopOfTheBlurredSharePicture)
{
    PreviewView share(false);
    share.resize(640, 360);
    ASSERT_TRUE(showAndWait(share, {0, 0}));
    GlCaptureView *capture = share.captureView();
    ASSERT_NE(capture, nullptr);
    capture->setCaptureScale(1.0);
    capture->setBlurEnabled(true);
    share.setBlurStrength(BlurStrength::light);
    const QImage picture = finePrintPicture({640, 360});
    share.setCapturedFrame(CapturedFrame::fromImage(picture));
    Annotation line{AnnotationTool::line, AnnotationColor::green, {{0.1, 0.5}, {0.9, 0.5}}, 0.02};
    Annotation arrow{AnnotationTool::arrow, AnnotationColor::blue, {{0.2, 0.2}, {0.5, 0.35}}, 0.01};
    share.annotationCanvas()->setAnnotations({line, arrow});

    // Read back from the X server: the blurred picture with the green line across it.
    ASSERT_TRUE(waitUntil([&] {
        const QImage shown = screenOf(share);
        return countPixelsNotNear(shown, QRect(100, 178, 440, 4), SystemColors::green, 6) == 0;
    }));
    const QImage shown = screenOf(share);
    saveScreenshot(shown, "share-marks-on-blur");
    // Around the marks the picture is blurred (fine text gone).
    const QImage topBand = shown.copy(0, 0, 640, 120);
    EXPECT_LE(laplacianEnergy(topBand), laplacianEnergy(picture.copy(0, 0, 640, 120)) * 0.1);
    EXPECT_GT(countPixelsNotNear(shown, QRect(0, 0, 640, 120), Qt::black, 40), 640 * 110);
}

TEST(RenderPreview, BannerShowsInTheAuthoringViewWithBlurOnAndNeverInTheShareView)
{
    PreviewView authoring(true);
    PreviewView share(false);
    for (PreviewView *preview : {&authoring, &share}) {
        preview->resize(640, 360);
        preview->setCapturedFrame(CapturedFrame::fromImage(finePrintPicture({640, 360})));
    }
    ASSERT_TRUE(showAndWait(authoring, {0, 0}));
    ASSERT_TRUE(showAndWait(share, {0, 400}));
    const QRect bannerArea(220, 8, 200, 40);

    // Blur off: neither shows orange.
    GlCaptureView *shareCapture = share.captureView();
    ASSERT_NE(shareCapture, nullptr);
    ASSERT_TRUE(
        waitUntil([&] { return shareCapture != nullptr && shareCapture->hasRenderedFrame(); }));
    EXPECT_EQ(orangePixels(authoring.grab().toImage(), bannerArea), 0);

    authoring.scopeBorderView()->setPrivacyBlurActive(true);
    shareCapture->setBlurEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return orangePixels(screenOf(authoring), bannerArea) > 1000; }));
    const QImage withBanner = screenOf(authoring);
    saveScreenshot(withBanner, "authoring-banner");
    // The banner's black text sits in the orange pill.
    const std::optional<QRectF> banner =
        ScopeBorderView::bannerRect(ScopeBorderView::outlineRect(QRectF(0, 0, 640, 360)));
    ASSERT_TRUE(banner.has_value());
    EXPECT_LT(
        countPixelsNotNear(withBanner, banner->toRect().adjusted(12, 3, -12, -3), Qt::black, 60),
        banner->width() * banner->height());
    EXPECT_NEAR(banner->center().x(), 320.0, 0.5);
    EXPECT_DOUBLE_EQ(banner->top(), 3.0 + 6.0);

    const QImage shared = screenOf(share);
    saveScreenshot(shared, "share-blur-no-banner");
    EXPECT_EQ(orangePixels(shared, shared.rect()), 0);
}

TEST(RenderScopeBorder, CornerRadiusFollowsTheInsetFrame)
{
    EXPECT_DOUBLE_EQ(ScopeBorderView::cornerRadius(ScopeBorderView::outlineRect({0, 0, 30, 30})),
                     10.0);
    EXPECT_DOUBLE_EQ(ScopeBorderView::cornerRadius(ScopeBorderView::outlineRect({0, 0, 12, 12})),
                     3.0);
    EXPECT_EQ(ScopeBorderView::outlineRect({0, 0, 30, 30}), QRectF(3, 3, 24, 24));
}

TEST(RenderScopeBorder, SmallFrameWithBlurShowsTheOrangeOutlineWithoutTheBanner)
{
    const QFontMetricsF metrics(ScopeBorderView::bannerFont());
    const double bannerWidth = metrics.horizontalAdvance(ScopeBorderView::bannerText()) + 24.0;
    const double bannerHeight = metrics.height() + 10.0;
    // Exactly 8 wider than the banner is not enough; 9 is.
    EXPECT_FALSE(ScopeBorderView::bannerRect({0, 0, bannerWidth + 8.0, 200}).has_value());
    EXPECT_TRUE(ScopeBorderView::bannerRect({0, 0, bannerWidth + 9.0, 200}).has_value());
    EXPECT_FALSE(ScopeBorderView::bannerRect({0, 0, 400, bannerHeight + 8.0}).has_value());

    QWidget window;
    window.resize(static_cast<int>(bannerWidth) + 10, 40);
    window.setStyleSheet(QStringLiteral("background: rgb(30, 30, 30)"));
    ScopeBorderView border(&window);
    border.setGeometry(window.rect());
    border.setPrivacyBlurActive(true);
    ASSERT_TRUE(showAndWait(window, {0, 0}));
    const QImage shot = window.grab().toImage();
    saveScreenshot(shot, "border-small-no-banner");
    // The orange outline is there, its interior is not.
    EXPECT_GT(orangePixels(shot, QRect(0, 0, shot.width(), 8)), shot.width());
    EXPECT_EQ(orangePixels(shot, QRect(10, 10, shot.width() - 20, shot.height() - 20)), 0);
}

TEST(RenderScopeBorder, OutlineIsAccentColouredWithoutBlurAndNeverTakesTheMouse)
{
    QWidget window;
    window.resize(200, 120);
    ScopeBorderView border(&window);
    border.setGeometry(window.rect());
    EXPECT_TRUE(border.testAttribute(Qt::WA_TransparentForMouseEvents));
    ASSERT_TRUE(showAndWait(window, {0, 0}));
    const QImage plain = window.grab().toImage();
    EXPECT_EQ(orangePixels(plain, plain.rect()), 0);
    const QColor accent = border.palette().color(QPalette::Highlight);
    EXPECT_GT(plain.width() * plain.height() - countPixelsNotNear(plain, plain.rect(), accent, 40),
              200);
}
