// The guide's text: its paragraphs and their kinds, the Linux key texts, and where it sends the
// user for the menu with and without a tray.
#include "panels/GuideText.h"

#include "model/AnnotationTool.h"
#include "model/ShortcutAction.h"
#include "shortcuts/KeyComboText.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/ToolShortcutPreferences.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <set>

using namespace lookpane;
using Kind = GuideParagraphKind;

namespace {

const std::vector<Kind> guideKinds = {
    Kind::title,    Kind::body,    Kind::heading, Kind::numbered, Kind::numbered, Kind::numbered,
    Kind::numbered, Kind::heading, Kind::body,    Kind::bullet,   Kind::bullet,   Kind::heading,
    Kind::body,     Kind::bullet,  Kind::bullet,  Kind::bullet,   Kind::heading,  Kind::body,
    Kind::bullet,   Kind::bullet,  Kind::bullet,  Kind::bullet,   Kind::bullet,   Kind::bullet,
    Kind::heading,  Kind::body,    Kind::bullet,  Kind::bullet,   Kind::bullet,   Kind::bullet,
    Kind::bullet,   Kind::heading, Kind::bullet,  Kind::bullet,   Kind::bullet,   Kind::bullet,
    Kind::heading,  Kind::bullet,  Kind::bullet,  Kind::bullet,   Kind::bullet,
};

std::vector<Kind> kindsOf(const std::vector<GuideParagraph> &paragraphs)
{
    std::vector<Kind> kinds;
    for (const GuideParagraph &paragraph : paragraphs) {
        kinds.push_back(paragraph.kind);
    }
    return kinds;
}

// Paragraph `n` of the guide, counted from 1.
QString paragraph(bool trayAvailable, int n)
{
    return guideParagraphs(trayAvailable).at(static_cast<std::size_t>(n - 1)).text;
}

QString allText(bool trayAvailable)
{
    QStringList texts;
    for (const GuideParagraph &p : guideParagraphs(trayAvailable)) {
        texts << p.text;
    }
    return texts.join(QLatin1Char('\n'));
}

// The stored key code of Z (the ANSI virtual key codes: 0 = A, 6 = Z).
constexpr std::uint16_t zKeyCode = 6;

} // namespace

TEST(GuideText, HasFortyOneParagraphsOfTheDesignedKindsInOrder)
{
    for (const bool tray : {true, false}) {
        const std::vector<GuideParagraph> paragraphs = guideParagraphs(tray);
        ASSERT_EQ(paragraphs.size(), 41u) << "tray " << tray;
        EXPECT_EQ(kindsOf(paragraphs), guideKinds) << "tray " << tray;
    }
}

TEST(GuideText, HeadingsTitleTheSections)
{
    QStringList headings;
    for (const GuideParagraph &p : guideParagraphs(true)) {
        if (p.kind == Kind::title || p.kind == Kind::heading) {
            headings << p.text;
        }
    }
    EXPECT_EQ(headings, QStringList({"Welcome to Lookpane", "Getting Started", "Two Ways to Work",
                                     "Sizing the Box", "Drawing on What You Share",
                                     "Typing a Password Mid-Call", "Controls", "Tips"}));
}

TEST(GuideText, NumberedItemsCountFromOneToFour)
{
    std::vector<int> numbers;
    for (const GuideParagraph &p : guideParagraphs(true)) {
        if (p.kind == Kind::numbered) {
            numbers.push_back(p.number);
        } else {
            EXPECT_EQ(p.number, 0) << p.text.toStdString();
        }
    }
    EXPECT_EQ(numbers, (std::vector<int>{1, 2, 3, 4}));
}

TEST(GuideText, NumbersAndBulletsStandBeforeTheTextWithTwoSpaces)
{
    EXPECT_EQ(laidDownText({Kind::numbered, "Keep working.", 4}), "4.  Keep working.");
    EXPECT_EQ(laidDownText({Kind::numbered, "Tenth.", 10}), "10.  Tenth.");
    EXPECT_EQ(laidDownText({Kind::bullet, "Tools.", 0}), QStringLiteral("•  Tools."));
    EXPECT_EQ(laidDownText({Kind::title, "Welcome", 0}), "Welcome");
    EXPECT_EQ(laidDownText({Kind::heading, "Tips", 0}), "Tips");
    EXPECT_EQ(laidDownText({Kind::body, "Body.", 0}), "Body.");
}

