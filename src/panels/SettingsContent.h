#pragma once

#include "model/AnnotationTool.h"
#include "model/ShortcutAction.h"

#include <map>

class QCheckBox;
class QComboBox;
class QLabel;
class QWidget;

namespace lookpane {

class ShortcutRecorderView;

// The controls of the settings window that its controller reads and fills.
struct SettingsControls
{
    std::map<ShortcutAction, ShortcutRecorderView *> recorders;
    std::map<AnnotationTool, ShortcutRecorderView *> toolRecorders;
    QComboBox *strengthPopUp = nullptr;
    QCheckBox *guideCheckbox = nullptr;
    // Hidden until the application reports a refused shortcut.
    QLabel *conflictLabel = nullptr;
};

// Lays out the settings window's content in `window`, from top to bottom: the global
// shortcuts, the drawing tools' keys, the blur strength and the guide switch, each section
// with its heading and caption. One column, 20 pixels from the window's sides and top,
// spacing 10; the labels, texts and section order are the window's whole appearance. The
// controls are children of `window` and report nothing yet.
SettingsControls buildSettingsContent(QWidget *window);

} // namespace lookpane
