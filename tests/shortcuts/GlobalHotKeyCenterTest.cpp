#include "ScriptedHotKeyBackend.h"

#include "shortcuts/GlobalHotKeyCenter.h"
#include "shortcuts/ModifierMapping.h"
#include "shortcuts/VirtualKeyCode.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <atomic>
#include <thread>
#include <vector>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

constexpr std::uint64_t controlOptionCommand =
    ModifierFlag::control | ModifierFlag::option | ModifierFlag::command;
const KeyCombo ctrlAltSuperB{VirtualKeyCode::b, controlOptionCommand};
const KeyCombo ctrlAltSuperD{VirtualKeyCode::d, controlOptionCommand};
const KeyCombo ctrlAltSuperE{VirtualKeyCode::e, controlOptionCommand};

class GlobalHotKeyCenterTest : public ::testing::Test
{
protected:
    GlobalHotKeyCenterTest()
    {
        auto backend = std::make_unique<ScriptedHotKeyBackend>();
        scripted = backend.get();
        record = backend->record();
        center = std::make_unique<GlobalHotKeyCenter>(std::move(backend));
    }

    // Lets the event loop run what was queued, until `done` or a generous deadline.
    template <typename Condition> static bool processEventsUntil(Condition done)
    {
        QDeadlineTimer deadline(10000);
        while (!done() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        }
        return done();
    }

    static void processPendingEvents()
    {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }

    int argc = 1;
    char name[16] = "lookpane_tests";
    char *argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    ScriptedHotKeyBackend *scripted = nullptr;
    std::shared_ptr<ScriptedHotKeyBackend::Record> record;
    std::unique_ptr<GlobalHotKeyCenter> center;
};

} // namespace

TEST_F(GlobalHotKeyCenterTest, SignatureIsLPK1ReadAsABigEndianNumber)
{
    const std::uint32_t lpk1 = (std::uint32_t{'L'} << 24) | (std::uint32_t{'P'} << 16) |
                               (std::uint32_t{'K'} << 8) | std::uint32_t{'1'};
    EXPECT_EQ(GlobalHotKeyCenter::signature, lpk1);
    EXPECT_EQ(GlobalHotKeyCenter::signature, 0x4C504B31u);
}

TEST_F(GlobalHotKeyCenterTest, DefaultBlurShortcutIsGrabbedAsCtrlAltSuperBUnderIdentifierOne)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    EXPECT_TRUE(center->isRegistered(ShortcutAction::privacyBlur));
    ASSERT_EQ(record->live.size(), 1u);
    const ScriptedHotKeyBackend::Registration &grab = record->live.front();
    EXPECT_EQ(grab.keyCode, VirtualKeyCode::b);
    EXPECT_EQ(grab.x11Modifiers, X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4);
    EXPECT_EQ(grab.id, (HotKeyId{0x4C504B31, 1}));
}

TEST_F(GlobalHotKeyCenterTest, EachActionRegistersUnderItsOwnIdentifier)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperD, ShortcutAction::drawingMode));
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperE, ShortcutAction::clearAnnotations));
    ASSERT_EQ(record->live.size(), 3u);
    EXPECT_EQ(record->live[0].id.identifier, 1u);
    EXPECT_EQ(record->live[1].id.identifier, 2u);
    EXPECT_EQ(record->live[2].id.identifier, 3u);
}

TEST_F(GlobalHotKeyCenterTest, ShiftOnlyComboFailsWithoutCallingTheServiceAndLeavesActionUnbound)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    ASSERT_EQ(record->registerCalls, 1);

    const KeyCombo shiftF5{VirtualKeyCode::f5, ModifierFlag::shift};
    EXPECT_FALSE(center->registerCombo(shiftF5, ShortcutAction::privacyBlur));
    EXPECT_EQ(record->registerCalls, 1) << "the hot-key service was asked for Shift+F5";
    EXPECT_EQ(record->unregisterCalls, 1);
    EXPECT_TRUE(record->live.empty());
    EXPECT_FALSE(center->isRegistered(ShortcutAction::privacyBlur));
}