TEST(GuideText, ParagraphsThatNameNoPlatformReadExactlyAsWritten)
{
    // Typographic quotes, curly and straight apostrophes, dashes and the multiplication sign
    // are part of the text.
    EXPECT_EQ(paragraph(true, 2),
              QStringLiteral("Lookpane mirrors a region of your screen into its own window, which "
                             "you share instead of your full screen. Anything under that window "
                             "keeps working normally — clicks pass straight through it."));
    EXPECT_EQ(paragraph(true, 6),
              QStringLiteral("In your meeting app's share picker (Zoom, Teams, Slack, etc.), "
                             "choose the “Lookpane” window instead of your full screen."));
    EXPECT_EQ(paragraph(true, 15),
              QStringLiteral("1280 × 720 and 1920 × 1080 set an exact size. Matching the stream’s "
                             "own resolution keeps text crisp instead of resampled."));
    EXPECT_EQ(paragraph(true, 16),
              QStringLiteral("“Fit to Window” lists what is open and snaps the box onto whichever "
                             "one you choose, so you don’t have to line it up by hand. If a ratio "
                             "is locked, the box grows to that shape rather than cropping — the "
                             "whole window always stays inside."));
    EXPECT_EQ(paragraph(true, 27),
              QStringLiteral("While it's on, the box turns orange and reads “Viewers see a blur”. "
                             "Only you see that — to your audience it's just a blur."));
    EXPECT_EQ(paragraph(true, 33),
              QStringLiteral("Drag the toolbar under the box — move the frame"));
    EXPECT_EQ(paragraph(true, 40),
              QStringLiteral("Lookpane remembers its position, size and settings between "
                             "launches."));
}

TEST(GuideText, PermissionParagraphSaysWhatALinuxDesktopAsks)
{
    EXPECT_EQ(paragraph(true, 4),
              QStringLiteral("If your desktop asks whether Lookpane may share the screen, allow "
                             "it. Lookpane's controls live in its tray icon."));
}

TEST(GuideText, KeysReadAsLinuxKeyTextsNotKeySymbols)
{
    for (const bool tray : {true, false}) {
        const QString text = allText(tray);
        for (const QString &symbol : {QStringLiteral("⌃"), QStringLiteral("⌥"), QStringLiteral("⌘"),
                                      QStringLiteral("⌫"), QStringLiteral("⎋")}) {
            EXPECT_FALSE(text.contains(symbol)) << symbol.toStdString();
        }
    }
    EXPECT_EQ(paragraph(true, 21),
              QStringLiteral("Ctrl+Z undoes, Backspace removes every mark, and Esc or the "
                             "checkmark leaves drawing mode. Your marks stay on screen after you "
                             "leave."));
    EXPECT_EQ(paragraph(true, 22),
              QStringLiteral("Ctrl+Alt+Super+E erases every mark from anywhere, without switching "
                             "back to Lookpane — for when you have moved on and old arrows are "
                             "still sitting on your viewers' screen. Ctrl+Z brings them back if "
                             "you didn't mean it."));
    EXPECT_TRUE(paragraph(true, 29).endsWith("The default is Ctrl+Alt+Super+B."));
}

TEST(GuideText, KeyTextsAreThoseOfTheShippedBindings)
{
    // The text names the defaults as the rest of the program displays them.
    EXPECT_TRUE(paragraph(true, 18).contains(
        "or " + displayString(ShortcutPreferences::defaultCombo(ShortcutAction::drawingMode)) +
        " from anywhere"));
    EXPECT_TRUE(paragraph(true, 22).startsWith(
        displayString(ShortcutPreferences::defaultCombo(ShortcutAction::clearAnnotations)) +
        " erases every mark"));
    EXPECT_TRUE(paragraph(true, 29).endsWith(
        "The default is " +
        displayString(ShortcutPreferences::defaultCombo(ShortcutAction::privacyBlur)) + "."));

    QStringList letters;
    for (const auto &[tool, raw] : RawEnumTable<AnnotationTool>::entries) {
        letters << displayString(ToolShortcutPreferences::defaultCombo(tool));
    }
    ASSERT_EQ(letters.size(), 5);
    const QString toolKeys = letters.mid(0, 4).join(", ") + " or " + letters.last();
    EXPECT_TRUE(paragraph(true, 20).contains("press " + toolKeys +
                                             " to switch between freehand, "
                                             "line, arrow, rectangle and "
                                             "ellipse"))
        << toolKeys.toStdString();

    // Drawing mode's own keys: undo, remove every mark, leave.
    const QString undo = displayString({zKeyCode, ModifierFlag::command});
    EXPECT_TRUE(paragraph(true, 21).startsWith(
        undo + " undoes, " + keyName(VirtualKeyCode::backspace) + " removes every mark, and " +
        keyName(VirtualKeyCode::escape) + " or the"));
}

