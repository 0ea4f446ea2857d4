#include "annotation/AnnotationStore.h"

#include <utility>

namespace lookpane {

AnnotationStore::AnnotationStore(QObject *parent) : QObject(parent) {}

void AnnotationStore::setAnnotations(std::vector<Annotation> annotations)
{
    m_annotations = std::move(annotations);
}

void AnnotationStore::setDraft(std::optional<Annotation> draft)
{
    m_draft = std::move(draft);
}

void AnnotationStore::pushHistory()
{
    m_history.push_back(m_annotations);
    if (m_history.size() > historyLimit) {
        m_history.erase(m_history.begin());
    }
}

void AnnotationStore::notify()
{
    Q_EMIT changed();
}

void AnnotationStore::commitDraft()
{
    if (m_draft && m_draft->isDrawable()) {
        pushHistory();
        m_annotations.push_back(std::move(*m_draft));
    }
    m_draft.reset();
    notify();
}

bool AnnotationStore::undo()
{
    if (m_history.empty()) {
        return false;
    }
    m_annotations = std::move(m_history.back());
    m_history.pop_back();
    m_draft.reset();
    notify();
    return true;
}

void AnnotationStore::clear()
{
    if (m_annotations.empty() && !m_draft) {
        return;
    }
    // One undo brings every cleared mark back, even when only a draft was dropped.
    pushHistory();
    m_annotations.clear();
    m_draft.reset();
    notify();
}

} // namespace lookpane
