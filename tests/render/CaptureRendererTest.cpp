// The renderer alone in an offscreen OpenGL context: program variants and mip-chain reuse.
#include "RenderTestSupport.h"
#include "XReadback.h"

#include "render/CaptureRenderer.h"

#include <gtest/gtest.h>

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

class RenderCaptureRenderer : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QSurfaceFormat format;
        format.setVersion(3, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
        context.setFormat(format);
        ASSERT_TRUE(context.create());
        surface.setFormat(context.format());
        surface.create();
        ASSERT_TRUE(context.makeCurrent(&surface));
        renderer = std::make_unique<CaptureRenderer>();
        ASSERT_TRUE(renderer->initialize()) << renderer->failureReason().toStdString();
    }

    void TearDown() override
    {
        target.reset();
        renderer.reset();
        context.doneCurrent();
    }

    QImage draw(QSize size, const RenderSettings &settings)
    {
        if (!target || target->size() != size) {
            target = std::make_unique<QOpenGLFramebufferObject>(size);
        }
        last = renderer->draw(target->handle(), size, settings);
        return target->toImage().convertToFormat(QImage::Format_RGB32);
    }

    QOpenGLContext context;
    QOffscreenSurface surface;
    std::unique_ptr<CaptureRenderer> renderer;
    std::unique_ptr<QOpenGLFramebufferObject> target;
    DrawResult last;
};

} // namespace

TEST_F(RenderCaptureRenderer, ProgramReadingTheStateFromTheEffectsMatchesThePerStatePrograms)
{
    const QImage picture = colouredBlocksPicture({320, 180});
    renderer->setFrame(CapturedFrame::fromImage(picture));
    for (const bool blur : {false, true}) {
        for (const int limit : {0, 64}) {
            renderer->setMaximumMipChainSide(limit);
            RenderSettings settings;
            settings.blurEnabled = blur;
            settings.path = BlurPath::fullSize;
            const QImage specific = draw(picture.size(), settings);
            const BlurState state = last.state;
            settings.stateSpecificProgram = false;
            const QImage generic = draw(picture.size(), settings);
            EXPECT_EQ(last.state, state);
            EXPECT_EQ(maxPixelDifference(specific, generic), 0)
                << "state " << static_cast<int>(state);
            if (!blur) {
                EXPECT_EQ(maxPixelDifference(generic, picture), 0);
            }
        }
    }
}

TEST_F(RenderCaptureRenderer, MipChainIsReusedWhileThePictureSizeHolds)
{
    RenderSettings settings;
    settings.blurEnabled = true;
    const QImage first = finePrintPicture({320, 180});
    const QImage second = colouredBlocksPicture({320, 180});
    renderer->setFrame(CapturedFrame::fromImage(first));
    const QImage a = draw({320, 180}, settings);
    EXPECT_EQ(renderer->mipChainBuilds(), 1);
    EXPECT_EQ(renderer->mipLevels(), 9);
    renderer->setFrame(CapturedFrame::fromImage(second));
    const QImage b = draw({320, 180}, settings);
    EXPECT_EQ(renderer->mipChainBuilds(), 1);
    // Reused, yet filled with the new picture.
    EXPECT_GT(maxPixelDifference(a, b), 20);

    renderer->setFrame(CapturedFrame::fromImage(colouredBlocksPicture({200, 100})));
    draw({320, 180}, settings);
    EXPECT_EQ(renderer->mipChainBuilds(), 2);
    EXPECT_EQ(renderer->mipLevels(), 8);
}

TEST_F(RenderCaptureRenderer, WithoutAFrameTheTargetIsClearedToBlack)
{
    const QImage image = draw({64, 36}, RenderSettings{});
    EXPECT_FALSE(last.drewPicture);
    EXPECT_EQ(countPixelsNotNear(image, image.rect(), Qt::black, 0), 0);
}

// OpenGL ES 3.0 has no BGRA textures: the pictures go in as RGBA with red and blue swapped
// back when sampled, and the programs are built with the ES header. Mesa offers ES contexts
// through GLX, so the same pictures can be compared here.
TEST_F(RenderCaptureRenderer, AnOpenGlEsContextShowsTheSamePictures)
{
    const QImage picture = colouredBlocksPicture({320, 180});
    RenderSettings blurred;
    blurred.blurEnabled = true;
    blurred.captureScale = 1.0;
    renderer->setFrame(CapturedFrame::fromImage(picture));
    const QImage desktopPlain = draw(picture.size(), RenderSettings{});
    const QImage desktopBlurred = draw(picture.size(), blurred);
    // The desktop context's objects go before the ES context is made current.
    TearDown();

    QOpenGLContext es;
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGLES);
    format.setVersion(3, 0);
    es.setFormat(format);
    ASSERT_TRUE(es.create());
    ASSERT_TRUE(es.isOpenGLES()) << "asked for OpenGL ES, got desktop OpenGL";
    QOffscreenSurface esSurface;
    esSurface.setFormat(es.format());
    esSurface.create();
    ASSERT_TRUE(es.makeCurrent(&esSurface));
    {
        CaptureRenderer esRenderer;
        ASSERT_TRUE(esRenderer.initialize()) << esRenderer.failureReason().toStdString();
        esRenderer.setFrame(CapturedFrame::fromImage(picture));
        QOpenGLFramebufferObject esTarget(picture.size());
        const auto esDraw = [&](const RenderSettings &settings) {
            esRenderer.draw(esTarget.handle(), picture.size(), settings);
            return esTarget.toImage().convertToFormat(QImage::Format_RGB32);
        };
        const QImage esPlain = esDraw(RenderSettings{});
        EXPECT_EQ(maxPixelDifference(esPlain, picture), 0);
        EXPECT_EQ(maxPixelDifference(esPlain, desktopPlain), 0);
        const QImage esBlurred = esDraw(blurred);
        EXPECT_LE(maxPixelDifference(esBlurred, desktopBlurred), 2);
        EXPECT_GT(maxPixelDifference(esBlurred, picture), 20);
    }
    es.doneCurrent();
}
