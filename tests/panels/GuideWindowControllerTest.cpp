// The guide window on a private X server with a window manager: its size and parts, the launch
// checkbox written at once, Return and the close buttons only hiding it, show() re-reading the
// preference, the text with and without a tray, and the whole text scrolled through.
#include "panels/GuideWindowController.h"

#include "ChildProcess.h"
#include "LoggedMessages.h"
#include "QtWait.h"
#include "TestDisplay.h"
#include "XInput.h"
#include "XReadback.h"
#include "XSync.h"

#include "model/Preferences.h"
#include "panels/GuideText.h"
#include "platform/x11/X11DesktopHints.h"
#include "platform/x11/XAtoms.h"

#include <gtest/gtest.h>

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>

#include <cstdlib>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

const QString showOnLaunchKey = QStringLiteral("ShowGuideOnLaunch");

std::string display()
{
    return testDisplay().displayName();
}

QPoint globalCentre(const QWidget *widget)
{
    return widget->mapToGlobal(widget->rect().center());
}

QRect globalRect(const QWidget *widget)
{
    return {widget->mapToGlobal(QPoint(0, 0)), widget->size()};
}

xcb_connection_t *appConnection()
{
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

// What a window manager sends when the title bar's close button is pressed.
void sendDeleteWindow(QWidget *window)
{
    xcb_connection_t *conn = appConnection();
    ASSERT_NE(conn, nullptr);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window->winId());
    message.type = x11::internAtom(conn, "WM_PROTOCOLS");
    message.data.data32[0] = x11::internAtom(conn, "WM_DELETE_WINDOW");
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(conn, 0, message.window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(conn);
}

// Saves the screen around `area` with ImageMagick's `import` when LOOKPANE_SCREENSHOT_DIR
// names a folder.
void saveScreenshot(const QRect &area, const QString &name)
{
    const char *folder = std::getenv("LOOKPANE_SCREENSHOT_DIR");
    if (folder == nullptr) {
        return;
    }
    const QString path = QDir(QString::fromLocal8Bit(folder)).filePath(name);
    const QString crop = QStringLiteral("%1x%2+%3+%4")
                             .arg(area.width())
                             .arg(area.height())
                             .arg(area.x())
                             .arg(area.y());
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display();
    ChildProcess import(
        {"import", "-window", "root", "-crop", crop.toStdString(), "+repage", path.toStdString()},
        options);
    import.waitForExit(std::chrono::seconds(20));
}

// The text shown within the view: whether block `index` lies wholly inside the viewport.
bool blockWhollyVisible(const QTextEdit *view, int index)
{
    const QTextBlock block = view->document()->findBlockByNumber(index);
    const QRectF rect = view->document()->documentLayout()->blockBoundingRect(block).translated(
        0, -view->verticalScrollBar()->value());
    return rect.top() >= 0 && rect.bottom() <= view->viewport()->height();
}

class GuideWindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(testDisplay().startWindowManager());
        ASSERT_TRUE(m_folder.isValid());
        preferences.registerDefaults();
    }

    // Shows the guide and waits until it is the active window, as the user then finds it.
    void showActive(GuideWindowController &guide)
    {
        guide.show();
        ASSERT_TRUE(waitUntil([&] { return guide.window()->isActiveWindow(); }))
            << "the guide never became the active window";
        // Openbox may still have had focus changes of its own queued (the windows of the test
        // before, going): once it has caught up, the guide must still be the active window,
        // and keys typed now reach it.
        ASSERT_TRUE(windowsSettled(display()));
        ASSERT_TRUE(waitUntil([&] { return guide.window()->isActiveWindow(); }))
            << "the guide lost the focus again";
    }

    QString settingsFileText() const
    {
        QFile file(preferences.fileName());
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        return QString::fromUtf8(file.readAll());
    }

    // Shows the guide and pages through its text to the end as a reader would, checking that
    // text shows on every page and that the last tip comes wholly into view; saves each page
    // as "<shotPrefix>-NN.png" when LOOKPANE_SCREENSHOT_DIR is set.
    void scrollThroughTheWholeText(bool trayAvailable, const QString &shotPrefix)
    {
        GuideWindowController guide(preferences, trayAvailable);
        showActive(guide);
        QTextEdit *view = guide.textView();
        QScrollBar *scrollBar = view->verticalScrollBar();
        ASSERT_TRUE(waitUntil([&] { return scrollBar->maximum() > 0; }));
        // Lines wrap at the view's width; nothing lies beyond it.
        EXPECT_EQ(view->horizontalScrollBar()->maximum(), 0);
        EXPECT_LE(guide.document()->idealWidth(), view->viewport()->width());
        EXPECT_TRUE(blockWhollyVisible(view, 0));

        const QRect shotArea = globalRect(guide.window()).adjusted(-30, -50, 30, 30);
        const QRect textArea = globalRect(view->viewport());
        const QColor background = guide.window()->palette().color(QPalette::Window);
        QImage previousPage;
        int page = 0;
        for (;;) {
            // The screen has caught up with the scroll once it shows something new, twice over.
            QImage shown;
            const bool repainted = waitUntil([&] {
                const QImage first = grabScreenRect(display(), textArea);
                const QImage second = grabScreenRect(display(), textArea);
                shown = second;
                return !first.isNull() && first == second && first != previousPage;
            });
            EXPECT_TRUE(repainted) << "page " << page;
            EXPECT_GT(countPixelsNotNear(shown, shown.rect(), background, 60), 500)
                << "no text on page " << page;
            saveScreenshot(
                shotArea,
                QStringLiteral("%1-%2.png").arg(shotPrefix).arg(page, 2, 10, QLatin1Char('0')));
            previousPage = shown;
            if (scrollBar->value() >= scrollBar->maximum()) {
                break;
            }
            scrollBar->setValue(scrollBar->value() + scrollBar->pageStep());
            ++page;
            ASSERT_LT(page, 30);
        }
        EXPECT_GE(page, 2);
        EXPECT_TRUE(blockWhollyVisible(view, 40)) << "the last tip stays out of reach";
    }

