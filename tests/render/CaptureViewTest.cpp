// The capture view on the private X server with Mesa's software OpenGL: pixels, blur, fail-safe
// and drawing on demand.
#include "RenderTestSupport.h"
#include "TestDisplay.h"
#include "XReadback.h"

#include "render/GlCaptureView.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

const QColor failSafeColour(10, 10, 13);

class RenderCaptureView : public ::testing::Test
{
protected:
    // A capture view as its own top-level window, the size of the picture (1:1).
    bool show(QSize size, QPoint position = QPoint(0, 0))
    {
        view = GlCaptureView::make();
        if (!view) {
            return false;
        }
        view->resize(size);
        return showAndWait(*view, position);
    }

    // Gives the view `picture` and waits until it has been drawn.
    bool showPicture(const QImage &picture)
    {
        const int before = view->drawCount();
        view->setFrame(CapturedFrame::fromImage(picture));
        return waitUntil([&] { return view->drawCount() > before && view->hasRenderedFrame(); });
    }

    QImage screen() const
    {
        return grabScreenRect(testDisplay().displayName(),
                              QRect(view->mapToGlobal(QPoint(0, 0)), view->size()));
    }

    std::unique_ptr<GlCaptureView> view;
};

} // namespace

TEST_F(RenderCaptureView, UnblurredPictureReproducesTheInputOnScreen)
{
    const QImage picture = finePrintPicture({640, 360});
    ASSERT_TRUE(show(picture.size()));
    view->setCaptureScale(1.0);
    ASSERT_TRUE(showPicture(picture));
    EXPECT_EQ(view->lastDraw().state, BlurState::none);

    const QImage drawn = view->grabFramebuffer();
    ASSERT_EQ(drawn.size(), picture.size());
    EXPECT_LE(maxPixelDifference(drawn, picture), 2);

    // What reaches the X server, read back through a connection of its own.
    ASSERT_TRUE(waitUntil([&] { return maxPixelDifference(screen(), picture) <= 2; }))
        << "screen differs from the picture by " << maxPixelDifference(screen(), picture);
    saveScreenshot(screen(), "capture-unblurred");
}

TEST_F(RenderCaptureView, LightBlurRemovesFineDetailAndKeepsBlockColours)
{
    const QImage picture = finePrintPicture({640, 360});
    ASSERT_TRUE(show(picture.size()));
    view->setCaptureScale(1.0);
    view->setBlurEnabled(true);
    view->setBlurStrength(BlurStrength::light);
    ASSERT_TRUE(showPicture(picture));
    EXPECT_EQ(view->lastDraw().state, BlurState::blur);

    const QImage drawn = view->grabFramebuffer();
    const double before = laplacianEnergy(picture);
    const double after = laplacianEnergy(drawn);
    std::printf("light: energy %.2f -> %.2f (%.1f %% left), worst 64-block mean %d levels\n",
                before, after, 100.0 * after / before, maxBlockMeanDifference(drawn, picture, 64));
    EXPECT_LE(after, before * 0.10) << "energy " << before << " -> " << after;
    EXPECT_LE(maxBlockMeanDifference(drawn, picture, 64), 8);
    saveScreenshot(drawn, "capture-light");
}

TEST_F(RenderCaptureView, StrongBlurRemovesFineDetailAndKeepsBlockColours)
{
    const QImage picture = finePrintPicture({640, 360});
    ASSERT_TRUE(show(picture.size()));
    view->setCaptureScale(1.0);
    view->setBlurEnabled(true);
    view->setBlurStrength(BlurStrength::strong);
    ASSERT_TRUE(showPicture(picture));

    const QImage drawn = view->grabFramebuffer();
    const double before = laplacianEnergy(picture);
    const double after = laplacianEnergy(drawn);
    std::printf("strong: energy %.2f -> %.2f (%.1f %% left), worst 64-block mean %d levels\n",
                before, after, 100.0 * after / before, maxBlockMeanDifference(drawn, picture, 64));
    EXPECT_LE(after, before * 0.03) << "energy " << before << " -> " << after;
    EXPECT_LE(maxBlockMeanDifference(drawn, picture, 64), 8);
    saveScreenshot(drawn, "capture-strong");
}