TEST_F(GlobalHotKeyCenterTest, BareKeyIsNeverRegistered)
{
    EXPECT_FALSE(
        center->registerCombo(KeyCombo{VirtualKeyCode::b, 0}, ShortcutAction::drawingMode));
    // Caps Lock and the function-key flag do not qualify either.
    EXPECT_FALSE(center->registerCombo(
        KeyCombo{VirtualKeyCode::f5, ModifierFlag::capsLock | ModifierFlag::function},
        ShortcutAction::drawingMode));
    EXPECT_EQ(record->registerCalls, 0);
}

TEST_F(GlobalHotKeyCenterTest, EachOfCtrlAltSuperAloneQualifies)
{
    EXPECT_TRUE(center->registerCombo(KeyCombo{VirtualKeyCode::b, ModifierFlag::command},
                                      ShortcutAction::privacyBlur));
    EXPECT_TRUE(center->registerCombo(KeyCombo{VirtualKeyCode::b, ModifierFlag::option},
                                      ShortcutAction::drawingMode));
    EXPECT_TRUE(center->registerCombo(KeyCombo{VirtualKeyCode::b, ModifierFlag::control},
                                      ShortcutAction::clearAnnotations));
    ASSERT_EQ(record->live.size(), 3u);
    EXPECT_EQ(record->live[0].x11Modifiers, X11Modifier::control);
    EXPECT_EQ(record->live[1].x11Modifiers, X11Modifier::mod1);
    EXPECT_EQ(record->live[2].x11Modifiers, X11Modifier::mod4);
}

TEST_F(GlobalHotKeyCenterTest, RegisteringNoComboUnregistersTheOldOneAndReturnsTrue)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperD, ShortcutAction::drawingMode));
    EXPECT_TRUE(center->registerCombo(std::nullopt, ShortcutAction::drawingMode));
    EXPECT_TRUE(record->live.empty());
    EXPECT_EQ(record->unregisterCalls, 1);
    EXPECT_EQ(record->registerCalls, 1);
    EXPECT_FALSE(center->isRegistered(ShortcutAction::drawingMode));
}

TEST_F(GlobalHotKeyCenterTest, RegisteringNoComboForAnUnboundActionReturnsTrueAndCallsNothing)
{
    EXPECT_TRUE(center->registerCombo(std::nullopt, ShortcutAction::clearAnnotations));
    EXPECT_EQ(record->registerCalls, 0);
    EXPECT_EQ(record->unregisterCalls, 0);
}

TEST_F(GlobalHotKeyCenterTest, ReRegistrationReleasesTheOldBindingFirst)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperE, ShortcutAction::privacyBlur));
    ASSERT_EQ(record->live.size(), 1u);
    EXPECT_EQ(record->live.front().keyCode, VirtualKeyCode::e);
    EXPECT_EQ(record->staleUnregisterCalls, 0);
    // The same combination again is released and grabbed again, never held twice.
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperE, ShortcutAction::privacyBlur));
    EXPECT_EQ(record->live.size(), 1u);
}

TEST_F(GlobalHotKeyCenterTest, TakenCombinationFailsAndLeavesTheActionWithoutAnyBinding)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    record->taken.insert(
        {VirtualKeyCode::e, X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4});
    EXPECT_FALSE(center->registerCombo(ctrlAltSuperE, ShortcutAction::privacyBlur));
    EXPECT_TRUE(record->live.empty());
    EXPECT_FALSE(center->isRegistered(ShortcutAction::privacyBlur));
    // Nothing is retried.
    EXPECT_EQ(record->registerCalls, 2);
}

TEST_F(GlobalHotKeyCenterTest, PressRunsTheHandlerLaterOnTheEventLoopNeverInsideTheCallback)
{
    int blurToggles = 0;
    center->setHandler(hotKeyIdentifier(ShortcutAction::privacyBlur), [&] { ++blurToggles; });
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));

    EXPECT_TRUE(scripted->press({GlobalHotKeyCenter::signature, 1}));
    EXPECT_EQ(blurToggles, 0) << "the handler ran inside the backend's callback";
    EXPECT_TRUE(processEventsUntil([&] { return blurToggles > 0; }));
    EXPECT_EQ(blurToggles, 1);
}

