#pragma once

#include "panels/GuideText.h"

#include <vector>

class QFont;
class QTextDocument;

namespace lookpane {

// How a kind of paragraph is set. Lengths are points (Qt's device-independent pixels), so the
// text keeps its proportions to the 460 × 580 window on every screen.
struct GuideParagraphStyle
{
    int fontPixelSize = 13;
    bool bold = false;
    qreal spacingBefore = 0;
    qreal spacingAfter = 0;
    // Extra space between the lines of one paragraph.
    qreal lineSpacing = 0;
    // Where the second and later lines of a paragraph start, so that a wrapped numbered item
    // or bullet lines up under its text rather than under its number or bullet.
    qreal headIndent = 0;

    bool operator==(const GuideParagraphStyle &) const = default;
};

// title: bold 18, 10 after. body: 13, 12 after, lines 2 apart. heading: bold 14, 6 before and
// 6 after. numbered: 13, head indent 18, 6 after, lines 2 apart. bullet: 13, head indent 14,
// 4 after, lines 2 apart.
GuideParagraphStyle guideParagraphStyle(GuideParagraphKind kind);

// Replaces `document`'s contents with the paragraphs, one text block each, laid down as
// laidDownText() gives them, in the style of their kind and in `systemFont`'s family. The
// text takes no colour of its own: it is drawn in the colour of the view showing it.
void fillGuideDocument(QTextDocument &document, const std::vector<GuideParagraph> &paragraphs,
                       const QFont &systemFont);

} // namespace lookpane
