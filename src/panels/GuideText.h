#pragma once

#include <QString>

#include <vector>

namespace lookpane {

// The five kinds of paragraph the guide is made of; each has a style of its own
// (GuideDocument.h).
enum class GuideParagraphKind
{
    title,
    body,
    heading,
    numbered,
    bullet
};

struct GuideParagraph
{
    GuideParagraphKind kind = GuideParagraphKind::body;
    QString text;
    // The item's number in a numbered list; 0 for the other kinds.
    int number = 0;

    bool operator==(const GuideParagraph &) const = default;
};

// The "How to Use" text, paragraph by paragraph, in reading order (41 paragraphs). The key
// combinations and tool letters it names are the shipped defaults: the text stays as it is
// when the user rebinds them.
//
// `trayAvailable`: whether the desktop shows Lookpane's tray icon. Without one the status menu
// opens from a right-click on the toolbar, and the paragraphs that would send the user to the
// tray send them there instead.
std::vector<GuideParagraph> guideParagraphs(bool trayAvailable);

// The paragraph as it stands in the guide: a numbered item as its number, ".", two spaces and
// the text; a bullet as "•", two spaces and the text; the other kinds as their text.
QString laidDownText(const GuideParagraph &paragraph);

} // namespace lookpane
