#include "annotation/Annotation.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {

Annotation mark(AnnotationTool tool, std::vector<QPointF> points)
{
    Annotation annotation;
    annotation.tool = tool;
    annotation.points = std::move(points);
    return annotation;
}

} // namespace

TEST(Annotation, DefaultsAreARedFreehandMarkWithTheCanvasLineWidth)
{
    const Annotation annotation;
    EXPECT_EQ(annotation.tool, AnnotationTool::freehand);
    EXPECT_EQ(annotation.color, AnnotationColor::red);
    EXPECT_TRUE(annotation.points.empty());
    EXPECT_DOUBLE_EQ(annotation.unitLineWidth, 0.005);
}

TEST(Annotation, FreehandNeedsTwoPointsWhereverTheyLie)
{
    EXPECT_FALSE(mark(AnnotationTool::freehand, {}).isDrawable());
    EXPECT_FALSE(mark(AnnotationTool::freehand, {{0.2, 0.2}}).isDrawable());
    EXPECT_TRUE(mark(AnnotationTool::freehand, {{0.2, 0.2}, {0.2, 0.2}}).isDrawable());
}

TEST(Annotation, TwoPointToolsWithFewerThanTwoPointsAreNotDrawable)
{
    for (const AnnotationTool tool : {AnnotationTool::line, AnnotationTool::arrow,
                                      AnnotationTool::rectangle, AnnotationTool::ellipse}) {
        EXPECT_FALSE(mark(tool, {}).isDrawable()) << rawValue(tool).toStdString();
        EXPECT_FALSE(mark(tool, {{0.1, 0.1}}).isDrawable()) << rawValue(tool).toStdString();
    }
}

TEST(Annotation, TwoPointToolsNeedTheirEndsMoreThanFourThousandthsApartInXOrY)
{
    for (const AnnotationTool tool : {AnnotationTool::line, AnnotationTool::arrow,
                                      AnnotationTool::rectangle, AnnotationTool::ellipse}) {
        const std::string name = rawValue(tool).toStdString();
        // A click without a drag.
        EXPECT_FALSE(mark(tool, {{0.5, 0.5}, {0.5, 0.5}}).isDrawable()) << name;
        // Less than the threshold in both directions.
        EXPECT_FALSE(mark(tool, {{0.5, 0.5}, {0.503, 0.5039}}).isDrawable()) << name;
        // Beyond it in x alone, or in y alone (also backwards).
        EXPECT_TRUE(mark(tool, {{0.5, 0.5}, {0.505, 0.5}}).isDrawable()) << name;
        EXPECT_TRUE(mark(tool, {{0.5, 0.5}, {0.5, 0.495}}).isDrawable()) << name;
    }
}

TEST(Annotation, OnlyTheFirstTwoPointsOfATwoPointToolCount)
{
    EXPECT_FALSE(mark(AnnotationTool::line, {{0.5, 0.5}, {0.501, 0.5}, {0.9, 0.9}}).isDrawable());
    EXPECT_TRUE(mark(AnnotationTool::arrow, {{0.1, 0.1}, {0.9, 0.9}, {0.1, 0.1}}).isDrawable());
}