private:
    QTemporaryDir m_folder;

protected:
    Preferences preferences{m_folder.filePath(QStringLiteral("Lookpane.conf"))};
};

} // namespace

TEST_F(GuideWindowTest, IsAFixed460By580FloatingWindowTitledHowToUseLookpane)
{
    GuideWindowController guide(preferences);
    QWidget *window = guide.window();
    EXPECT_EQ(window->windowTitle(), "How to Use Lookpane");
    EXPECT_EQ(window->size(), QSize(460, 580));
    // Not resizable.
    EXPECT_EQ(window->minimumSize(), QSize(460, 580));
    EXPECT_EQ(window->maximumSize(), QSize(460, 580));
    const Qt::WindowFlags flags = window->windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowCloseButtonHint));
    EXPECT_FALSE(flags.testFlag(Qt::WindowMinimizeButtonHint));
    EXPECT_FALSE(flags.testFlag(Qt::WindowMaximizeButtonHint));

    showActive(guide);
    const std::optional<WindowInfo> shown = waitForViewableRole(display(), "guide", 10000);
    ASSERT_TRUE(shown.has_value());
    EXPECT_EQ(shown->title, "How to Use Lookpane");
    EXPECT_EQ(shown->geometry.size(), QSize(460, 580));
}

TEST_F(GuideWindowTest, PartsSitWhereTheWindowLayoutPutsThem)
{
    GuideWindowController guide(preferences);
    // The text from 20 to 440 across and from 20 to 516 down, above the checkbox and button.
    EXPECT_EQ(guide.textView()->geometry(), QRect(20, 20, 420, 496));
    EXPECT_EQ(guide.showOnLaunchCheckbox()->geometry(), QRect(20, 542, 280, 18));
    EXPECT_EQ(guide.showOnLaunchCheckbox()->text(), "Show this guide when Lookpane starts");
    EXPECT_EQ(guide.showOnLaunchCheckbox()->font().pixelSize(), 12);

    const QPushButton *button = guide.gotItButton();
    EXPECT_EQ(button->text(), "Got It");
    EXPECT_TRUE(button->isDefault());
    EXPECT_GE(button->width(), 90);
    EXPECT_GE(button->width(), button->sizeHint().width());
    EXPECT_EQ(button->geometry().right() + 1, 440);
    EXPECT_EQ(button->geometry().bottom() + 1, 580 - 16);
}

