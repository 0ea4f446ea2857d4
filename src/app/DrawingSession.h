#pragma once

#include "model/AnnotationColor.h"
#include "model/AnnotationTool.h"

#include <QObject>
#include <QPointer>

#include <memory>

class QKeyEvent;
class QWidget;

namespace lookpane {

class ApplicationEventTap;
class ToolShortcutPreferences;

// Drawing mode's own state: whether the user is drawing, with which tool and colour, and the
// keys that work while drawing in the box (Esc leaves, Ctrl+Z undoes, Backspace clears, the
// tool keys pick a tool). Keys typed into any other Lookpane window pass untouched. The
// session decides nothing about the marks: it reports what the keys asked for.
class DrawingSession : public QObject
{
    Q_OBJECT
public:
    // `frameWindow` is the box whose keys count; `toolShortcuts` answers the tool keys.
    DrawingSession(QWidget *frameWindow, const ToolShortcutPreferences &toolShortcuts,
                   QObject *parent = nullptr);
    ~DrawingSession() override;

    DrawingSession(const DrawingSession &) = delete;
    DrawingSession &operator=(const DrawingSession &) = delete;

    bool isActive() const { return m_isActive; }
    // Starts or ends listening to the keys; false when nothing changed.
    bool setActive(bool active);

    AnnotationTool tool() const { return m_tool; }
    void setTool(AnnotationTool tool) { m_tool = tool; }
    AnnotationColor color() const { return m_color; }
    void setColor(AnnotationColor color) { m_color = color; }

Q_SIGNALS:
    void exitRequested();
    void undoRequested();
    void clearRequested();
    void toolChosen(lookpane::AnnotationTool tool);

private:
    bool handleKey(QObject *receiver, QKeyEvent *event);

    QPointer<QWidget> m_frameWindow;
    const ToolShortcutPreferences &m_toolShortcuts;
    bool m_isActive = false;
    AnnotationTool m_tool = AnnotationTool::arrow;
    AnnotationColor m_color = AnnotationColor::red;
    std::unique_ptr<ApplicationEventTap> m_keyTap;
};

} // namespace lookpane
