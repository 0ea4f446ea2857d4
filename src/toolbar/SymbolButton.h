#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QIcon>

#include <optional>

namespace lookpane {

// A control of the toolbar: the named symbol in a rounded, hover-lit cell, or the short title
// when there is no such symbol. Two-state buttons show their "on" state as a lit cell. The
// button never takes keyboard focus.
class SymbolButton : public QAbstractButton
{
    Q_OBJECT

public:
    enum class Kind
    {
        momentary,
        toggle
    };

    SymbolButton(const QString &symbolName, const QString &shortTitle, const QString &toolTip,
                 Kind kind, QWidget *parent = nullptr);

    // Whether the symbol was found; without it the short title is shown instead.
    bool hasSymbol() const { return !m_icon.isNull(); }
    QString symbolName() const { return m_symbolName; }

    // The index of the button's tool or colour in its type's list of cases; -1 for none.
    int tag() const { return m_tag; }
    void setTag(int tag) { m_tag = tag; }

    // A colour for the symbol (or title) other than the default, as the blur button uses while
    // viewers see a blur; none for the default.
    std::optional<QColor> tint() const { return m_tint; }
    void setTint(std::optional<QColor> tint);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor foregroundColor() const;

    QString m_symbolName;
    QIcon m_icon;
    int m_tag = -1;
    std::optional<QColor> m_tint;
};

// The smallest width of a toolbar control and the height of every control cell.
inline constexpr int controlMinimumWidth = 30;
inline constexpr int controlHeight = 28;

} // namespace lookpane