TEST_F(GuideWindowTest, TextViewShowsTheWholeGuideReadOnlyButSelectable)
{
    GuideWindowController guide(preferences);
    const QTextEdit *view = guide.textView();
    EXPECT_TRUE(view->isReadOnly());
    EXPECT_TRUE(view->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
    // No caret: there is nothing to type.
    EXPECT_FALSE(view->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
    EXPECT_FALSE(view->textInteractionFlags().testFlag(Qt::TextEditable));
    EXPECT_EQ(view->frameShape(), QFrame::NoFrame);
    EXPECT_EQ(view->lineWrapMode(), QTextEdit::WidgetWidth);
    EXPECT_EQ(view->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_EQ(guide.document()->documentMargin(), 4);
    EXPECT_EQ(guide.document()->blockCount(), 41);
    EXPECT_EQ(guide.document()->firstBlock().text(), "Welcome to Lookpane");
    // Drawn in the window's text colour on the window's own background.
    EXPECT_EQ(view->palette().color(QPalette::Text),
              guide.window()->palette().color(QPalette::WindowText));
    EXPECT_EQ(view->palette().color(QPalette::Base).alpha(), 0);
    EXPECT_FALSE(view->viewport()->autoFillBackground());
}

TEST_F(GuideWindowTest, ShowTicksTheCheckboxAsThePreferenceReads)
{
    GuideWindowController guide(preferences);
    preferences.setValue(showOnLaunchKey, false);
    guide.show();
    EXPECT_FALSE(guide.showOnLaunchCheckbox()->isChecked());
    guide.close();

    preferences.setValue(showOnLaunchKey, true);
    guide.show();
    EXPECT_TRUE(guide.showOnLaunchCheckbox()->isChecked());
    // Ticking the box to match the preference writes nothing.
    EXPECT_EQ(preferences.value(showOnLaunchKey).toString(), "true");
}

TEST_F(GuideWindowTest, UntickingTheCheckboxWritesShowGuideOnLaunchFalseAtOnce)
{
    GuideWindowController guide(preferences);
    QSignalSpy changes(&guide, &GuideWindowController::showOnLaunchChanged);
    showActive(guide);
    ASSERT_TRUE(guide.showOnLaunchCheckbox()->isChecked());

    ASSERT_TRUE(clickAt(display(), globalCentre(guide.showOnLaunchCheckbox())));
    ASSERT_TRUE(waitUntil([&] { return !guide.showOnLaunchCheckbox()->isChecked(); }));
    // In the settings file already, while the guide is still open and "Got It" untouched.
    EXPECT_TRUE(guide.window()->isVisible());
    EXPECT_TRUE(settingsFileText().contains("ShowGuideOnLaunch=false"))
        << settingsFileText().toStdString();
    EXPECT_FALSE(Preferences(preferences.fileName()).boolValue(showOnLaunchKey));
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toBool(), false);
}

TEST_F(GuideWindowTest, TickingTheCheckboxAgainWritesTrueAtOnce)
{
    preferences.setValue(showOnLaunchKey, false);
    GuideWindowController guide(preferences);
    QSignalSpy changes(&guide, &GuideWindowController::showOnLaunchChanged);
    showActive(guide);
    ASSERT_FALSE(guide.showOnLaunchCheckbox()->isChecked());

    ASSERT_TRUE(clickAt(display(), globalCentre(guide.showOnLaunchCheckbox())));
    ASSERT_TRUE(waitUntil([&] { return guide.showOnLaunchCheckbox()->isChecked(); }));
    EXPECT_TRUE(settingsFileText().contains("ShowGuideOnLaunch=true"));
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toBool(), true);
}

TEST_F(GuideWindowTest, PressingReturnClosesTheGuide)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    ASSERT_TRUE(xdotool(display(), {"key", "Return"}));
    EXPECT_TRUE(waitUntil([&] { return !guide.window()->isVisible(); }));
}

TEST_F(GuideWindowTest, PressingReturnWithTheCheckboxFocusedClosesTheGuideAndLeavesTheBox)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    guide.showOnLaunchCheckbox()->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(waitUntil([&] { return guide.showOnLaunchCheckbox()->hasFocus(); }));
    ASSERT_TRUE(xdotool(display(), {"key", "Return"}));
    EXPECT_TRUE(waitUntil([&] { return !guide.window()->isVisible(); }));
    EXPECT_TRUE(guide.showOnLaunchCheckbox()->isChecked());
    EXPECT_TRUE(preferences.boolValue(showOnLaunchKey));
}

TEST_F(GuideWindowTest, EscapeClosesTheGuideToo)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    ASSERT_TRUE(xdotool(display(), {"key", "Escape"}));
    EXPECT_TRUE(waitUntil([&] { return !guide.window()->isVisible(); }));
}