TEST_F(RenderCaptureView, StrongIsBlurrierThanLight)
{
    const QImage picture = colouredBlocksPicture({640, 360});
    ASSERT_TRUE(show(picture.size()));
    view->setCaptureScale(1.0);
    view->setBlurEnabled(true);
    ASSERT_TRUE(showPicture(picture));
    const QImage light = view->grabFramebuffer();
    view->setBlurStrength(BlurStrength::strong);
    const QImage strong = view->grabFramebuffer();
    // Fine detail is gone from both; strong also flattens the coarse structure further.
    EXPECT_LT(coarseEnergy(strong, 8), coarseEnergy(light, 8) * 0.6)
        << coarseEnergy(strong, 8) << " vs " << coarseEnergy(light, 8);
    EXPECT_LT(coarseEnergy(strong, 4), coarseEnergy(light, 4) * 0.6);
    saveScreenshot(light, "blocks-light");
    saveScreenshot(strong, "blocks-strong");
}

TEST_F(RenderCaptureView, ReducedBlurMatchesTheFullSizeReferenceShader)
{
    // The shipped path runs the nine taps into a smaller target; compare it with the
    // full-size draw on detailed and on blocky content, for both strengths and both scales.
    for (const QImage &picture :
         {finePrintPicture({1280, 720}), colouredBlocksPicture({1280, 720})}) {
        view.reset();
        ASSERT_TRUE(show(picture.size()));
        view->setBlurEnabled(true);
        ASSERT_TRUE(showPicture(picture));
        for (const double scale : {1.0, 2.0}) {
            view->setCaptureScale(scale);
            for (const BlurStrength strength : {BlurStrength::light, BlurStrength::strong}) {
                view->setBlurStrength(strength);
                view->setBlurPath(BlurPath::fullSize);
                const QImage reference = view->grabFramebuffer();
                ASSERT_TRUE(view->lastDraw().reducedSize.isEmpty());
                view->setBlurPath(BlurPath::reduced);
                const QImage reduced = view->grabFramebuffer();
                ASSERT_FALSE(view->lastDraw().reducedSize.isEmpty());
                const int worst = maxPixelDifference(reduced, reference);
                if (worst > 10) {
                    saveScreenshot(reference, "reduced-mismatch-reference");
                    saveScreenshot(reduced, "reduced-mismatch-reduced");
                }
                const double mean = meanPixelDifference(reduced, reference);
                std::printf("scale %.0f %s: reduced %dx%d, max %d, mean %.3f levels\n", scale,
                            strength == BlurStrength::light ? "light" : "strong",
                            view->lastDraw().reducedSize.width(),
                            view->lastDraw().reducedSize.height(), worst, mean);
                EXPECT_LE(worst, 10) << "scale " << scale; // 4 % of full scale
                EXPECT_LE(mean, 1.0) << "scale " << scale;
            }
        }
    }
}

TEST_F(RenderCaptureView, MipChainFailureShowsFailSafeColourAndNoneOfThePicture)
{
    const QImage picture = colouredBlocksPicture({640, 360});
    ASSERT_TRUE(show(picture.size()));
    view->setMaximumMipChainSide(64); // no chain can be built for a 640 × 360 picture
    view->setBlurEnabled(true);
    ASSERT_TRUE(showPicture(picture));
    EXPECT_EQ(view->lastDraw().state, BlurState::failSafe);
    EXPECT_FALSE(view->hasMipChain());
    EXPECT_FLOAT_EQ(view->lastDraw().effects.x(), 2.0f);

    const QImage drawn = view->grabFramebuffer();
    EXPECT_EQ(countPixelsNotNear(drawn, drawn.rect(), failSafeColour, 1), 0);
    ASSERT_TRUE(waitUntil([&] {
        const QImage shown = screen();
        return countPixelsNotNear(shown, shown.rect(), failSafeColour, 1) == 0;
    }));
    saveScreenshot(screen(), "capture-failsafe");
}

