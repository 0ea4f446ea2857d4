// The permission alert: its texts and buttons, and never two at once.
#include "shell/PermissionAlert.h"

#include "QtWait.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

int openAlerts()
{
    int count = 0;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMessageBox *>(widget) && widget->isVisible()) {
            ++count;
        }
    }
    return count;
}

QAbstractButton *button(QMessageBox &box, const QString &text)
{
    for (QAbstractButton *candidate : box.buttons()) {
        if (candidate->text() == text) {
            return candidate;
        }
    }
    return nullptr;
}

} // namespace

TEST(PermissionAlert, SaysWhatIsMissingAndOffersTryAgainQuitAndLater)
{
    PermissionAlert alert;
    alert.show();
    ASSERT_TRUE(alert.isShowing());
    QMessageBox *box = alert.box();
    EXPECT_EQ(box->text(), "Screen Recording permission required");
    EXPECT_EQ(box->informativeText(),
              "Lookpane needs permission to record the screen to mirror the apps beneath the "
              "Lookpane window.\n\nAllow screen sharing for Lookpane when your desktop asks, "
              "then choose Start capture in the Lookpane tray menu.");
    EXPECT_EQ(box->icon(), QMessageBox::Warning);
    QStringList texts;
    for (QAbstractButton *b : box->buttons()) {
        texts << b->text();
    }
    texts.sort();
    EXPECT_EQ(texts, QStringList({"Later", "Quit Lookpane", "Try Again"}));
    EXPECT_TRUE(waitUntil([] { return openAlerts() == 1; }));
}

TEST(PermissionAlert, ASecondRequestWhileOpenShowsNoSecondAlert)
{
    PermissionAlert alert;
    alert.show();
    QMessageBox *first = alert.box();
    alert.show();
    EXPECT_EQ(alert.box(), first);
    EXPECT_TRUE(waitUntil([] { return openAlerts() == 1; }));
}

TEST(PermissionAlert, EachButtonDoesItsOwnThingAndClosesTheAlert)
{
    PermissionAlert alert;
    int tries = 0;
    int quits = 0;
    QObject::connect(&alert, &PermissionAlert::tryAgain, [&] { ++tries; });
    QObject::connect(&alert, &PermissionAlert::quit, [&] { ++quits; });

    alert.show();
    button(*alert.box(), "Later")->click();
    EXPECT_TRUE(waitUntil([&] { return !alert.isShowing(); }));
    EXPECT_EQ(tries + quits, 0);

    alert.show();
    button(*alert.box(), "Try Again")->click();
    EXPECT_TRUE(waitUntil([&] { return !alert.isShowing(); }));
    EXPECT_EQ(tries, 1);

    alert.show();
    button(*alert.box(), "Quit Lookpane")->click();
    EXPECT_TRUE(waitUntil([&] { return !alert.isShowing(); }));
    EXPECT_EQ(quits, 1);
}