TEST_F(GuideWindowTest, PageDownScrollsTheText)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    QScrollBar *scrollBar = guide.textView()->verticalScrollBar();
    ASSERT_EQ(scrollBar->value(), 0);
    ASSERT_TRUE(xdotool(display(), {"key", "Next"}));
    EXPECT_TRUE(waitUntil([&] { return scrollBar->value() > 0; }));
    EXPECT_TRUE(guide.window()->isVisible());
}

TEST_F(GuideWindowTest, TextSelectedWithTheMouseCanBeCopied)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    QTextEdit *view = guide.textView();
    // Across the title, from before its first letter to past its last.
    const QRect title = view->cursorRect(QTextCursor(guide.document()->firstBlock()));
    const QPoint from = view->viewport()->mapToGlobal(QPoint(1, title.center().y()));
    const QPoint to =
        view->viewport()->mapToGlobal(QPoint(view->viewport()->width() - 2, title.center().y()));
    ASSERT_TRUE(dragFromTo(display(), from, to));
    ASSERT_TRUE(waitUntil([&] {
        return view->textCursor().selectedText() == "Welcome to Lookpane";
    })) << view->textCursor().selectedText().toStdString();
    ASSERT_TRUE(xdotool(display(), {"key", "ctrl+c"}));
    EXPECT_TRUE(waitUntil([] {
        return QApplication::clipboard()->text() == "Welcome to Lookpane";
    })) << QApplication::clipboard()->text().toStdString();
}

TEST_F(GuideWindowTest, ShowingAgainReflectsAPreferenceChangedElsewhere)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    ASSERT_TRUE(guide.showOnLaunchCheckbox()->isChecked());
    guide.close();
    ASSERT_TRUE(waitUntil([&] { return !guide.window()->isVisible(); }));

    // The settings window's own checkbox writes the same preference.
    preferences.setValue(showOnLaunchKey, false);
    showActive(guide);
    EXPECT_FALSE(guide.showOnLaunchCheckbox()->isChecked());
    guide.close();

    preferences.setValue(showOnLaunchKey, true);
    showActive(guide);
    EXPECT_TRUE(guide.showOnLaunchCheckbox()->isChecked());
}

TEST_F(GuideWindowTest, GotItClosesTheGuide)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    ASSERT_TRUE(clickAt(display(), globalCentre(guide.gotItButton())));
    EXPECT_TRUE(waitUntil([&] { return !guide.window()->isVisible(); }));
}

TEST_F(GuideWindowTest, ClosingOnlyHidesTheWindowAndShowBringsTheSameOneBack)
{
    GuideWindowController guide(preferences);
    QWidget *window = guide.window();
    showActive(guide);
    const auto id = static_cast<std::uint32_t>(window->winId());
    const auto viewable = [&] {
        const std::optional<WindowInfo> info = windowInfo(display(), id);
        return info && info->viewable;
    };
    ASSERT_TRUE(waitUntil(viewable));

    guide.close();
    ASSERT_TRUE(waitUntil([&] { return !window->isVisible() && !viewable(); }));
    // The same window, text and X window, kept while hidden.
    EXPECT_EQ(guide.window(), window);
    EXPECT_EQ(guide.document()->blockCount(), 41);
    ASSERT_TRUE(windowInfo(display(), id).has_value());

    // Shown again: the same widget with its text (Qt may give it a new X window).
    showActive(guide);
    EXPECT_EQ(guide.window(), window);
    EXPECT_EQ(guide.document()->blockCount(), 41);
    const auto again = static_cast<std::uint32_t>(window->winId());
    EXPECT_TRUE(waitUntil([&] {
        const std::optional<WindowInfo> info = windowInfo(display(), again);
        return info && info->viewable && info->role == "guide";
    }));
}

TEST_F(GuideWindowTest, TheWindowManagersCloseButtonOnlyHidesIt)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    sendDeleteWindow(guide.window());
    ASSERT_TRUE(waitUntil([&] { return !guide.window()->isVisible(); }));
    showActive(guide);
    EXPECT_TRUE(guide.window()->isVisible());
}

TEST_F(GuideWindowTest, ShowCentresTheWindowOnTheScreen)
{
    GuideWindowController guide(preferences);
    guide.window()->move(0, 0);
    showActive(guide);
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    // The window manager's title bar may push the window down by its own height.
    EXPECT_TRUE(waitUntil([&] {
        const QPoint offset = globalRect(guide.window()).center() - screen.center();
        return std::abs(offset.x()) <= 2 && std::abs(offset.y()) <= 40;
    })) << "centre "
        << globalRect(guide.window()).center().x() << ","
        << globalRect(guide.window()).center().y();
}

