#pragma once

#include <QList>
#include <QWidget>

class QHBoxLayout;

namespace lookpane {

// The horizontal row the panel shows: its views side by side, 2 points apart, centred
// vertically. It shows one list of views at a time; `setViews` replaces the whole list.
class ToolbarStack : public QWidget
{
    Q_OBJECT

public:
    explicit ToolbarStack(QWidget *parent = nullptr);

    // Shows exactly `views`, in order; every other child of the stack (the other row) is hidden
    // and stays a child.
    void setViews(const QList<QWidget *> &views);
    const QList<QWidget *> &views() const { return m_views; }

Q_SIGNALS:
    // After every replacement of the views.
    void viewsReplaced();

private:
    QHBoxLayout *m_layout;
    QList<QWidget *> m_views;
};

// A thin vertical line between groups of controls, 18 points high. Presses on it reach the
// panel's background, so it is part of the drag area.
class ToolbarSeparator : public QWidget
{
    Q_OBJECT

public:
    explicit ToolbarSeparator(QWidget *parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace lookpane
