#pragma once

#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"

#include <QString>

namespace lookpane {

// What the toolbar calls the colours: "Red", "Yellow", "Green", "Blue", "White" (the tools'
// names are toolDisplayName's, model/AnnotationTool.h).
QString colorDisplayName(AnnotationColor color);

// A tool button's tooltip: the tool's name, followed by two blanks and the shortcut text in
// parentheses when the tool has one ("Arrow  (A)").
QString toolToolTip(AnnotationTool tool, const QString *shortcutText);

// The blur button's tooltip while viewers see a blur, and while they do not.
QString blurActiveToolTip();
QString blurInactiveToolTip();

} // namespace lookpane