TEST(GuideText, WithATrayTheMenuParagraphsSendTheUserToTheTray)
{
    EXPECT_TRUE(paragraph(true, 4).endsWith("Lookpane's controls live in its tray icon."));
    EXPECT_EQ(paragraph(true, 9),
              QStringLiteral("Switch between them any time from the tray icon — the region you "
                             "picked and your meeting share both survive the change."));
    EXPECT_EQ(paragraph(true, 36),
              QStringLiteral("Lookpane tray icon — start/stop capture, show or hide the window, "
                             "switch modes, toggle Always on Top, toggle click-through"));
    EXPECT_EQ(paragraph(true, 38),
              QStringLiteral("Turn on “Always on top” from the tray so the Lookpane window doesn't "
                             "get hidden behind other apps."));
    EXPECT_EQ(paragraph(true, 39),
              QStringLiteral("Closing the Lookpane window only hides it. Lookpane keeps running in "
                             "the tray — choose “Show Lookpane window” to bring it back, or “Quit "
                             "Lookpane” to exit."));
    EXPECT_EQ(paragraph(true, 41),
              QStringLiteral("If the shared window looks frozen or grey, capture may have stopped "
                             "— open the Lookpane menu and choose “Start capture”."));
}

TEST(GuideText, WithoutATrayNoParagraphPromisesOne)
{
    EXPECT_FALSE(allText(false).contains("tray", Qt::CaseInsensitive));
    // Each paragraph that leads to the menu leads to the toolbar's right-click instead.
    for (const int n : {4, 9, 36, 38, 39, 41}) {
        EXPECT_TRUE(paragraph(false, n).contains("right-click", Qt::CaseInsensitive) &&
                    paragraph(false, n).contains("toolbar"))
            << n << ": " << paragraph(false, n).toStdString();
    }
    // A hidden window takes its toolbar with it: it comes back by starting Lookpane again.
    EXPECT_TRUE(paragraph(false, 39).contains("start Lookpane again to bring the window back"));
    // And the toolbar's menu cannot show a window that is hidden.
    EXPECT_FALSE(paragraph(false, 36).contains("show or hide"));
}

TEST(GuideText, TrayAvailabilityChangesOnlyTheParagraphsAboutTheMenu)
{
    const std::vector<GuideParagraph> withTray = guideParagraphs(true);
    const std::vector<GuideParagraph> withoutTray = guideParagraphs(false);
    std::set<int> differing;
    for (std::size_t i = 0; i < withTray.size(); ++i) {
        if (withTray[i] != withoutTray[i]) {
            differing.insert(static_cast<int>(i) + 1);
        }
    }
    EXPECT_EQ(differing, (std::set<int>{4, 9, 36, 38, 39, 41}));
}

TEST(GuideText, PromisesNothingThisPlatformLacks)
{
    for (const bool tray : {true, false}) {
        const QString text = allText(tray);
        EXPECT_FALSE(text.contains("macOS")) << "tray " << tray;
        EXPECT_FALSE(text.contains("Mac ")) << "tray " << tray;
        EXPECT_FALSE(text.contains("menu bar")) << "tray " << tray;
        // The X11 status menu has no Screen Recording settings item.
        EXPECT_FALSE(text.contains("Screen Recording")) << "tray " << tray;
        // The blur strength is chosen in the settings window; the menu only switches the blur.
        EXPECT_TRUE(paragraph(tray, 30).endsWith(
            QStringLiteral("Switch to “Strong” in Settings if you want nothing legible at all.")));
    }
}
