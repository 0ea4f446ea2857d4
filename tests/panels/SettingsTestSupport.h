#pragma once

#include "BellCounter.h"
#include "PanelsTestSupport.h"

#include "model/Preferences.h"
#include "panels/SettingsWindowController.h"
#include "panels/ShortcutRecorderView.h"
#include "shortcuts/ShortcutPreferences.h"
#include "shortcuts/ToolShortcutPreferences.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <memory>

namespace lookpane::testing {

// A settings window over a settings file of its own, with the defaults the application
// registers at launch.
class SettingsWindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bells.isListening()) << "the X server offers no XKB bell events";
        preferences.registerDefaults();
        ShortcutPreferences(preferences).registerDefaults();
        ToolShortcutPreferences(preferences).registerDefaults();
        controller = std::make_unique<SettingsWindowController>(preferences);
    }

    QString filePath() const { return QDir(directory.path()).filePath("Lookpane.conf"); }

    // show(), then waits until the window is on screen and has the keyboard focus.
    void openWindow()
    {
        controller->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(controller->window()));
        ASSERT_TRUE(
            waitUntil([&] { return QApplication::activeWindow() == controller->window(); }));
    }

    // Closes the window as its close button does, and waits until the X server unmapped it.
    void closeWindow()
    {
        ASSERT_TRUE(controller->window()->close());
        QWindow *handle = controller->window()->windowHandle();
        ASSERT_TRUE(waitUntil([&] { return handle == nullptr || !handle->isExposed(); }));
    }

    // Clicks `recorder` and waits until it records and holds the keyboard.
    void startRecording(ShortcutRecorderView *recorder)
    {
        ASSERT_TRUE(clickOn(recorder));
        ASSERT_TRUE(
            waitUntil([&] { return recorder->isRecording() && recorder->holdsKeyboard(); }));
    }

    // Types `keys` into `recorder`, which records, and waits until it stops.
    void record(ShortcutRecorderView *recorder, const std::string &keys)
    {
        ASSERT_NO_FATAL_FAILURE(startRecording(recorder));
        ASSERT_TRUE(typeKeys({keys}));
        ASSERT_TRUE(waitUntil([&] { return !recorder->isRecording(); }));
    }

    ToolShortcutPreferences tools() { return ToolShortcutPreferences(preferences); }
    ShortcutPreferences shortcuts() { return ShortcutPreferences(preferences); }

    QTemporaryDir directory;
    Preferences preferences{filePath()};
    BellCounter bells{display()};
    std::unique_ptr<SettingsWindowController> controller;
};

} // namespace lookpane::testing
