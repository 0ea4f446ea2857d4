#include "panels/GuideText.h"

namespace lookpane {

namespace {

GuideParagraph title(const QString &text)
{
    return {GuideParagraphKind::title, text, 0};
}

GuideParagraph body(const QString &text)
{
    return {GuideParagraphKind::body, text, 0};
}

GuideParagraph heading(const QString &text)
{
    return {GuideParagraphKind::heading, text, 0};
}

GuideParagraph numbered(int number, const QString &text)
{
    return {GuideParagraphKind::numbered, text, number};
}

GuideParagraph bullet(const QString &text)
{
    return {GuideParagraphKind::bullet, text, 0};
}

// Where the status menu lives. With a tray it is the tray icon's menu; without one the same
// menu opens from a right-click on the toolbar, and the text must send the user there.
struct MenuWords
{
    QString controlsLiveIn; // completes "Lookpane's controls live in …"
    QString switchFrom;     // completes "Switch between them any time from …"
    QString controlsEntry;  // the left-hand side of the Controls list's menu entry
    QString menuItems;      // what that entry offers
    QString turnOnFrom;     // completes "Turn on “Always on top” from …"
    QString keepsRunning;   // the hidden window's sentence
    QString openMenu;       // completes "capture may have stopped — … and choose"
};

MenuWords menuWords(bool trayAvailable)
{
    if (trayAvailable) {
        return {
            QStringLiteral("its tray icon."),
            QStringLiteral("the tray icon"),
            QStringLiteral("Lookpane tray icon"),
            QStringLiteral("start/stop capture, show or hide the window, switch modes, toggle "
                           "Always on Top, toggle click-through"),
            QStringLiteral("the tray"),
            QStringLiteral("Closing the Lookpane window only hides it. Lookpane keeps running in "
                           "the tray — choose “Show Lookpane window” to bring it back, or “Quit "
                           "Lookpane” to exit."),
            QStringLiteral("open the Lookpane menu"),
        };
    }
    // The toolbar goes with the window, so a hidden window comes back by starting Lookpane
    // again (the running instance shows itself), not through the menu.
    return {
        QStringLiteral("the menu that opens when you right-click its toolbar."),
        QStringLiteral("the menu you open by right-clicking the toolbar"),
        QStringLiteral("Right-click the toolbar"),
        QStringLiteral("start/stop capture, hide the window, switch modes, toggle Always on Top, "
                       "toggle click-through"),
        QStringLiteral("the toolbar's right-click menu"),
        QStringLiteral("Closing the Lookpane window only hides it. Lookpane keeps running — start "
                       "Lookpane again to bring the window back. To exit, right-click the toolbar "
                       "and choose “Quit Lookpane”."),
        QStringLiteral("right-click the toolbar"),
    };
}

} // namespace

std::vector<GuideParagraph> guideParagraphs(bool trayAvailable)
{
    const MenuWords menu = menuWords(trayAvailable);
    return {
        title(QStringLiteral("Welcome to Lookpane")),
        body(QStringLiteral("Lookpane mirrors a region of your screen into its own window, which "
                            "you share instead of your full screen. Anything under that window "
                            "keeps working normally — clicks pass straight through it.")),

        heading(QStringLiteral("Getting Started")),
        // An X11 session asks no permission; a portal-based desktop may ask before sharing.
        numbered(1, QStringLiteral("If your desktop asks whether Lookpane may share the screen, "
                                   "allow it. Lookpane's controls live in ") +
                        menu.controlsLiveIn),
        numbered(2, QStringLiteral("Drag the box over whatever you want to share using the toolbar "
                                   "beneath it, then resize it by dragging an edge or corner.")),
        numbered(3, QStringLiteral("In your meeting app's share picker (Zoom, Teams, Slack, etc.), "
                                   "choose the “Lookpane” window instead of your full screen.")),
        numbered(4, QStringLiteral("Keep working normally. Clicks pass through the Lookpane window "
                                   "to the app underneath by default.")),

        heading(QStringLiteral("Two Ways to Work")),
        body(QStringLiteral("Switch between them any time from ") + menu.switchFrom +
             QStringLiteral(" — the region you picked and your meeting share both survive the "
                            "change.")),
        bullet(QStringLiteral("“Detached preview: Off” (default) — the Lookpane window sits on top "
                              "of the region and mirrors it. What you drag is exactly what the "
                              "audience sees. Best on a single screen, where a second window has "
                              "nowhere to go.")),
        bullet(QStringLiteral("“Detached preview: On” — the frame becomes a see-through outline "
                              "marking the region, and the shared window becomes a separate "
                              "preview you can park anywhere, including a second display. The "
                              "region stays unobstructed and you can watch exactly what your "
                              "audience sees while you work.")),

        heading(QStringLiteral("Sizing the Box")),
        body(QStringLiteral("The size button in the toolbar holds a short list of aspect ratios "
                            "and exact sizes. Pick one and the box keeps that shape as you resize "
                            "it.")),
        bullet(QStringLiteral("16:9 is what meeting apps put on screen, so it is usually the one "
                              "you want — anything else gets letterboxed at the far end.")),
        bullet(QStringLiteral("1280 × 720 and 1920 × 1080 set an exact size. Matching the stream’s "
                              "own resolution keeps text crisp instead of resampled.")),
        bullet(QStringLiteral("“Fit to Window” lists what is open and snaps the box onto whichever "
                              "one you choose, so you don’t have to line it up by hand. If a ratio "
                              "is locked, the box grows to that shape rather than cropping — the "
                              "whole window always stays inside.")),

        heading(QStringLiteral("Drawing on What You Share")),
        body(QStringLiteral("Press the pencil button in the toolbar, or Ctrl+Alt+Super+D from "
                            "anywhere. The toolbar swaps to drawing tools and you can mark up the "
                            "region directly — your viewers see every stroke as you make it.")),
        bullet(
            QStringLiteral("Tools: freehand, straight line, arrow, rectangle and ellipse. Pick a "
                           "colour from the swatches next to them.")),
        bullet(QStringLiteral("With drawing mode on, press P, L, A, R or O to switch between "
                              "freehand, line, arrow, rectangle and ellipse without reaching for "
                              "the toolbar. Rebind them in Settings.")),
        bullet(QStringLiteral("Ctrl+Z undoes, Backspace removes every mark, and Esc or the "
                              "checkmark leaves drawing mode. Your marks stay on screen after you "
                              "leave.")),
        bullet(QStringLiteral("Ctrl+Alt+Super+E erases every mark from anywhere, without switching "
                              "back to Lookpane — for when you have moved on and old arrows are "
                              "still sitting on your viewers' screen. Ctrl+Z brings them back if "
                              "you didn't mean it.")),
        bullet(
            QStringLiteral("Marks stick to the region, so they follow it when you move or resize "
                           "the box, and they stay put in the detached preview too.")),
        bullet(QStringLiteral("Drawing and blurring work together — marks are drawn on top of the "
                              "blur, so you can point at something without revealing it.")),

        heading(QStringLiteral("Typing a Password Mid-Call")),
        body(QStringLiteral("Press the eye button in the toolbar. Your viewers immediately see a "
                            "blur; your own screen stays perfectly readable, so you can keep "
                            "working. Press it again to show them your screen.")),
        bullet(QStringLiteral("While it's on, the box turns orange and reads “Viewers see a blur”. "
                              "Only you see that — to your audience it's just a blur.")),
        bullet(QStringLiteral("Nothing is paused. You stay shared the whole time, so there's no "
                              "dropping out and rejoining the share.")),
        bullet(QStringLiteral("Set a keyboard shortcut in Settings and you can do it from any app "
                              "without switching to Lookpane first. The default is "
                              "Ctrl+Alt+Super+B.")),
        // The strength is chosen in the settings window; the menu only switches the blur.
        bullet(QStringLiteral("On the default “Light” strength your viewers can still follow "
                              "along — they see the fields, the buttons and where you're clicking, "
                              "but no readable text. Good for demonstrating a login without "
                              "showing the address or password. Switch to “Strong” in Settings if "
                              "you want nothing legible at all.")),
        bullet(QStringLiteral("It always starts off when Lookpane launches, so you can never begin "
                              "a call blurred without knowing it.")),

        heading(QStringLiteral("Controls")),
        bullet(QStringLiteral("Drag the toolbar under the box — move the frame")),
        bullet(QStringLiteral("Drag an edge or corner — resize the frame")),
        bullet(QStringLiteral("In detached mode, drag the preview window itself to move it. It "
                              "keeps the selection's proportions when you resize it, so the "
                              "picture is never stretched.")),
        // An X11 desktop has no Screen Recording settings page, and the menu no item for one.
        bullet(menu.controlsEntry + QStringLiteral(" — ") + menu.menuItems),

        heading(QStringLiteral("Tips")),
        bullet(QStringLiteral("Turn on “Always on top” from ") + menu.turnOnFrom +
               QStringLiteral(" so the Lookpane window doesn't get hidden behind other apps.")),
        bullet(menu.keepsRunning),
        bullet(QStringLiteral("Lookpane remembers its position, size and settings between "
                              "launches.")),
        bullet(QStringLiteral("If the shared window looks frozen or grey, capture may have stopped "
                              "— ") +
               menu.openMenu + QStringLiteral(" and choose “Start capture”.")),
    };
}

QString laidDownText(const GuideParagraph &paragraph)
{
    switch (paragraph.kind) {
    case GuideParagraphKind::numbered:
        return QString::number(paragraph.number) + QStringLiteral(".  ") + paragraph.text;
    case GuideParagraphKind::bullet:
        return QStringLiteral("•  ") + paragraph.text;
    case GuideParagraphKind::title:
    case GuideParagraphKind::body:
    case GuideParagraphKind::heading:
        break;
    }
    return paragraph.text;
}

} // namespace lookpane
