// How recorded keys become stored bindings, typed into the settings window's recorders.
#include "SettingsTestSupport.h"

#include "shortcuts/VirtualKeyCode.h"

#include <QSettings>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

using RecordingEdgeCases = SettingsWindowTest;

constexpr std::uint16_t kKeyCode = 40;

} // namespace

// A global shortcut needs Ctrl, Alt or Super: Shift alone does not qualify.
TEST_F(RecordingEdgeCases, AGlobalRecorderBeepsAtBAndAtShiftBAndAcceptsSuperB)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ShortcutRecorderView *recorder = controller->recorder(ShortcutAction::privacyBlur);
    ASSERT_NO_FATAL_FAILURE(startRecording(recorder));
    ASSERT_TRUE(typeKeys({"b"}));
    ASSERT_TRUE(waitUntil([&] { return bells.count() == 1; }));
    EXPECT_TRUE(recorder->isRecording());
    ASSERT_TRUE(typeKeys({"shift+b"}));
    ASSERT_TRUE(waitUntil([&] { return bells.count() == 2; }));
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_EQ(recorder->text(), QStringLiteral("Press keys…"));
    ASSERT_TRUE(typeKeys({"super+b"}));
    ASSERT_TRUE(waitUntil([&] { return !recorder->isRecording(); }));
    EXPECT_EQ(shortcuts().combo(ShortcutAction::privacyBlur),
              (KeyCombo{VirtualKeyCode::b, ModifierFlag::control}));
    EXPECT_EQ(recorder->text(), QStringLiteral("Super+B"));
    EXPECT_EQ(bells.count(), 2);
}

// A tool key may carry Shift, Alt or Super, never Ctrl.
TEST_F(RecordingEdgeCases, AToolRecorderBeepsAtCtrlPAndAcceptsAltPWhichMatchesOnlyWithAlt)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ShortcutRecorderView *recorder = controller->toolRecorder(AnnotationTool::freehand);
    ASSERT_NO_FATAL_FAILURE(startRecording(recorder));
    ASSERT_TRUE(typeKeys({"ctrl+p"}));
    ASSERT_TRUE(waitUntil([&] { return bells.count() == 1; }));
    EXPECT_TRUE(recorder->isRecording());
    ASSERT_TRUE(typeKeys({"alt+p"}));
    ASSERT_TRUE(waitUntil([&] { return !recorder->isRecording(); }));
    EXPECT_EQ(recorder->text(), QStringLiteral("Alt+P"));

    EXPECT_EQ(tools().tool(KeyPress{VirtualKeyCode::p, ModifierFlag::option}),
              AnnotationTool::freehand);
    EXPECT_EQ(tools().tool(KeyPress{VirtualKeyCode::p, 0}), std::nullopt);
    EXPECT_EQ(tools().tool(KeyPress{VirtualKeyCode::p, ModifierFlag::option | ModifierFlag::shift}),
              std::nullopt);
}

TEST_F(RecordingEdgeCases, ShiftBackspaceIsRecordedByAToolRecorderAndRefusedByAGlobalOne)
{
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ShortcutRecorderView *tool = controller->toolRecorder(AnnotationTool::line);
    ASSERT_NO_FATAL_FAILURE(record(tool, "shift+BackSpace"));
    EXPECT_EQ(tools().combo(AnnotationTool::line),
              (KeyCombo{VirtualKeyCode::backspace, ModifierFlag::shift}));
    EXPECT_EQ(tool->text(), QStringLiteral("Shift+Backspace"));
    EXPECT_EQ(bells.count(), 0);

    ShortcutRecorderView *global = controller->recorder(ShortcutAction::drawingMode);
    ASSERT_NO_FATAL_FAILURE(startRecording(global));
    ASSERT_TRUE(typeKeys({"shift+BackSpace"}));
    ASSERT_TRUE(waitUntil([&] { return bells.count() == 1; }));
    EXPECT_TRUE(global->isRecording());
    EXPECT_EQ(shortcuts().combo(ShortcutAction::drawingMode),
              ShortcutPreferences::defaultCombo(ShortcutAction::drawingMode));
}

TEST_F(RecordingEdgeCases, ArrowAndFunctionKeysAreStoredWithTheirFlagsMatchedButNotDuplicates)
{
    // The line tool holds Left as stored without the key's flags.
    tools().setCombo(KeyCombo{VirtualKeyCode::leftArrow, 0}, AnnotationTool::line);
    ASSERT_NO_FATAL_FAILURE(openWindow());

    ASSERT_NO_FATAL_FAILURE(record(controller->toolRecorder(AnnotationTool::freehand), "Left"));
    const KeyCombo left{VirtualKeyCode::leftArrow,
                        ModifierFlag::function | ModifierFlag::numericPad};
    EXPECT_EQ(tools().combo(AnnotationTool::freehand), left);
    // A later press of the key, flags and all, selects the tool.
    EXPECT_EQ(tools().tool(KeyPress{left.keyCode, left.modifiers}), AnnotationTool::freehand);
    // The flagless Left is another binding: the line tool keeps it.
    EXPECT_EQ(tools().combo(AnnotationTool::line), (KeyCombo{VirtualKeyCode::leftArrow, 0}));
    EXPECT_EQ(controller->toolRecorder(AnnotationTool::line)->text(), QStringLiteral("Left"));

    ASSERT_NO_FATAL_FAILURE(record(controller->recorder(ShortcutAction::drawingMode), "alt+F5"));
    EXPECT_EQ(shortcuts().combo(ShortcutAction::drawingMode),
              (KeyCombo{VirtualKeyCode::f5, ModifierFlag::option | ModifierFlag::function}));
    EXPECT_EQ(controller->recorder(ShortcutAction::drawingMode)->text(), QStringLiteral("Alt+F5"));
}

TEST_F(RecordingEdgeCases, AToolClearedAsADuplicateReadsAsUnboundWhileItsKeyStaysStored)
{
    tools().setCombo(KeyCombo{kKeyCode, 0}, AnnotationTool::arrow);
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(record(controller->toolRecorder(AnnotationTool::rectangle), "k"));

    EXPECT_EQ(tools().combo(AnnotationTool::rectangle), (KeyCombo{kKeyCode, 0}));
    EXPECT_EQ(tools().combo(AnnotationTool::arrow), std::nullopt);
    const QSettings file(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(file.value("ToolShortcut.arrow.enabled").toString(), QStringLiteral("false"));
    EXPECT_EQ(file.value("ToolShortcut.arrow.keyCode").toInt(), kKeyCode);
    EXPECT_EQ(file.value("ToolShortcut.arrow.modifiers").toInt(), 0);
}
