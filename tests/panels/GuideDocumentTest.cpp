// The guide as a text document: one block per paragraph, and the fonts, spacings and hanging
// indents of each kind, read back from the document and from its layout.
#include "panels/GuideDocument.h"

#include <gtest/gtest.h>

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

using namespace lookpane;
using Kind = GuideParagraphKind;

namespace {

std::vector<QTextBlock> blocksOf(const QTextDocument &document)
{
    std::vector<QTextBlock> blocks;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        blocks.push_back(block);
    }
    return blocks;
}

// Every character format in the block, one per run of text.
std::vector<QTextCharFormat> charFormatsOf(const QTextBlock &block)
{
    std::vector<QTextCharFormat> formats;
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        formats.push_back(it.fragment().charFormat());
    }
    return formats;
}

struct FilledGuide
{
    explicit FilledGuide(bool trayAvailable = true, qreal width = 412)
        : paragraphs(guideParagraphs(trayAvailable))
    {
        fillGuideDocument(document, paragraphs, QApplication::font());
        document.setTextWidth(width);
        // Lays the whole text out now; the layout otherwise waits until something asks.
        document.size();
    }

    std::vector<GuideParagraph> paragraphs;
    QTextDocument document;
};

} // namespace

TEST(GuideDocument, StylesOfTheFiveKinds)
{
    EXPECT_EQ(guideParagraphStyle(Kind::title),
              (GuideParagraphStyle{.fontPixelSize = 18, .bold = true, .spacingAfter = 10}));
    EXPECT_EQ(guideParagraphStyle(Kind::body),
              (GuideParagraphStyle{.fontPixelSize = 13, .spacingAfter = 12, .lineSpacing = 2}));
    EXPECT_EQ(guideParagraphStyle(Kind::heading),
              (GuideParagraphStyle{
                  .fontPixelSize = 14, .bold = true, .spacingBefore = 6, .spacingAfter = 6}));
    EXPECT_EQ(guideParagraphStyle(Kind::numbered),
              (GuideParagraphStyle{
                  .fontPixelSize = 13, .spacingAfter = 6, .lineSpacing = 2, .headIndent = 18}));
    EXPECT_EQ(guideParagraphStyle(Kind::bullet),
              (GuideParagraphStyle{
                  .fontPixelSize = 13, .spacingAfter = 4, .lineSpacing = 2, .headIndent = 14}));
}

TEST(GuideDocument, HoldsOneBlockPerParagraphAsLaidDown)
{
    FilledGuide guide;
    const std::vector<QTextBlock> blocks = blocksOf(guide.document);
    ASSERT_EQ(blocks.size(), 41u);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i].text(), laidDownText(guide.paragraphs[i])) << "paragraph " << i + 1;
    }
    EXPECT_EQ(blocks[0].text(), "Welcome to Lookpane");
    EXPECT_EQ(blocks[3].text().left(4), "1.  ");
    EXPECT_EQ(blocks[9].text().left(3), QStringLiteral("•  "));
}

TEST(GuideDocument, EachParagraphIsSetInTheFontOfItsKind)
{
    FilledGuide guide;
    const std::vector<QTextBlock> blocks = blocksOf(guide.document);
    ASSERT_EQ(blocks.size(), guide.paragraphs.size());
    const QString family = QApplication::font().family();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const GuideParagraphStyle style = guideParagraphStyle(guide.paragraphs[i].kind);
        const std::vector<QTextCharFormat> formats = charFormatsOf(blocks[i]);
        ASSERT_FALSE(formats.empty()) << "paragraph " << i + 1;
        for (const QTextCharFormat &format : formats) {
            const QFont font = format.font();
            EXPECT_EQ(font.pixelSize(), style.fontPixelSize) << "paragraph " << i + 1;
            EXPECT_EQ(font.bold(), style.bold) << "paragraph " << i + 1;
            EXPECT_EQ(font.family(), family) << "paragraph " << i + 1;
        }
    }
    // The title is bold at 18 pixels, the headings bold.
    EXPECT_EQ(charFormatsOf(blocks[0]).front().fontWeight(), QFont::Bold);
    EXPECT_EQ(charFormatsOf(blocks[0]).front().font().pixelSize(), 18);
    EXPECT_EQ(charFormatsOf(blocks[2]).front().fontWeight(), QFont::Bold);
    EXPECT_EQ(charFormatsOf(blocks[2]).front().font().pixelSize(), 14);
    EXPECT_EQ(charFormatsOf(blocks[1]).front().fontWeight(), QFont::Normal);
    EXPECT_EQ(charFormatsOf(blocks[1]).front().font().pixelSize(), 13);
}

