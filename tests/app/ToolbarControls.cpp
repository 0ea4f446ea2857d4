#include "ToolbarControls.h"

#include "QtWait.h"

#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"
#include "model/ShareMode.h"
#include "toolbar/FrameToolbarWindowController.h"
#include "toolbar/SymbolButton.h"

#include <QApplication>
#include <QWidget>

#include <memory>
#include <stdexcept>
#include <vector>

namespace lookpane::testing {

namespace {

QPoint centreIn(const QWidget *panel, const QWidget *control)
{
    return control->mapTo(panel, control->rect().center());
}

// True once every control of the row the toolbar shows has its place in the panel.
bool laidOut(const FrameToolbarWindowController &toolbar, const std::vector<QWidget *> &row)
{
    const QRect panel = toolbar.window()->rect();
    for (const QWidget *control : row) {
        const QRect place(control->mapTo(toolbar.window(), QPoint(0, 0)), control->size());
        if (!control->isVisible() || place.isEmpty() || !panel.contains(place)) {
            return false;
        }
    }
    return true;
}

void push(FrameToolbarWindowController &toolbar, bool drawing)
{
    toolbar.update({}, drawing, AnnotationTool::arrow, AnnotationColor::red, true, true, false,
                   true, ShareMode::overlay, false);
}

ToolbarControls measure()
{
    FrameToolbarWindowController toolbar;
    QWidget *panel = toolbar.window();
    // Laid out as on screen, without a window on any screen.
    panel->setAttribute(Qt::WA_DontShowOnScreen);
    push(toolbar, false);
    panel->show();
    const std::vector<QWidget *> baseRow{toolbar.framingButton(), toolbar.drawButton(),
                                         toolbar.blurButton(),    toolbar.clickThroughButton(),
                                         toolbar.modeButton(),    toolbar.alwaysOnTopButton(),
                                         toolbar.hideButton()};
    if (!waitUntil([&] { return laidOut(toolbar, baseRow); })) {
        throw std::runtime_error("the toolbar's base row was never laid out");
    }
    ToolbarControls controls;
    controls.baseRowSize = panel->size();
    controls.framing = centreIn(panel, toolbar.framingButton());
    controls.draw = centreIn(panel, toolbar.drawButton());
    controls.blur = centreIn(panel, toolbar.blurButton());
    controls.clickThrough = centreIn(panel, toolbar.clickThroughButton());
    controls.detach = centreIn(panel, toolbar.modeButton());
    controls.pin = centreIn(panel, toolbar.alwaysOnTopButton());
    controls.hide = centreIn(panel, toolbar.hideButton());
    const int firstControlLeft = toolbar.framingButton()->mapTo(panel, QPoint(0, 0)).x();
    controls.grip = QPoint(firstControlLeft / 2, panel->height() / 2);

    push(toolbar, true);
    const std::vector<QWidget *> drawingRow{toolbar.undoButton(), toolbar.clearButton(),
                                            toolbar.doneButton()};
    if (!waitUntil([&] {
            return laidOut(toolbar, drawingRow) && panel->size() == toolbar.fittingPanelSize();
        })) {
        throw std::runtime_error("the toolbar's drawing row was never laid out");
    }
    controls.drawingRowSize = panel->size();
    controls.undo = centreIn(panel, toolbar.undoButton());
    controls.clear = centreIn(panel, toolbar.clearButton());
    controls.done = centreIn(panel, toolbar.doneButton());
    panel->hide();
    return controls;
}

ToolbarControls measureWithAnApplication()
{
    if (QCoreApplication::instance() != nullptr) {
        return measure();
    }
    // No window of this application ever shows; the off-screen platform needs no display.
    static char name[] = "toolbar-controls";
    static char platformOption[] = "-platform";
    static char platform[] = "offscreen";
    char *argv[] = {name, platformOption, platform, nullptr};
    int argc = 3;
    QApplication application(argc, argv);
    return measure();
}

} // namespace

const ToolbarControls &toolbarControls()
{
    static const ToolbarControls controls = measureWithAnApplication();
    return controls;
}

} // namespace lookpane::testing