TEST_F(GlobalHotKeyCenterTest, PressRunsOnlyTheHandlerOfItsIdentifier)
{
    int blur = 0;
    int drawing = 0;
    int clearing = 0;
    center->setHandler(1, [&] { ++blur; });
    center->setHandler(2, [&] { ++drawing; });
    center->setHandler(3, [&] { ++clearing; });
    EXPECT_TRUE(scripted->press({GlobalHotKeyCenter::signature, 2}));
    EXPECT_TRUE(scripted->press({GlobalHotKeyCenter::signature, 2}));
    EXPECT_TRUE(scripted->press({GlobalHotKeyCenter::signature, 3}));
    EXPECT_TRUE(processEventsUntil([&] { return drawing == 2 && clearing == 1; }));
    processPendingEvents();
    EXPECT_EQ(blur, 0);
    EXPECT_EQ(drawing, 2);
    EXPECT_EQ(clearing, 1);
}

TEST_F(GlobalHotKeyCenterTest, ForeignSignatureIsPassedOnAndTriggersNothing)
{
    int calls = 0;
    for (std::uint32_t identifier = 1; identifier <= 3; ++identifier) {
        center->setHandler(identifier, [&] { ++calls; });
    }
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    EXPECT_FALSE(scripted->press({0x4F544852 /* "OTHR" */, 1}));
    EXPECT_FALSE(scripted->press({0, 2}));
    processPendingEvents();
    EXPECT_EQ(calls, 0);
}

TEST_F(GlobalHotKeyCenterTest, PressForAnIdentifierWithoutHandlerDoesNothing)
{
    int calls = 0;
    center->setHandler(1, [&] { ++calls; });
    EXPECT_TRUE(scripted->press({GlobalHotKeyCenter::signature, 7}));
    processPendingEvents();
    EXPECT_EQ(calls, 0);
    // The centre still works afterwards.
    EXPECT_TRUE(scripted->press({GlobalHotKeyCenter::signature, 1}));
    EXPECT_TRUE(processEventsUntil([&] { return calls == 1; }));
}

TEST_F(GlobalHotKeyCenterTest, PressFromAnotherThreadRunsTheHandlerOnTheMainThread)
{
    std::atomic<bool> ran = false;
    QThread *handlerThread = nullptr;
    center->setHandler(3, [&] {
        handlerThread = QThread::currentThread();
        ran = true;
    });
    bool taken = false;
    std::thread presser([&] { taken = scripted->press({GlobalHotKeyCenter::signature, 3}); });
    presser.join();
    EXPECT_TRUE(taken);
    ASSERT_TRUE(processEventsUntil([&] { return ran.load(); }));
    EXPECT_EQ(handlerThread, QCoreApplication::instance()->thread());
}

TEST_F(GlobalHotKeyCenterTest, DestructionUnregistersEverythingAndDropsQueuedPresses)
{
    int calls = 0;
    center->setHandler(1, [&] { ++calls; });
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperD, ShortcutAction::drawingMode));
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperE, ShortcutAction::clearAnnotations));
    ASSERT_TRUE(scripted->press({GlobalHotKeyCenter::signature, 1}));

    center.reset();
    EXPECT_TRUE(record->live.empty());
    EXPECT_EQ(record->unregisterCalls, 3);
    EXPECT_FALSE(record->destroyedWhileListened);
    processPendingEvents();
    EXPECT_EQ(calls, 0);
}

// --- failures reported as a signal ---------------------------------------------------------

