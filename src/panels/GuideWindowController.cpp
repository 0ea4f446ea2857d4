#include "panels/GuideWindowController.h"

#include "model/Preferences.h"
#include "panels/GuideDocument.h"
#include "panels/GuideLog.h"
#include "panels/GuideText.h"
#include "platform/x11/X11DesktopHints.h"
#include "platform/x11/X11WindowTraits.h"

#include <QCheckBox>
#include <QCursor>
#include <QDialog>
#include <QGuiApplication>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

#include <algorithm>

namespace lookpane {

namespace {

const QString showOnLaunchKey = QStringLiteral("ShowGuideOnLaunch");

constexpr int windowWidth = 460;
constexpr int windowHeight = 580;

// The window's parts are placed from its bottom-left corner, y up, like every other place in
// Lookpane's geometry; this gives the widget rectangle (top-left origin) for such a frame.
QRect fromBottomLeft(int x, int y, int width, int height)
{
    return {x, windowHeight - y - height, width, height};
}

// The guide's top-level window: a dialog, so that Return presses the default button and Esc
// closes it, and it is on every virtual desktop, as the other floating Lookpane windows are.
class GuideWindow : public QDialog
{
public:
    GuideWindow()
        : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                               Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint)
    {}

protected:
    void showEvent(QShowEvent *event) override
    {
        QDialog::showEvent(event);
        x11::showOnAllDesktops(this);
    }
};

} // namespace

GuideWindowController::GuideWindowController(Preferences &preferences, bool trayAvailable,
                                             QObject *parent)
    : QObject(parent), m_preferences(preferences), m_trayAvailable(trayAvailable),
      m_window(std::make_unique<GuideWindow>())
{
    m_window->setWindowTitle(QStringLiteral("How to Use Lookpane"));
    m_window->setWindowRole(QStringLiteral("guide"));
    // Not a normal window, so that meeting applications' window pickers leave it out.
    X11WindowTraits::setWindowType(m_window.get(), X11WindowTraits::WindowType::dialog);
    m_window->setFixedSize(windowWidth, windowHeight);

    // Read-only text that can still be selected and copied, on the window's own background.
    m_textView = new QTextEdit(m_window.get());
    m_textView->setGeometry(fromBottomLeft(20, 64, 420, 496));
    m_textView->setReadOnly(true);
    m_textView->setUndoRedoEnabled(false);
    // Selectable with the mouse, for copying; no caret, since there is nothing to type.
    m_textView->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_textView->setFrameShape(QFrame::NoFrame);
    m_textView->setLineWrapMode(QTextEdit::WidgetWidth);
    m_textView->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_textView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_textView->viewport()->setAutoFillBackground(false);
    // The text is a label's: drawn in the window's text colour, not an editor's.
    QPalette palette = m_textView->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, palette.color(QPalette::WindowText));
    m_textView->setPalette(palette);

    m_showOnLaunchCheckbox =
        new QCheckBox(QStringLiteral("Show this guide when Lookpane starts"), m_window.get());
    QFont checkboxFont = m_showOnLaunchCheckbox->font();
    checkboxFont.setPixelSize(12);
    m_showOnLaunchCheckbox->setFont(checkboxFont);
    m_showOnLaunchCheckbox->setGeometry(fromBottomLeft(20, 20, 280, 18));
    // Only the user's clicks write the preference, not show() ticking the box to match it.
    connect(m_showOnLaunchCheckbox, &QCheckBox::clicked, this,
            &GuideWindowController::toggleShowOnLaunch);

    m_gotItButton = new QPushButton(QStringLiteral("Got It"), m_window.get());
    m_gotItButton->setDefault(true);
    const QSize buttonSize = m_gotItButton->sizeHint();
    const int buttonWidth = std::max(buttonSize.width(), 90);
    m_gotItButton->setGeometry(
        fromBottomLeft(440 - buttonWidth, 16, buttonWidth, buttonSize.height()));
    connect(m_gotItButton, &QPushButton::clicked, this, &GuideWindowController::close);

    rebuildText();
}

GuideWindowController::~GuideWindowController() = default;

QWidget *GuideWindowController::window() const
{
    return m_window.get();
}

QTextDocument *GuideWindowController::document() const
{
    return m_textView->document();
}

void GuideWindowController::show()
{
    m_showOnLaunchCheckbox->setChecked(storedShowOnLaunch());

    QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    if (screen != nullptr) {
        QRect placed(QPoint(0, 0), m_window->size());
        placed.moveCenter(screen->availableGeometry().center());
        m_window->move(placed.topLeft());
    }
    m_window->show();
    // Reading starts in the text, where the arrow and page keys scroll it.
    m_textView->setFocus(Qt::ActiveWindowFocusReason);
    m_window->raise();
    m_window->activateWindow();
}

void GuideWindowController::close()
{
    m_window->close();
}

void GuideWindowController::setTrayAvailable(bool available)
{
    if (available == m_trayAvailable) {
        return;
    }
    m_trayAvailable = available;
    rebuildText();
}

void GuideWindowController::toggleShowOnLaunch(bool show)
{
    if (m_preferences.contains(showOnLaunchKey) &&
        readBool(m_preferences.value(showOnLaunchKey)) == show) {
        return;
    }
    m_preferences.setValue(showOnLaunchKey, show);
    Q_EMIT showOnLaunchChanged(show);
}

bool GuideWindowController::storedShowOnLaunch() const
{
    const bool show = m_preferences.boolValue(showOnLaunchKey);
    if (m_preferences.contains(showOnLaunchKey) &&
        !readBool(m_preferences.value(showOnLaunchKey))) {
        qCWarning(lcGuide,
                  "%s in %s holds \"%s\", which is neither true nor false; the guide "
                  "takes it as %s",
                  qUtf8Printable(showOnLaunchKey), qUtf8Printable(m_preferences.fileName()),
                  qUtf8Printable(m_preferences.value(showOnLaunchKey).toString()),
                  show ? "true" : "false");
    }
    return show;
}

void GuideWindowController::rebuildText()
{
    QScrollBar *scrollBar = m_textView->verticalScrollBar();
    const int place = scrollBar->value();
    QTextDocument *text = m_textView->document();
    fillGuideDocument(*text, guideParagraphs(m_trayAvailable), m_window->font());
    // A margin of 4 around the text inside the view.
    text->setDocumentMargin(4);
    // The view's own cursor was pushed along to the end by the new text; at the start it keeps
    // the view from scrolling down to it.
    m_textView->moveCursor(QTextCursor::Start);
    scrollBar->setValue(place);
}

} // namespace lookpane
