// The application controller capturing through a ScreenCast portal (the project's own, with a
// private PipeWire), its windows on a private X server: what a refused dialog shows, and
// "Try Again".
#include "PortalHarness.h"
#include "QtWait.h"
#include "TestDisplay.h"

#include "app/AppDelegate.h"
#include "app/LookpaneWindowController.h"
#include "capture/ScreenCaptureEngine.h"
#include "capture/portal/PortalCaptureBackend.h"
#include "frame/PreviewView.h"
#include "model/Preferences.h"
#include "shell/PermissionAlert.h"
#include "shell/StatusMenu.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QMessageBox>
#include <QTemporaryDir>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

int openMessageBoxes()
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

class AppDelegatePortalTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_portal = std::make_unique<ScreenCastPortalHarness>(
            std::vector<std::string>{"--size", "1280x1024"});
        ASSERT_TRUE(m_portal->isReady()) << m_portal->problem();
        ASSERT_TRUE(m_settingsFolder.isValid());
        m_preferences = std::make_unique<Preferences>(m_settingsFolder.filePath("Lookpane.conf"));
        portal::PortalCaptureBackend::Options options;
        options.bus = m_portal->bus();
        m_delegate = std::make_unique<AppDelegate>(
            *m_preferences, std::make_unique<portal::PortalCaptureBackend>(std::move(options)));
    }

    void TearDown() override
    {
        m_delegate.reset();
        m_portal.reset();
    }

    ScreenCaptureEngine &engine() { return *m_delegate->captureEngine(); }
    PreviewView &sharePreview() { return *m_delegate->windowController()->sharePreviewView(); }

    std::unique_ptr<ScreenCastPortalHarness> m_portal;
    QTemporaryDir m_settingsFolder;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<AppDelegate> m_delegate;
};

} // namespace

TEST_F(AppDelegatePortalTest, ARefusedDialogAsksForPermissionAndTryAgainStartsCapture)
{
    m_portal->setCancelDialog(true);
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(waitUntil([&] { return m_delegate->permissionAlert()->isShowing(); }, 30000));
    EXPECT_TRUE(engine().state().isPermissionRequired());
    EXPECT_EQ(sharePreview().message(),
              QStringLiteral("Allow screen sharing for Lookpane, then choose Start capture"));
    EXPECT_EQ(m_delegate->statusMenu()->statusAction()->text(),
              "Screen Recording permission required");
    EXPECT_EQ(openMessageBoxes(), 1);

    // The user allows it this time.
    m_portal->setCancelDialog(false);
    QAbstractButton *tryAgain = button(*m_delegate->permissionAlert()->box(), "Try Again");
    ASSERT_NE(tryAgain, nullptr);
    tryAgain->click();
    EXPECT_TRUE(waitUntil([&] { return engine().state().isRunning(); }, 30000))
        << engine().state().description().toStdString();
    EXPECT_TRUE(waitUntil([&] { return sharePreview().hasCapturedFrame(); }, 30000));
    EXPECT_FALSE(sharePreview().message().has_value());
    EXPECT_EQ(m_portal->dialogCount(), 2);
}

TEST_F(AppDelegatePortalTest, AStreamThatEndsIsShownAndStartCaptureRecoversIt)
{
    m_delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(waitUntil([&] { return sharePreview().hasCapturedFrame(); }, 30000));

    m_portal->endStreams();
    const QString stopped = QStringLiteral("Capture stopped: the desktop ended the screen cast");
    EXPECT_TRUE(waitUntil([&] { return sharePreview().message() == stopped; }, 30000))
        << engine().state().description().toStdString();
    QAction *capture = m_delegate->statusMenu()->captureAction();
    EXPECT_EQ(capture->text(), "Start capture");

    capture->trigger();
    EXPECT_TRUE(waitUntil([&] { return engine().state().isRunning(); }, 30000))
        << engine().state().description().toStdString();
    EXPECT_TRUE(waitUntil([&] { return !sharePreview().message().has_value(); }, 30000));
}