TEST_F(GuideWindowTest, ShowBringsTheGuideToTheFrontAsTheActiveWindow)
{
    // Another application's window, all red, active and covering the middle of the screen.
    QWidget other;
    other.setWindowTitle(QStringLiteral("Another application"));
    QPalette red = other.palette();
    red.setColor(QPalette::Window, Qt::red);
    other.setPalette(red);
    other.setAutoFillBackground(true);
    other.setGeometry(
        QGuiApplication::primaryScreen()->availableGeometry().adjusted(40, 40, -40, -40));
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return other.isActiveWindow(); }));

    GuideWindowController guide(preferences);
    showActive(guide);
    EXPECT_FALSE(other.isActiveWindow());
    // In front: nothing of the red window shows where the guide lies.
    const QRect area = globalRect(guide.window());
    EXPECT_TRUE(waitUntil([&] {
        const QImage shown = grabScreenRect(display(), area);
        return !shown.isNull() &&
               countPixelsNotNear(shown, shown.rect(), Qt::red, 60) == area.width() * area.height();
    }));
}

TEST_F(GuideWindowTest, IsOnEveryVirtualDesktop)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    EXPECT_TRUE(waitUntil([&] { return x11::desktopOfWindow(guide.window()) == 0xFFFFFFFFu; }));
}

TEST_F(GuideWindowTest, WithoutATrayTheTextSendsTheUserToTheToolbar)
{
    GuideWindowController guide(preferences, false);
    EXPECT_FALSE(guide.isTrayAvailable());
    EXPECT_FALSE(guide.document()->toPlainText().contains("tray", Qt::CaseInsensitive));
    EXPECT_TRUE(guide.document()->toPlainText().contains("right-click its toolbar"));

    // A tray that turns up later.
    guide.setTrayAvailable(true);
    EXPECT_TRUE(guide.isTrayAvailable());
    EXPECT_TRUE(
        guide.document()->toPlainText().contains("Lookpane's controls live in its tray icon."));
    EXPECT_EQ(guide.document()->blockCount(), 41);

    guide.setTrayAvailable(false);
    EXPECT_FALSE(guide.document()->toPlainText().contains("tray", Qt::CaseInsensitive));
}

TEST_F(GuideWindowTest, RewritingTheTextForTheTrayKeepsTheReadersPlace)
{
    GuideWindowController guide(preferences);
    showActive(guide);
    QScrollBar *scrollBar = guide.textView()->verticalScrollBar();
    ASSERT_TRUE(waitUntil([&] { return scrollBar->maximum() > 0; }));
    const int place = scrollBar->maximum() / 2;
    scrollBar->setValue(place);

    guide.setTrayAvailable(false);
    ASSERT_TRUE(handlePostedEvents());
    EXPECT_EQ(scrollBar->value(), place);
    EXPECT_FALSE(guide.document()->toPlainText().contains("tray", Qt::CaseInsensitive));
}

TEST_F(GuideWindowTest, UnreadableShowGuideOnLaunchReadsAsTheDefaultAndSaysSo)
{
    preferences.setValue(showOnLaunchKey, QStringLiteral("banana"));
    GuideWindowController guide(preferences);
    LoggedMessages messages;
    guide.show();
    EXPECT_TRUE(guide.showOnLaunchCheckbox()->isChecked());
    const std::vector<LoggedMessages::Message> warnings = messages.ofType(QtWarningMsg);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].category, "lookpane.panels.guide");
    EXPECT_TRUE(warnings[0].text.contains("ShowGuideOnLaunch"));
    EXPECT_TRUE(warnings[0].text.contains("banana"));
    EXPECT_TRUE(warnings[0].text.contains(preferences.fileName()));

    // Unticking it then writes a readable value over it.
    guide.showOnLaunchCheckbox()->click();
    EXPECT_EQ(preferences.value(showOnLaunchKey).toString(), "false");
}

TEST_F(GuideWindowTest, TheWholeTextCanBeScrolledThroughWithATray)
{
    scrollThroughTheWholeText(true, QStringLiteral("guide-tray"));
}

TEST_F(GuideWindowTest, TheWholeTextCanBeScrolledThroughWithoutATray)
{
    scrollThroughTheWholeText(false, QStringLiteral("guide-no-tray"));
}