TEST_F(RenderCaptureView, FailSafeAppliesWhenTheChainStopsFittingLater)
{
    const QImage picture = finePrintPicture({640, 360});
    ASSERT_TRUE(show(picture.size()));
    view->setBlurEnabled(true);
    ASSERT_TRUE(showPicture(picture));
    ASSERT_EQ(view->lastDraw().state, BlurState::blur);
    view->setMaximumMipChainSide(320);
    const QImage drawn = view->grabFramebuffer();
    EXPECT_EQ(view->lastDraw().state, BlurState::failSafe);
    EXPECT_EQ(countPixelsNotNear(drawn, drawn.rect(), failSafeColour, 1), 0);
}

TEST_F(RenderCaptureView, BlurOffSamplesThePictureDirectlyWithoutAMipCopy)
{
    ASSERT_TRUE(show({320, 180}));
    ASSERT_TRUE(showPicture(finePrintPicture({320, 180})));
    EXPECT_EQ(view->lastDraw().state, BlurState::none);
    EXPECT_FLOAT_EQ(view->lastDraw().effects.x(), 0.0f);
    EXPECT_FALSE(view->hasMipChain());
    const int before = view->drawCount();
    view->setBlurEnabled(true);
    EXPECT_EQ(view->drawCount(), before + 1);
    EXPECT_EQ(view->lastDraw().state, BlurState::blur);
    EXPECT_TRUE(view->hasMipChain());
}

TEST_F(RenderCaptureView, SmallPictureStrongBlurIsClampedToLevelSix)
{
    ASSERT_TRUE(show({100, 56}));
    view->setCaptureScale(2.0);
    view->setBlurStrength(BlurStrength::strong);
    view->setBlurEnabled(true);
    ASSERT_TRUE(showPicture(colouredBlocksPicture({100, 56})));
    const QVector4D effects = view->lastDraw().effects;
    EXPECT_FLOAT_EQ(effects.x(), 1.0f);
    EXPECT_FLOAT_EQ(effects.y(), 6.0f);
    EXPECT_FLOAT_EQ(effects.z(), 0.64f);
    EXPECT_FLOAT_EQ(effects.w(), 0.0f);
}

TEST_F(RenderCaptureView, SwitchingLightToStrongWithAPictureRedrawsAtOnce)
{
    ASSERT_TRUE(show({640, 360}));
    view->setCaptureScale(2.0);
    view->setBlurEnabled(true);
    ASSERT_TRUE(showPicture(finePrintPicture({640, 360})));
    const int before = view->drawCount();
    EXPECT_FLOAT_EQ(view->lastDraw().effects.y(), 5.0f);

    view->setBlurStrength(BlurStrength::strong);
    // No event processing in between: the draw happened inside the setter.
    EXPECT_EQ(view->drawCount(), before + 1);
    EXPECT_NEAR(view->lastDraw().effects.y(), 6.907f, 0.001f);
}

TEST_F(RenderCaptureView, SettingTheSameStrengthAgainDoesNotRedraw)
{
    ASSERT_TRUE(show({640, 360}));
    view->setBlurEnabled(true);
    view->setBlurStrength(BlurStrength::strong);
    ASSERT_TRUE(showPicture(finePrintPicture({640, 360})));
    const int before = view->drawCount();
    view->setBlurStrength(BlurStrength::strong);
    view->setBlurEnabled(true);
    view->setCaptureScale(view->captureScale());
    EXPECT_FALSE(waitUntil([&] { return view->drawCount() != before; }, 300));
    EXPECT_EQ(view->drawCount(), before);
}

TEST_F(RenderCaptureView, DrawsOncePerPictureAndNeverWhileNothingChanges)
{
    ASSERT_TRUE(show({320, 180}));
    // Without a picture a blur change asks for nothing.
    const int idle = view->drawCount();
    view->setBlurEnabled(true);
    EXPECT_EQ(view->drawCount(), idle);

    const QImage picture = finePrintPicture({320, 180});
    for (int i = 0; i < 4; ++i) {
        const int before = view->drawCount();
        ASSERT_TRUE(showPicture(picture));
        EXPECT_EQ(view->drawCount(), before + 1);
    }
    const int settled = view->drawCount();
    EXPECT_FALSE(waitUntil([&] { return view->drawCount() != settled; }, 400));
}
