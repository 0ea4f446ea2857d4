#include "toolbar/ToolbarStack.h"

#include <QHBoxLayout>
#include <QPainter>

namespace lookpane {

namespace {

constexpr int stackSpacing = 2;
constexpr int separatorHeight = 18;
constexpr int separatorWidth = 9;

} // namespace

ToolbarStack::ToolbarStack(QWidget *parent) : QWidget(parent), m_layout(new QHBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(stackSpacing);
    m_layout->setSizeConstraint(QLayout::SetFixedSize);
}

void ToolbarStack::setViews(const QList<QWidget *> &views)
{
    while (QLayoutItem *item = m_layout->takeAt(0)) {
        delete item;
    }
    // Every other view the stack holds (the other row) stays out of sight.
    const QList<QWidget *> children = findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    for (QWidget *child : children) {
        if (!views.contains(child)) {
            child->hide();
        }
    }
    m_views = views;
    for (QWidget *view : views) {
        m_layout->addWidget(view, 0, Qt::AlignVCenter);
        view->show();
    }
    m_layout->activate();
    Q_EMIT viewsReplaced();
}

ToolbarSeparator::ToolbarSeparator(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ToolbarSeparator::sizeHint() const
{
    return {separatorWidth, separatorHeight};
}

void ToolbarSeparator::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const int x = width() / 2;
    painter.fillRect(QRect(x, 0, 1, height()), QColor(255, 255, 255, 56));
}

} // namespace lookpane
