#include "model/RectText.h"

#include <gtest/gtest.h>

#include <limits>

using namespace lookpane;

TEST(RectText, WritesBracedPairsWithShortestNumbers)
{
    EXPECT_EQ(rectToText(ScreenRect(800, 12.5, 1280, 720)),
              QStringLiteral("{{800, 12.5}, {1280, 720}}"));
    EXPECT_EQ(rectToText(ScreenRect(-100.25, 0, 0.1, 1e-3)),
              QStringLiteral("{{-100.25, 0}, {0.1, 0.001}}"));
    EXPECT_EQ(rectToText(ScreenRect()), QStringLiteral("{{0, 0}, {0, 0}}"));
}

TEST(RectText, NegativeZeroIsWrittenAsZero)
{
    EXPECT_EQ(shortestNumberText(-0.0), QStringLiteral("0"));
    EXPECT_EQ(shortestNumberText(800.0), QStringLiteral("800"));
    EXPECT_EQ(shortestNumberText(12.5), QStringLiteral("12.5"));
}

TEST(RectText, RoundTripsExactly)
{
    for (const ScreenRect &rect : {ScreenRect(560, 315, 800, 450), ScreenRect(-1920, 1080.5, 2, 2),
                                   ScreenRect(0.1 + 0.2, 1.0 / 3.0, 1e6, 123456.789),
                                   ScreenRect(-0.000001, 5e-324, 1.7976931348623157e308, 1)}) {
        EXPECT_EQ(rectFromText(rectToText(rect)), rect) << rectToText(rect).toStdString();
        // Exactly, not within a tolerance.
        const ScreenRect back = rectFromText(rectToText(rect));
        EXPECT_EQ(back.minX(), rect.minX());
        EXPECT_EQ(back.height(), rect.height());
    }
}

TEST(RectText, ReadsLeniently)
{
    const ScreenRect expected(1, 2, 3, 4);
    for (const char *text :
         {"{{1, 2}, {3, 4}}", "{{1,2},{3,4}}", "  { { 1 , 2 } , { 3 , 4 } }  ", "{1, 2, 3, 4}",
          "1 2 3 4", "{{1, 2}, {3, 4}", "{{+1, 2.0}, {3e0, 4}}"}) {
        EXPECT_EQ(rectFromText(QString::fromLatin1(text)), expected) << text;
    }
    EXPECT_EQ(rectFromText("{{-5.5, .5}, {1E3, 2e-1}}"), ScreenRect(-5.5, 0.5, 1000, 0.2));
}

TEST(RectText, WhatDoesNotParseReadsAsTheZeroRectangle)
{
    for (const char *text : {"", "{}", "garbage", "{{1, 2}, {3}}", "{{1, 2}, {3, 4, 5}}",
                             "{{1, 2}, {3, 1e999}}", "{{nan, 2}, {3, 4}}", "{{x, y}, {w, h}}"}) {
        const ScreenRect rect = rectFromText(QString::fromLatin1(text));
        EXPECT_EQ(rect, ScreenRect()) << text;
        EXPECT_EQ(rect.width(), 0.0) << text;
    }
}

TEST(RectText, LargeAndSmallNumbersAreWrittenWithoutAnExponent)
{
    EXPECT_EQ(lookpane::rectToText(ScreenRect(100000, 0.5, 2500000, 0.125)),
              QStringLiteral("{{100000, 0.5}, {2500000, 0.125}}"));
}
