#pragma once

#include "annotation/Annotation.h"

#include <QObject>

#include <cstddef>
#include <optional>
#include <vector>

namespace lookpane {

// Owns the committed marks, the mark being drawn and an undo history of whole snapshots.
// One instance per frame window controller, which sets the draft while the mouse drags and
// hands the marks (and the draft) to every canvas after each change. Main thread only.
class AnnotationStore : public QObject
{
    Q_OBJECT

public:
    explicit AnnotationStore(QObject *parent = nullptr);

    // How many snapshots the history keeps; the oldest is forgotten beyond that.
    static constexpr std::size_t historyLimit = 20;

    // Committed marks, oldest first (drawn in this order, later marks on top).
    const std::vector<Annotation> &annotations() const { return m_annotations; }
    void setAnnotations(std::vector<Annotation> annotations);

    // The mark being drawn, if any.
    const std::optional<Annotation> &draft() const { return m_draft; }
    void setDraft(std::optional<Annotation> draft);

    // Ends the drawing gesture: keeps the draft when it is drawable (undoably), drops it
    // otherwise. Observers are told either way, so a discarded draft leaves the screen.
    void commitDraft();
    // Restores the marks as they were before the last change; false when there is nothing
    // to undo (then nothing changes and nobody is told).
    bool undo();
    // Removes every mark and the draft, undoably; does nothing when there is nothing to clear.
    void clear();

    // Number of snapshots undo can still restore.
    std::size_t historyDepth() const { return m_history.size(); }

Q_SIGNALS:
    // After every change that commitDraft, undo or clear makes, once the fields hold their new
    // values.
    void changed();

private:
    void pushHistory();
    void notify();

    std::vector<Annotation> m_annotations;
    std::vector<std::vector<Annotation>> m_history;
    std::optional<Annotation> m_draft;
};

} // namespace lookpane
