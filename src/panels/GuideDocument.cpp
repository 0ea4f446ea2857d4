#include "panels/GuideDocument.h"

#include <QFont>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>

namespace lookpane {

GuideParagraphStyle guideParagraphStyle(GuideParagraphKind kind)
{
    switch (kind) {
    case GuideParagraphKind::title:
        return {.fontPixelSize = 18, .bold = true, .spacingAfter = 10};
    case GuideParagraphKind::body:
        return {.fontPixelSize = 13, .spacingAfter = 12, .lineSpacing = 2};
    case GuideParagraphKind::heading:
        return {.fontPixelSize = 14, .bold = true, .spacingBefore = 6, .spacingAfter = 6};
    case GuideParagraphKind::numbered:
        return {.fontPixelSize = 13, .spacingAfter = 6, .lineSpacing = 2, .headIndent = 18};
    case GuideParagraphKind::bullet:
        return {.fontPixelSize = 13, .spacingAfter = 4, .lineSpacing = 2, .headIndent = 14};
    }
    return {};
}

namespace {

QTextCharFormat charFormat(const GuideParagraphStyle &style, const QFont &systemFont)
{
    QFont font(systemFont);
    font.setPixelSize(style.fontPixelSize);
    font.setBold(style.bold);
    QTextCharFormat format;
    format.setFont(font, QTextCharFormat::FontPropertiesAll);
    return format;
}

QTextBlockFormat blockFormat(const GuideParagraphStyle &style, qreal spacingAfterPrevious)
{
    QTextBlockFormat format;
    // Qt lets the larger of two neighbouring margins stand for both, where the gap between two
    // paragraphs should be the one's spacing after and the other's spacing before together;
    // the top margin carries the sum, which is never the smaller of the two.
    format.setTopMargin(spacingAfterPrevious + style.spacingBefore);
    format.setBottomMargin(style.spacingAfter);
    if (style.lineSpacing > 0) {
        format.setLineHeight(style.lineSpacing, QTextBlockFormat::LineDistanceHeight);
    }
    // A hanging indent: every line starts at the head indent but the first, which is pulled
    // back to the paragraph's edge.
    format.setLeftMargin(style.headIndent);
    format.setTextIndent(-style.headIndent);
    return format;
}

} // namespace

void fillGuideDocument(QTextDocument &document, const std::vector<GuideParagraph> &paragraphs,
                       const QFont &systemFont)
{
    document.clear();
    document.setDefaultFont(
        charFormat(guideParagraphStyle(GuideParagraphKind::body), systemFont).font());
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    qreal spacingAfterPrevious = 0;
    bool first = true;
    for (const GuideParagraph &paragraph : paragraphs) {
        const GuideParagraphStyle style = guideParagraphStyle(paragraph.kind);
        const QTextBlockFormat block = blockFormat(style, spacingAfterPrevious);
        const QTextCharFormat chars = charFormat(style, systemFont);
        if (first) {
            // The empty document's one block becomes the first paragraph.
            cursor.setBlockFormat(block);
            cursor.setBlockCharFormat(chars);
            first = false;
        } else {
            cursor.insertBlock(block, chars);
        }
        cursor.insertText(laidDownText(paragraph), chars);
        spacingAfterPrevious = style.spacingAfter;
    }
    cursor.endEditBlock();
}

} // namespace lookpane
