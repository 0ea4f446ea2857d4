// The annotation canvas: gestures to drafts, unit coordinates (y up), and how marks are drawn.
#include "RenderTestSupport.h"
#include "TestDisplay.h"
#include "XReadback.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "model/SystemColors.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QTest>
#include <QWindow>

#include <cmath>
#include <numbers>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

// What lies beneath the canvas: records the presses that reach it.
class Beneath : public QWidget
{
public:
    int presses = 0;

protected:
    void mousePressEvent(QMouseEvent *) override { ++presses; }
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), QColor(40, 40, 40)); }
};

class RenderCanvas : public ::testing::Test
{
protected:
    void SetUp() override
    {
        canvas = new AnnotationCanvasView(&beneath);
        QObject::connect(canvas, &AnnotationCanvasView::draftChanged,
                         [this](const Annotation &draft) { drafts.push_back(draft); });
        QObject::connect(canvas, &AnnotationCanvasView::committed, [this] { ++commits; });
    }

    void resize(QSize size)
    {
        beneath.resize(size);
        canvas->setGeometry(QRect(QPoint(0, 0), size));
    }

    void send(QEvent::Type type, QPointF position)
    {
        const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        const Qt::MouseButtons buttons =
            type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, position, canvas->mapToGlobal(position), button, buttons,
                          Qt::NoModifier);
        QApplication::sendEvent(canvas, &event);
    }

    Beneath beneath;
    AnnotationCanvasView *canvas = nullptr;
    std::vector<Annotation> drafts;
    int commits = 0;
};

Annotation mark(AnnotationTool tool, std::vector<QPointF> points)
{
    return Annotation{tool, AnnotationColor::red, std::move(points), 0.005};
}

} // namespace

