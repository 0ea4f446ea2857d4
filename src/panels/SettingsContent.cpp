#include "panels/SettingsContent.h"

#include "model/BlurStrength.h"
#include "model/SystemColors.h"
#include "panels/SettingsWindowController.h"
#include "panels/ShortcutRecorderView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

#include <algorithm>
#include <vector>

namespace lookpane {

namespace {

constexpr int margin = 20;
constexpr int stackSpacing = 10;
constexpr int rowSpacing = 8;
constexpr int toolRowSpacing = 14;
constexpr int toolColumnSpacing = 2;
constexpr int sectionGap = 6;
constexpr int headingPixelSize = 13;
constexpr int captionPixelSize = 11;
constexpr int captionWidth = SettingsWindowController::windowWidth - 2 * margin;

QString actionLabel(ShortcutAction action)
{
    switch (action) {
    case ShortcutAction::privacyBlur:
        return QStringLiteral("Blur for viewers:");
    case ShortcutAction::drawingMode:
        return QStringLiteral("Drawing mode:");
    case ShortcutAction::clearAnnotations:
        return QStringLiteral("Remove all marks:");
    }
    return {};
}

QLabel *heading(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    QFont font = label->font();
    font.setPixelSize(headingPixelSize);
    font.setBold(true);
    label->setFont(font);
    return label;
}

// Small text in the secondary colour: the window text, half faded.
QLabel *smallLabel(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    QFont font = label->font();
    font.setPixelSize(captionPixelSize);
    label->setFont(font);
    QPalette palette = label->palette();
    QColor secondary = palette.color(QPalette::WindowText);
    secondary.setAlphaF(0.55f);
    palette.setColor(QPalette::WindowText, secondary);
    label->setPalette(palette);
    return label;
}

QLabel *caption(const QString &text, QWidget *parent)
{
    QLabel *label = smallLabel(text, parent);
    label->setWordWrap(true);
    label->setMaximumWidth(captionWidth);
    return label;
}

// An empty view of `height` between two sections; unlike a layout's spacing, it is an item,
// so the stack's spacing lies on both its sides.
QWidget *gap(int height, QWidget *parent)
{
    auto *spacer = new QWidget(parent);
    spacer->setFixedHeight(height);
    return spacer;
}

} // namespace

SettingsControls buildSettingsContent(QWidget *window)
{
    SettingsControls controls;
    auto *stack = new QVBoxLayout(window);
    // What the content leaves of the height lies at the bottom; the bottom margin only counts
    // where the content needs more than the window's height (see fitHeight).
    stack->setContentsMargins(margin, margin, margin, margin);
    stack->setSpacing(stackSpacing);

    stack->addWidget(heading(QStringLiteral("Shortcuts"), window), 0, Qt::AlignLeft);
    std::vector<QLabel *> actionLabels;
    for (const ShortcutAction action : allCases<ShortcutAction>()) {
        auto *row = new QHBoxLayout;
        row->setSpacing(rowSpacing);
        auto *label = new QLabel(actionLabel(action), window);
        auto *recorder = new ShortcutRecorderView(false, window);
        row->addWidget(label);
        row->addWidget(recorder);
        row->addStretch(1);
        stack->addLayout(row);
        actionLabels.push_back(label);
        controls.recorders[action] = recorder;
    }
    // The recorders line up in one column.
    int labelWidth = 0;
    for (const QLabel *label : actionLabels) {
        labelWidth = std::max(labelWidth, label->sizeHint().width());
    }
    for (QLabel *label : actionLabels) {
        label->setFixedWidth(labelWidth);
    }
    stack->addWidget(caption(QStringLiteral("Works from any app, so you can cover the screen "
                                            "without switching to Lookpane first. Click the "
                                            "field and press a combination. Press Backspace on "
                                            "its own to remove a shortcut."),
                             window));
    controls.conflictLabel =
        caption(QStringLiteral("That combination is already taken by another app. "
                               "Try a different one."),
                window);
    QPalette conflictPalette = controls.conflictLabel->palette();
    conflictPalette.setColor(QPalette::WindowText, SystemColors::red);
    controls.conflictLabel->setPalette(conflictPalette);
    controls.conflictLabel->hide();
    stack->addWidget(controls.conflictLabel);
    stack->addWidget(gap(sectionGap, window));

    stack->addWidget(heading(QStringLiteral("Drawing tools"), window), 0, Qt::AlignLeft);
    auto *toolRow = new QHBoxLayout;
    toolRow->setSpacing(toolRowSpacing);
    for (const AnnotationTool tool : allCases<AnnotationTool>()) {
        auto *column = new QVBoxLayout;
        column->setSpacing(toolColumnSpacing);
        auto *recorder = new ShortcutRecorderView(true, window);
        column->addWidget(recorder, 0, Qt::AlignLeft);
        column->addWidget(smallLabel(toolDisplayName(tool), window), 0, Qt::AlignLeft);
        toolRow->addLayout(column);
        controls.toolRecorders[tool] = recorder;
    }
    toolRow->addStretch(1);
    stack->addLayout(toolRow);
    stack->addWidget(caption(QStringLiteral("Live only inside drawing mode, so a single letter "
                                            "is enough. Ctrl+Z undoes and Esc leaves the mode."),
                             window));
    stack->addWidget(gap(sectionGap, window));

    stack->addWidget(heading(QStringLiteral("Blur"), window), 0, Qt::AlignLeft);
    auto *strengthRow = new QHBoxLayout;
    strengthRow->setSpacing(rowSpacing);
    strengthRow->addWidget(new QLabel(QStringLiteral("Strength:"), window));
    controls.strengthPopUp = new QComboBox(window);
    for (const BlurStrength strength : allCases<BlurStrength>()) {
        controls.strengthPopUp->addItem(settingsTitle(strength));
    }
    strengthRow->addWidget(controls.strengthPopUp);
    strengthRow->addStretch(1);
    stack->addLayout(strengthRow);
    stack->addWidget(caption(QStringLiteral("Light hides text but leaves the layout followable "
                                            "— good for demonstrating a login. Strong hides "
                                            "everything, including headings and zoomed-in text."),
                             window));
    stack->addWidget(gap(sectionGap, window));

    stack->addWidget(heading(QStringLiteral("General"), window), 0, Qt::AlignLeft);
    controls.guideCheckbox =
        new QCheckBox(QStringLiteral("Show the guide when Lookpane starts"), window);
    stack->addWidget(controls.guideCheckbox, 0, Qt::AlignLeft);
    stack->addStretch(1);

    return controls;
}

} // namespace lookpane