TEST(GuideDocument, ParagraphsCarryTheSpacingsAndLineSpacingOfTheirKind)
{
    FilledGuide guide;
    const std::vector<QTextBlock> blocks = blocksOf(guide.document);
    ASSERT_EQ(blocks.size(), guide.paragraphs.size());
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const GuideParagraphStyle style = guideParagraphStyle(guide.paragraphs[i].kind);
        const qreal afterPrevious =
            i == 0 ? 0 : guideParagraphStyle(guide.paragraphs[i - 1].kind).spacingAfter;
        const QTextBlockFormat format = blocks[i].blockFormat();
        EXPECT_EQ(format.bottomMargin(), style.spacingAfter) << "paragraph " << i + 1;
        EXPECT_EQ(format.topMargin(), afterPrevious + style.spacingBefore) << "paragraph " << i + 1;
        if (style.lineSpacing > 0) {
            EXPECT_EQ(format.lineHeightType(), QTextBlockFormat::LineDistanceHeight);
            EXPECT_EQ(format.lineHeight(), style.lineSpacing) << "paragraph " << i + 1;
        } else {
            EXPECT_EQ(format.lineHeightType(), QTextBlockFormat::SingleHeight);
        }
    }
}

TEST(GuideDocument, GapsBetweenParagraphsAreOnesSpacingAfterPlusTheNextsSpacingBefore)
{
    FilledGuide guide;
    QAbstractTextDocumentLayout *layout = guide.document.documentLayout();
    const std::vector<QTextBlock> blocks = blocksOf(guide.document);
    const auto gapBefore = [&](std::size_t i) {
        return layout->blockBoundingRect(blocks[i]).top() -
               layout->blockBoundingRect(blocks[i - 1]).bottom();
    };
    // A paragraph with line spacing keeps it after its last line as well.
    for (std::size_t i = 1; i < blocks.size(); ++i) {
        const GuideParagraphStyle previous = guideParagraphStyle(guide.paragraphs[i - 1].kind);
        const GuideParagraphStyle next = guideParagraphStyle(guide.paragraphs[i].kind);
        EXPECT_DOUBLE_EQ(gapBefore(i),
                         previous.lineSpacing + previous.spacingAfter + next.spacingBefore)
            << "before paragraph " << i + 1;
    }
    EXPECT_DOUBLE_EQ(gapBefore(1), 10);         // title, then body
    EXPECT_DOUBLE_EQ(gapBefore(2), 2 + 12 + 6); // body, then heading
    EXPECT_DOUBLE_EQ(gapBefore(3), 6);          // heading, then numbered
    EXPECT_DOUBLE_EQ(gapBefore(4), 2 + 6);      // numbered, then numbered
    EXPECT_DOUBLE_EQ(gapBefore(7), 2 + 6 + 6);  // numbered, then heading
    EXPECT_DOUBLE_EQ(gapBefore(10), 2 + 4);     // bullet, then bullet
    EXPECT_DOUBLE_EQ(gapBefore(11), 2 + 4 + 6); // bullet, then heading
}

TEST(GuideDocument, LinesOfAParagraphAreTwoApartBeyondTheirHeight)
{
    FilledGuide guide;
    const QTextBlock body = blocksOf(guide.document)[1];
    const QTextLayout *layout = body.layout();
    ASSERT_GE(layout->lineCount(), 2);
    const QTextLine first = layout->lineAt(0);
    const QTextLine second = layout->lineAt(1);
    EXPECT_NEAR(second.y() - first.y(), first.height() + 2, 0.5);
}

TEST(GuideDocument, WrappedNumberedItemsAndBulletsHangUnderTheirText)
{
    FilledGuide guide;
    const std::vector<QTextBlock> blocks = blocksOf(guide.document);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const GuideParagraphStyle style = guideParagraphStyle(guide.paragraphs[i].kind);
        const QTextBlockFormat format = blocks[i].blockFormat();
        EXPECT_EQ(format.leftMargin(), style.headIndent) << "paragraph " << i + 1;
        EXPECT_EQ(format.textIndent(), -style.headIndent) << "paragraph " << i + 1;
    }
    // Laid out: the first line starts at the paragraph's edge, the others at the head indent.
    for (const auto &[index, indent] :
         std::vector<std::pair<std::size_t, qreal>>{{5, 18}, {10, 14}}) {
        const QTextLayout *layout = blocks[index].layout();
        ASSERT_GE(layout->lineCount(), 2) << blocks[index].text().toStdString();
        const qreal edge = guide.document.documentMargin();
        const QRectF block = guide.document.documentLayout()->blockBoundingRect(blocks[index]);
        EXPECT_DOUBLE_EQ(block.left() + layout->lineAt(0).x(), edge);
        for (int line = 1; line < layout->lineCount(); ++line) {
            EXPECT_DOUBLE_EQ(block.left() + layout->lineAt(line).x(), edge + indent)
                << "line " << line;
        }
    }
}

TEST(GuideDocument, TextTakesTheColourOfTheViewShowingIt)
{
    FilledGuide guide;
    for (const QTextBlock &block : blocksOf(guide.document)) {
        for (const QTextCharFormat &format : charFormatsOf(block)) {
            EXPECT_FALSE(format.hasProperty(QTextFormat::ForegroundBrush))
                << block.text().toStdString();
        }
    }
}

TEST(GuideDocument, FillingAgainReplacesTheText)
{
    FilledGuide guide(true);
    fillGuideDocument(guide.document, guideParagraphs(false), QApplication::font());
    const std::vector<QTextBlock> blocks = blocksOf(guide.document);
    ASSERT_EQ(blocks.size(), 41u);
    EXPECT_EQ(blocks[3].text(), laidDownText(guideParagraphs(false)[3]));
    EXPECT_FALSE(guide.document.toPlainText().contains("tray"));
}
