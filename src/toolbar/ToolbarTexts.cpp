#include "toolbar/ToolbarTexts.h"

namespace lookpane {

QString colorDisplayName(AnnotationColor color)
{
    switch (color) {
    case AnnotationColor::red:
        return QStringLiteral("Red");
    case AnnotationColor::yellow:
        return QStringLiteral("Yellow");
    case AnnotationColor::green:
        return QStringLiteral("Green");
    case AnnotationColor::blue:
        return QStringLiteral("Blue");
    case AnnotationColor::white:
        return QStringLiteral("White");
    }
    return {};
}

QString toolToolTip(AnnotationTool tool, const QString *shortcutText)
{
    QString text = toolDisplayName(tool);
    if (shortcutText != nullptr) {
        text += QStringLiteral("  (") + *shortcutText + QLatin1Char(')');
    }
    return text;
}

QString blurActiveToolTip()
{
    return QStringLiteral("Viewers are seeing a blur — click to show them your screen again");
}

QString blurInactiveToolTip()
{
    return QStringLiteral("Blur the shared view for viewers (your own screen stays readable)");
}

} // namespace lookpane
