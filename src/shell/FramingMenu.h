#pragma once

#include "model/FrameRatio.h"

#include <QObject>

#include <memory>

class QAction;
class QMenu;

namespace lookpane {

class FitWindowList;

// The "Size & ratio" menu: the aspect locks, the exact sizes and the "Fit to Window" submenu.
// The application builds two (the tray menu's submenu and the toolbar's framing button). Each
// asks for the current ratio just before it opens, to set its check marks, and fills its
// window list from `fitList` each time that submenu opens.
class FramingMenu : public QObject
{
    Q_OBJECT
public:
    FramingMenu(FitWindowList &fitList, QObject *parent = nullptr);
    ~FramingMenu() override;

    FramingMenu(const FramingMenu &) = delete;
    FramingMenu &operator=(const FramingMenu &) = delete;

    QMenu *menu() const { return m_menu.get(); }
    QMenu *fitMenu() const { return m_fitMenu; }

    // Checks the item of `ratio` and unchecks the others.
    void showRatio(FrameRatio ratio);

    // The items, for inspection: one per ratio in declaration order, one per size preset.
    const std::vector<QAction *> &ratioActions() const { return m_ratioActions; }
    const std::vector<QAction *> &sizeActions() const { return m_sizeActions; }

Q_SIGNALS:
    // Just before the menu opens: the owner answers with showRatio().
    void aboutToShow();
    void ratioChosen(lookpane::FrameRatio ratio);
    // The index of the preset in FrameSizePreset::all().
    void sizePresetChosen(int index);

private:
    std::unique_ptr<QMenu> m_menu;
    QMenu *m_fitMenu = nullptr; // owned by m_menu
    std::vector<QAction *> m_ratioActions;
    std::vector<QAction *> m_sizeActions;
};

} // namespace lookpane
