#pragma once

#include "capture/ShareableWindow.h"

#include <QObject>

#include <functional>
#include <optional>
#include <vector>

class QMenu;

namespace lookpane {

// The windows offered by the "Fit to Window" submenus. Every submenu that opens asks for the
// list again and shows it when it arrives; the newest list is the one its items refer to, by
// their index, so an item of an older list picks whatever window now has its index, or
// nothing when the list has become shorter.
class FitWindowList : public QObject
{
    Q_OBJECT
public:
    // Asks for the windows and answers later on the main thread (the capture engine's
    // shareableWindows).
    using Source = std::function<void(std::function<void(std::vector<ShareableWindow>)>)>;

    explicit FitWindowList(Source source, QObject *parent = nullptr);

    // Replaces the menu's items by "Looking for windows…" and asks for the list; when it
    // comes, the menu (if it still exists) shows one item per window, or "No other windows
    // found". The menu may be open meanwhile.
    void populate(QMenu *menu);

    // The window that an item with this index stands for now; none outside the list.
    std::optional<ShareableWindow> candidate(int index) const;
    const std::vector<ShareableWindow> &candidates() const { return m_candidates; }

    // The item title: the window's title alone when it is its application's name, else
    // "Application — Title".
    static QString itemTitle(const ShareableWindow &window);

    // Runs the item of this index: reports its window if the index is in the current list.
    void choose(int index);

Q_SIGNALS:
    void windowChosen(const lookpane::ShareableWindow &window);

private:
    void fill(QMenu *menu, std::vector<ShareableWindow> windows);

    Source m_source;
    std::vector<ShareableWindow> m_candidates;
};

} // namespace lookpane
