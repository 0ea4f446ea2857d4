// The framing menu: ratios with their check marks, the exact sizes, the window list.
#include "shell/FramingMenu.h"

#include "QtWait.h"
#include "shell/FitWindowList.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

QStringList rows(const QMenu &menu)
{
    QStringList out;
    for (const QAction *action : menu.actions()) {
        out << (action->isSeparator() ? QStringLiteral("---") : action->text());
    }
    return out;
}

QStringList checked(const FramingMenu &menu)
{
    QStringList out;
    for (const QAction *action : menu.ratioActions()) {
        if (action->isChecked()) {
            out << action->text();
        }
    }
    return out;
}

class FramingMenuTest : public ::testing::Test
{
protected:
    int listRequests = 0;
    FitWindowList fitList{
        [this](std::function<void(std::vector<ShareableWindow>)>) { ++listRequests; }};
    FramingMenu framing{fitList};
    FrameRatio current = FrameRatio::free;

    void SetUp() override
    {
        QObject::connect(&framing, &FramingMenu::aboutToShow,
                         [this] { framing.showRatio(current); });
    }

    // Opens the menu as a user would and closes it again.
    void openAndClose()
    {
        framing.menu()->popup(QPoint(100, 100));
        ASSERT_TRUE(waitUntil([&] { return framing.menu()->isVisible(); }));
        framing.menu()->hide();
    }
};

} // namespace

TEST_F(FramingMenuTest, HoldsTheRatiosTheSizesAndTheWindowList)
{
    EXPECT_EQ(framing.menu()->title(), "Size && ratio"); // shown as "Size & ratio"
    EXPECT_EQ(rows(*framing.menu()),
              QStringList({"Free", "16:9", "16:10", "4:3", "1:1", "---", "1280 × 720",
                           "1920 × 1080", "---", "Fit to Window"}));
    EXPECT_EQ(framing.menu()->actions().last()->menu(), framing.fitMenu());
}

TEST_F(FramingMenuTest, OpeningWithThe16To10LockChecks16To10Only)
{
    current = FrameRatio::mac;
    openAndClose();
    EXPECT_EQ(checked(framing), QStringList({"16:10"}));
}

TEST_F(FramingMenuTest, OpeningWithTheFreeRatioChecksFreeOnly)
{
    current = FrameRatio::widescreen;
    openAndClose();
    current = FrameRatio::free;
    openAndClose();
    EXPECT_EQ(checked(framing), QStringList({"Free"}));
}

TEST_F(FramingMenuTest, ItemsReportTheRatioAndThePresetIndex)
{
    std::vector<FrameRatio> ratios;
    std::vector<int> presets;
    QObject::connect(&framing, &FramingMenu::ratioChosen,
                     [&](FrameRatio r) { ratios.push_back(r); });
    QObject::connect(&framing, &FramingMenu::sizePresetChosen,
                     [&](int i) { presets.push_back(i); });
    framing.ratioActions().at(3)->trigger();
    framing.sizeActions().at(1)->trigger();
    EXPECT_EQ(ratios, std::vector<FrameRatio>({FrameRatio::classic}));
    EXPECT_EQ(presets, std::vector<int>({1}));
}

TEST_F(FramingMenuTest, OpeningTheWindowListAsksForTheWindowsEachTime)
{
    for (int opening = 1; opening <= 2; ++opening) {
        framing.fitMenu()->popup(QPoint(100, 100));
        ASSERT_TRUE(waitUntil([&] { return framing.fitMenu()->isVisible(); }));
        framing.fitMenu()->hide();
        EXPECT_EQ(listRequests, opening);
        EXPECT_EQ(framing.fitMenu()->actions().size(), 1);
        EXPECT_EQ(framing.fitMenu()->actions().front()->text(), "Looking for windows…");
    }
}
