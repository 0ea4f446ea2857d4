// The "Fit to Window" list: filled when a submenu opens, its items standing for the newest list.
#include "shell/FitWindowList.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>

#include <memory>

using namespace lookpane;

namespace {

ShareableWindow window(const char *application, const char *title, double x)
{
    ShareableWindow w;
    w.applicationName = QString::fromUtf8(application);
    w.title = QString::fromUtf8(title);
    w.frame = ScreenRect(x, 100, 800, 600);
    return w;
}

QStringList titles(const QMenu &menu)
{
    QStringList out;
    for (const QAction *action : menu.actions()) {
        out << action->text();
    }
    return out;
}

// A source whose answers the test gives, in order, when it likes.
struct ScriptedSource
{
    std::vector<std::function<void(std::vector<ShareableWindow>)>> pending;

    FitWindowList::Source source()
    {
        return [this](std::function<void(std::vector<ShareableWindow>)> done) {
            pending.push_back(std::move(done));
        };
    }
    void answer(std::vector<ShareableWindow> windows)
    {
        auto done = std::move(pending.front());
        pending.erase(pending.begin());
        done(std::move(windows));
    }
};

} // namespace

TEST(FitWindowList, ShowsThatItIsLookingUntilTheListComes)
{
    ScriptedSource source;
    FitWindowList list(source.source());
    QMenu menu;
    list.populate(&menu);
    EXPECT_EQ(titles(menu), QStringList({"Looking for windows…"}));
    EXPECT_FALSE(menu.actions().front()->isEnabled());
    ASSERT_EQ(source.pending.size(), 1U);

    source.answer(
        {window("Firefox", "Slides — Mozilla Firefox", 0), window("Terminal", "build", 10)});
    EXPECT_EQ(titles(menu),
              QStringList({"Firefox — Slides — Mozilla Firefox", "Terminal — build"}));
    for (const QAction *action : menu.actions()) {
        EXPECT_TRUE(action->isEnabled());
    }
}

TEST(FitWindowList, AnEmptyListSaysSo)
{
    ScriptedSource source;
    FitWindowList list(source.source());
    QMenu menu;
    list.populate(&menu);
    source.answer({});
    EXPECT_EQ(titles(menu), QStringList({"No other windows found"}));
    EXPECT_FALSE(menu.actions().front()->isEnabled());
}

TEST(FitWindowList, AWindowTitledAsItsApplicationIsListedOnceWithoutTheDash)
{
    EXPECT_EQ(FitWindowList::itemTitle(window("xterm", "xterm", 0)), "xterm");
    EXPECT_EQ(FitWindowList::itemTitle(window("Gimp", "Untitled", 0)), "Gimp — Untitled");
}

TEST(FitWindowList, AnAmpersandInATitleShowsAsItIs)
{
    ScriptedSource source;
    FitWindowList list(source.source());
    QMenu menu;
    list.populate(&menu);
    source.answer({window("Notes", "Tom & Jerry", 0)});
    // "&&" is how a menu shows one ampersand; a single one would underline the next letter.
    EXPECT_EQ(titles(menu), QStringList({"Notes — Tom && Jerry"}));
}

TEST(FitWindowList, ChoosingAnItemReportsItsWindow)
{
    ScriptedSource source;
    FitWindowList list(source.source());
    std::vector<ShareableWindow> chosen;
    QObject::connect(&list, &FitWindowList::windowChosen,
                     [&](const ShareableWindow &w) { chosen.push_back(w); });
    QMenu menu;
    list.populate(&menu);
    source.answer({window("A", "one", 0), window("B", "two", 10)});
    menu.actions().at(1)->trigger();
    ASSERT_EQ(chosen.size(), 1U);
    EXPECT_EQ(chosen.front(), window("B", "two", 10));
}

TEST(FitWindowList, AnItemOfAnOlderListActsOnTheNewestList)
{
    ScriptedSource source;
    FitWindowList list(source.source());
    std::vector<ShareableWindow> chosen;
    QObject::connect(&list, &FitWindowList::windowChosen,
                     [&](const ShareableWindow &w) { chosen.push_back(w); });
    QMenu older;
    QMenu newer;
    list.populate(&older);
    source.answer({window("A", "one", 0), window("B", "two", 10), window("C", "three", 20)});
    list.populate(&newer);
    source.answer({window("D", "four", 30)});

    // Out of range now: nothing.
    older.actions().at(2)->trigger();
    EXPECT_TRUE(chosen.empty());
    // Still in range: the window that has that index now, not the one the item was made for.
    older.actions().at(0)->trigger();
    ASSERT_EQ(chosen.size(), 1U);
    EXPECT_EQ(chosen.front(), window("D", "four", 30));
}

TEST(FitWindowList, AListThatArrivesAfterItsMenuIsGoneChangesNothing)
{
    ScriptedSource source;
    FitWindowList list(source.source());
    auto menu = std::make_unique<QMenu>();
    list.populate(menu.get());
    menu.reset();
    source.answer({window("A", "one", 0)});
    EXPECT_TRUE(list.candidates().empty());
}