TEST_F(RenderCanvas, ClickWhileNotEditingReachesTheViewBeneathAndFiresNothing)
{
    resize({400, 300});
    ASSERT_TRUE(showAndWait(beneath, {0, 0}));
    QTest::mouseClick(beneath.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
    EXPECT_EQ(beneath.presses, 1);
    EXPECT_TRUE(drafts.empty());
    EXPECT_EQ(commits, 0);

    // In drawing mode the canvas takes the same click.
    canvas->setEditing(true);
    QTest::mouseClick(beneath.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
    EXPECT_EQ(beneath.presses, 1);
    ASSERT_EQ(drafts.size(), 1u);
    EXPECT_EQ(commits, 1);
}

TEST_F(RenderCanvas, PressReportsATwoPointDraftInUnitCoordinatesWithYUp)
{
    resize({400, 200});
    canvas->setEditing(true);
    canvas->setTool(AnnotationTool::rectangle);
    canvas->setColor(AnnotationColor::blue);
    send(QEvent::MouseButtonPress, {100, 50});
    ASSERT_EQ(drafts.size(), 1u);
    EXPECT_EQ(drafts[0].tool, AnnotationTool::rectangle);
    EXPECT_EQ(drafts[0].color, AnnotationColor::blue);
    EXPECT_EQ(drafts[0].unitLineWidth, 0.005);
    ASSERT_EQ(drafts[0].points.size(), 2u);
    EXPECT_DOUBLE_EQ(drafts[0].points[0].x(), 0.25);
    EXPECT_DOUBLE_EQ(drafts[0].points[0].y(), 0.75); // 50 from the top is 3/4 up
    EXPECT_EQ(drafts[0].points[0], drafts[0].points[1]);

    send(QEvent::MouseMove, {300, 150});
    ASSERT_EQ(drafts.size(), 2u);
    EXPECT_EQ(drafts[1].points, (std::vector<QPointF>{{0.25, 0.75}, {0.75, 0.25}}));
}

TEST_F(RenderCanvas, FreehandMoveOfOneThousandthAcrossAndThreeDownIsAccepted)
{
    resize({1000, 1000});
    canvas->setEditing(true);
    canvas->setTool(AnnotationTool::freehand);
    send(QEvent::MouseButtonPress, {500, 500});
    ASSERT_EQ(drafts.size(), 1u);
    EXPECT_EQ(drafts[0].tool, AnnotationTool::freehand);
    EXPECT_EQ(drafts[0].points.size(), 2u);

    send(QEvent::MouseMove, {500, 500}); // first sample: the press point is not seeded
    ASSERT_EQ(drafts.size(), 2u);
    EXPECT_EQ(drafts[1].points.size(), 1u);

    send(QEvent::MouseMove, {501, 497}); // 0.001 in x, 0.003 in y: kept
    ASSERT_EQ(drafts.size(), 3u);
    EXPECT_EQ(drafts[2].points.size(), 2u);

    send(QEvent::MouseMove, {502, 496}); // 0.001 in both: dropped, no callback
    EXPECT_EQ(drafts.size(), 3u);

    send(QEvent::MouseMove, {504, 496}); // 0.003 in x from the last kept sample
    ASSERT_EQ(drafts.size(), 4u);
    EXPECT_EQ(drafts[3].points.size(), 3u);
}

TEST_F(RenderCanvas, DragStartingOrLeavingOutsideTheBoundsIsClamped)
{
    resize({400, 300});
    canvas->setEditing(true);
    canvas->setTool(AnnotationTool::line);
    send(QEvent::MouseButtonPress, {-50, 350});
    ASSERT_EQ(drafts.size(), 1u);
    EXPECT_EQ(drafts[0].points[0], QPointF(0.0, 0.0));
    send(QEvent::MouseMove, {450, -20});
    ASSERT_EQ(drafts.size(), 2u);
    EXPECT_EQ(drafts[1].points[1], QPointF(1.0, 1.0));
    send(QEvent::MouseMove, {200, 150});
    EXPECT_EQ(drafts[2].points[1], QPointF(0.5, 0.5));
}

TEST_F(RenderCanvas, ZeroSizedCanvasMapsEveryPointToTheOrigin)
{
    resize({0, 0});
    EXPECT_EQ(canvas->unitPoint({12, 34}), QPointF(0, 0));
}

TEST_F(RenderCanvas, MouseUpEndsTheGestureAndCommitsEvenForADiscardedDraft)
{
    resize({400, 300});
    canvas->setEditing(true);
    send(QEvent::MouseButtonPress, {100, 100});
    EXPECT_TRUE(canvas->isDragging());
    send(QEvent::MouseButtonRelease, {100, 100}); // a click: the draft is not drawable
    EXPECT_FALSE(drafts[0].isDrawable());
    EXPECT_EQ(commits, 1);
    EXPECT_FALSE(canvas->isDragging());
    // Releases and drags while idle are ignored.
    send(QEvent::MouseButtonRelease, {100, 100});
    send(QEvent::MouseMove, {200, 200});
    EXPECT_EQ(commits, 1);
    EXPECT_EQ(drafts.size(), 1u);
}

TEST_F(RenderCanvas, LeavingDrawingModeEndsTheGesture)
{
    resize({400, 300});
    canvas->setEditing(true);
    send(QEvent::MouseButtonPress, {100, 100});
    canvas->setEditing(false);
    EXPECT_FALSE(canvas->isDragging());
    EXPECT_TRUE(canvas->testAttribute(Qt::WA_TransparentForMouseEvents));
    canvas->setEditing(true);
    send(QEvent::MouseButtonRelease, {100, 100});
    EXPECT_EQ(commits, 0);
}

TEST_F(RenderCanvas, StrokeOnSmallCanvasIsTheMinimumWidthWithItsHalo)
{
    const Annotation line = mark(AnnotationTool::line, {{0.1, 0.1}, {0.9, 0.9}});
    const double w = AnnotationCanvasView::strokeWidth(line, {400, 300});
    EXPECT_DOUBLE_EQ(w, 1.5);
    EXPECT_DOUBLE_EQ(AnnotationCanvasView::haloWidth(w), 3.5);
}

TEST_F(RenderCanvas, StrokeOnLargeCanvasScalesWithTheShorterSide)
{
    const Annotation line = mark(AnnotationTool::line, {{0.1, 0.1}, {0.9, 0.9}});
    const double w = AnnotationCanvasView::strokeWidth(line, {1600, 1200});
    EXPECT_DOUBLE_EQ(w, 6.0);
    EXPECT_NEAR(AnnotationCanvasView::haloWidth(w), 10.2, 1e-9);
    // Head length min(0.6 × d, max(4 × 6, 10)) = min(0.6 × d, 24).
    EXPECT_DOUBLE_EQ(AnnotationCanvasView::arrowHeadLength(100.0, w), 24.0);
    EXPECT_DOUBLE_EQ(AnnotationCanvasView::arrowHeadLength(30.0, w), 18.0);

    // An arrow 160 across: its head is 24 long with the π/7 half-angle.
    const Annotation arrow = mark(AnnotationTool::arrow, {{0.5, 0.5}, {0.6, 0.5}});
    const QPolygonF head = AnnotationCanvasView::arrowHead(arrow, w, {1600, 1200});
    ASSERT_EQ(head.size(), 4);
    const QPointF tip(960, 600);
    EXPECT_EQ(head[0], tip);
    for (int corner : {1, 2}) {
        const QPointF v = head[corner] - tip;
        EXPECT_NEAR(std::hypot(v.x(), v.y()), 24.0, 1e-9);
        EXPECT_NEAR(std::abs(std::atan2(v.y(), -v.x())), std::numbers::pi / 7.0, 1e-9);
    }
    // The shaft stops 0.8 × 24 short of the tip.
    const QPainterPath shaft = AnnotationCanvasView::path(arrow, w, {1600, 1200});
    EXPECT_NEAR(shaft.currentPosition().x(), 960 - 0.8 * 24, 1e-9);
}

TEST_F(RenderCanvas, ArrowWithEndsOnePointApartDrawsItsShaftOnly)
{
    // 1 point apart on a 400 × 300 canvas.
    const Annotation arrow = mark(AnnotationTool::arrow, {{0.5, 0.5}, {0.5 + 1.0 / 400.0, 0.5}});
    EXPECT_TRUE(AnnotationCanvasView::arrowHead(arrow, 1.5, {400, 300}).isEmpty());
    const QPainterPath shaft = AnnotationCanvasView::path(arrow, 1.5, {400, 300});
    EXPECT_EQ(shaft.elementCount(), 2);
    EXPECT_EQ(shaft.currentPosition(), QPointF(201, 150));
    // Slightly further apart, the head appears.
    const Annotation longer = mark(AnnotationTool::arrow, {{0.5, 0.5}, {0.5 + 2.0 / 400.0, 0.5}});
    EXPECT_FALSE(AnnotationCanvasView::arrowHead(longer, 1.5, {400, 300}).isEmpty());
}

TEST_F(RenderCanvas, PathsFollowTheTools)
{
    const QSizeF size(400, 200);
    const QPainterPath rect = AnnotationCanvasView::path(
        mark(AnnotationTool::rectangle, {{0.75, 0.25}, {0.25, 0.75}}), 1.5, size);
    EXPECT_EQ(rect.boundingRect(), QRectF(100, 50, 200, 100));
    const QPainterPath ellipse = AnnotationCanvasView::path(
        mark(AnnotationTool::ellipse, {{0.25, 0.25}, {0.75, 0.75}}), 1.5, size);
    EXPECT_EQ(ellipse.boundingRect(), QRectF(100, 50, 200, 100));
    const QPainterPath freehand = AnnotationCanvasView::path(
        mark(AnnotationTool::freehand, {{0, 0}, {0.5, 0.5}, {1, 1}}), 1.5, size);
    EXPECT_EQ(freehand.elementCount(), 3);
    EXPECT_EQ(freehand.elementAt(0), QPointF(0, 200)); // unit (0, 0) is the bottom left
    EXPECT_EQ(freehand.currentPosition(), QPointF(400, 0));
}

TEST_F(RenderCanvas, MarksArePaintedWithHaloAndSkippedBelowTwoPoints)
{
    resize({400, 300});
    ASSERT_TRUE(showAndWait(beneath, {0, 0}));
    Annotation line = mark(AnnotationTool::line, {{0.1, 0.75}, {0.9, 0.75}});
    line.unitLineWidth = 0.02; // 6 wide, halo 10.2
    canvas->setAnnotations({line, mark(AnnotationTool::line, {{0.5, 0.2}})});
    const QImage shot = beneath.grab().toImage();
    saveScreenshot(shot, "canvas-line");
    // y 0.75 up is 75 from the top.
    const QColor centre = shot.pixelColor(200, 75);
    EXPECT_LE(std::abs(centre.red() - SystemColors::red.red()), 3);
    EXPECT_LE(std::abs(centre.green() - SystemColors::red.green()), 3);
    // The halo: darker than the background just outside the stroke.
    EXPECT_LT(shot.pixelColor(200, 79).red(), 35);
    // Elsewhere nothing was painted: the view beneath shows through.
    EXPECT_EQ(countPixelsNotNear(shot, QRect(0, 120, 400, 180), QColor(40, 40, 40), 0), 0);
}