TEST_F(GlobalHotKeyCenterTest, EveryFailedRegistrationIsReportedWithItsAction)
{
    std::vector<ShortcutAction> failed;
    QObject::connect(center.get(), &GlobalHotKeyCenter::registrationFailed,
                     [&](ShortcutAction action) { failed.push_back(action); });
    record->taken.insert(
        {VirtualKeyCode::b, X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4});
    EXPECT_FALSE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    EXPECT_FALSE(center->registerCombo(KeyCombo{VirtualKeyCode::f5, ModifierFlag::shift},
                                       ShortcutAction::clearAnnotations));
    EXPECT_TRUE(center->registerCombo(ctrlAltSuperD, ShortcutAction::drawingMode));
    EXPECT_TRUE(center->registerCombo(std::nullopt, ShortcutAction::drawingMode));
    EXPECT_EQ(failed, (std::vector<ShortcutAction>{ShortcutAction::privacyBlur,
                                                   ShortcutAction::clearAnnotations}));
}

// --- suspension ----------------------------------------------------------------------------

TEST_F(GlobalHotKeyCenterTest, SuspendingReleasesEveryGrabAndResumingTakesThemBack)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperE, ShortcutAction::clearAnnotations));
    ASSERT_EQ(record->live.size(), 2u);

    center->setSuspended(true);
    EXPECT_TRUE(center->isSuspended());
    EXPECT_TRUE(record->live.empty()) << "a grab stayed while a recorder waits for keys";
    EXPECT_EQ(record->staleUnregisterCalls, 0);
    // The bindings are kept.
    EXPECT_TRUE(center->isRegistered(ShortcutAction::privacyBlur));
    EXPECT_TRUE(center->isRegistered(ShortcutAction::clearAnnotations));
    EXPECT_FALSE(center->isRegistered(ShortcutAction::drawingMode));

    center->setSuspended(false);
    EXPECT_FALSE(center->isSuspended());
    ASSERT_EQ(record->live.size(), 2u);
    EXPECT_EQ(record->live[0].keyCode, VirtualKeyCode::b);
    EXPECT_EQ(record->live[0].id, (HotKeyId{GlobalHotKeyCenter::signature, 1}));
    EXPECT_EQ(record->live[1].keyCode, VirtualKeyCode::e);
    EXPECT_EQ(record->live[1].id, (HotKeyId{GlobalHotKeyCenter::signature, 3}));
    EXPECT_EQ(record->live[1].x11Modifiers,
              X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4);
}

TEST_F(GlobalHotKeyCenterTest, ResumedGrabsStillRunTheirHandlers)
{
    int blurToggles = 0;
    center->setHandler(1, [&] { ++blurToggles; });
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    center->setSuspended(true);
    center->setSuspended(false);
    ASSERT_EQ(record->live.size(), 1u);
    EXPECT_TRUE(scripted->press(record->live.front().id));
    EXPECT_TRUE(processEventsUntil([&] { return blurToggles == 1; }));
}

TEST_F(GlobalHotKeyCenterTest, SuspendingOrResumingTwiceChangesNothing)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    center->setSuspended(false);
    EXPECT_EQ(record->registerCalls, 1);
    EXPECT_EQ(record->unregisterCalls, 0);
    center->setSuspended(true);
    center->setSuspended(true);
    EXPECT_EQ(record->unregisterCalls, 1);
    center->setSuspended(false);
    center->setSuspended(false);
    EXPECT_EQ(record->registerCalls, 2);
    EXPECT_EQ(record->live.size(), 1u);
}

TEST_F(GlobalHotKeyCenterTest, RegisteringWhileSuspendedRecordsTheBindingAndGrabsItOnResume)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    center->setSuspended(true);
    EXPECT_TRUE(center->registerCombo(ctrlAltSuperD, ShortcutAction::privacyBlur));
    EXPECT_TRUE(center->isRegistered(ShortcutAction::privacyBlur));
    EXPECT_TRUE(record->live.empty()) << "grabbed while suspended";
    EXPECT_EQ(record->registerCalls, 1);

    center->setSuspended(false);
    ASSERT_EQ(record->live.size(), 1u);
    EXPECT_EQ(record->live.front().keyCode, VirtualKeyCode::d);
    EXPECT_EQ(record->live.front().id.identifier, 1u);
}

