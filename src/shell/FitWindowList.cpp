#include "shell/FitWindowList.h"

#include "shell/ShellLog.h"

#include <QAction>
#include <QMenu>
#include <QPointer>

namespace lookpane {

FitWindowList::FitWindowList(Source source, QObject *parent)
    : QObject(parent), m_source(std::move(source))
{}

void FitWindowList::populate(QMenu *menu)
{
    menu->clear();
    menu->addAction(QStringLiteral("Looking for windows…"))->setEnabled(false);
    // The answer may come after either the menu or this list is gone.
    m_source([self = QPointer<FitWindowList>(this),
              target = QPointer<QMenu>(menu)](std::vector<ShareableWindow> windows) {
        if (self && target) {
            self->fill(target, std::move(windows));
        }
    });
}

void FitWindowList::fill(QMenu *menu, std::vector<ShareableWindow> windows)
{
    m_candidates = std::move(windows);
    qCDebug(lcShell) << "Fit to Window offers" << m_candidates.size() << "windows";
    menu->clear();
    if (m_candidates.empty()) {
        menu->addAction(QStringLiteral("No other windows found"))->setEnabled(false);
        return;
    }
    for (int index = 0; index < static_cast<int>(m_candidates.size()); ++index) {
        // A window's "&" is an ampersand, not the mark of a mnemonic.
        QString text = itemTitle(m_candidates[static_cast<std::size_t>(index)]);
        QAction *action = menu->addAction(text.replace(QLatin1Char('&'), QStringLiteral("&&")));
        connect(action, &QAction::triggered, this, [this, index] { choose(index); });
    }
}

std::optional<ShareableWindow> FitWindowList::candidate(int index) const
{
    if (index < 0 || index >= static_cast<int>(m_candidates.size())) {
        return std::nullopt;
    }
    return m_candidates[static_cast<std::size_t>(index)];
}

void FitWindowList::choose(int index)
{
    if (const std::optional<ShareableWindow> window = candidate(index)) {
        Q_EMIT windowChosen(*window);
    }
}

QString FitWindowList::itemTitle(const ShareableWindow &window)
{
    if (window.title == window.applicationName) {
        return window.title;
    }
    return window.applicationName + QStringLiteral(" — ") + window.title;
}

} // namespace lookpane
