#include "shell/FramingMenu.h"

#include "frame/FrameSizePreset.h"
#include "shell/FitWindowList.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>

namespace lookpane {

FramingMenu::FramingMenu(FitWindowList &fitList, QObject *parent)
    : QObject(parent), m_menu(std::make_unique<QMenu>())
{
    // "&&" is a plain ampersand: a single one would mark a mnemonic.
    m_menu->setTitle(QStringLiteral("Size && ratio"));
    // One lock at a time, shown as such.
    auto *locks = new QActionGroup(m_menu.get());
    for (const FrameRatio ratio : allCases<FrameRatio>()) {
        QAction *action = m_menu->addAction(menuTitle(ratio));
        action->setCheckable(true);
        locks->addAction(action);
        connect(action, &QAction::triggered, this, [this, ratio] { Q_EMIT ratioChosen(ratio); });
        m_ratioActions.push_back(action);
    }
    m_menu->addSeparator();
    const auto presets = FrameSizePreset::all();
    for (int index = 0; index < static_cast<int>(presets.size()); ++index) {
        QAction *action = m_menu->addAction(presets[static_cast<std::size_t>(index)].title);
        connect(action, &QAction::triggered, this,
                [this, index] { Q_EMIT sizePresetChosen(index); });
        m_sizeActions.push_back(action);
    }
    m_menu->addSeparator();
    m_fitMenu = m_menu->addMenu(QStringLiteral("Fit to Window"));
    connect(m_menu.get(), &QMenu::aboutToShow, this, &FramingMenu::aboutToShow);
    connect(m_fitMenu, &QMenu::aboutToShow, &fitList,
            [&fitList, menu = m_fitMenu] { fitList.populate(menu); });
}

FramingMenu::~FramingMenu() = default;

void FramingMenu::showRatio(FrameRatio ratio)
{
    const auto cases = allCases<FrameRatio>();
    for (std::size_t i = 0; i < m_ratioActions.size(); ++i) {
        m_ratioActions[i]->setChecked(cases[i] == ratio);
    }
}

} // namespace lookpane