TEST_F(GlobalHotKeyCenterTest, RegisteringNoComboWhileSuspendedLeavesNothingToTakeBack)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    center->setSuspended(true);
    EXPECT_TRUE(center->registerCombo(std::nullopt, ShortcutAction::privacyBlur));
    EXPECT_FALSE(center->isRegistered(ShortcutAction::privacyBlur));
    center->setSuspended(false);
    EXPECT_TRUE(record->live.empty());
    EXPECT_EQ(record->registerCalls, 1);
    EXPECT_EQ(record->staleUnregisterCalls, 0);
}

TEST_F(GlobalHotKeyCenterTest, ShiftOnlyComboFailsAtOnceEvenWhileSuspended)
{
    std::vector<ShortcutAction> failed;
    QObject::connect(center.get(), &GlobalHotKeyCenter::registrationFailed,
                     [&](ShortcutAction action) { failed.push_back(action); });
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperD, ShortcutAction::drawingMode));
    center->setSuspended(true);
    EXPECT_FALSE(center->registerCombo(KeyCombo{VirtualKeyCode::f5, ModifierFlag::shift},
                                       ShortcutAction::drawingMode));
    EXPECT_FALSE(center->isRegistered(ShortcutAction::drawingMode));
    EXPECT_EQ(failed, std::vector<ShortcutAction>{ShortcutAction::drawingMode});
    center->setSuspended(false);
    EXPECT_TRUE(record->live.empty());
    EXPECT_EQ(record->registerCalls, 1);
}

TEST_F(GlobalHotKeyCenterTest, BindingTakenDuringSuspensionIsDroppedAndReportedOnResume)
{
    std::vector<ShortcutAction> failed;
    QObject::connect(center.get(), &GlobalHotKeyCenter::registrationFailed,
                     [&](ShortcutAction action) { failed.push_back(action); });
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperD, ShortcutAction::drawingMode));
    center->setSuspended(true);
    // Recorded while suspended, taken by another application before the suspension ends.
    EXPECT_TRUE(center->registerCombo(ctrlAltSuperE, ShortcutAction::clearAnnotations));
    const std::uint16_t ctrlAltSuper = X11Modifier::control | X11Modifier::mod1 | X11Modifier::mod4;
    record->taken.insert({VirtualKeyCode::b, ctrlAltSuper});
    record->taken.insert({VirtualKeyCode::e, ctrlAltSuper});
    EXPECT_TRUE(failed.empty());

    center->setSuspended(false);
    EXPECT_EQ(failed, (std::vector<ShortcutAction>{ShortcutAction::privacyBlur,
                                                   ShortcutAction::clearAnnotations}));
    EXPECT_FALSE(center->isRegistered(ShortcutAction::privacyBlur));
    EXPECT_TRUE(center->isRegistered(ShortcutAction::drawingMode));
    EXPECT_FALSE(center->isRegistered(ShortcutAction::clearAnnotations));
    ASSERT_EQ(record->live.size(), 1u);
    EXPECT_EQ(record->live.front().keyCode, VirtualKeyCode::d);

    // Nothing stale is left to release later.
    center->setSuspended(true);
    center.reset();
    EXPECT_EQ(record->staleUnregisterCalls, 0);
    EXPECT_TRUE(record->live.empty());
}

TEST_F(GlobalHotKeyCenterTest, DestructionWhileSuspendedReleasesNothingTwice)
{
    ASSERT_TRUE(center->registerCombo(ctrlAltSuperB, ShortcutAction::privacyBlur));
    center->setSuspended(true);
    ASSERT_EQ(record->unregisterCalls, 1);
    center.reset();
    EXPECT_EQ(record->unregisterCalls, 1);
    EXPECT_EQ(record->staleUnregisterCalls, 0);
    EXPECT_TRUE(record->live.empty());
    EXPECT_FALSE(record->destroyedWhileListened);
}
