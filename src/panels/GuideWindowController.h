#pragma once

#include <QObject>

#include <memory>

class QCheckBox;
class QDialog;
class QPushButton;
class QTextDocument;
class QTextEdit;
class QWidget;

namespace lookpane {

class Preferences;

// The "How to Use Lookpane" window: a small floating window with the styled guide text, a
// "Show this guide when Lookpane starts" checkbox bound to the "ShowGuideOnLaunch" preference,
// and a "Got It" button that Return presses. Created once; closing only hides the window, and
// show() brings the same one back.
class GuideWindowController : public QObject
{
    Q_OBJECT
public:
    // `trayAvailable`: whether the desktop shows Lookpane's tray icon (see setTrayAvailable).
    explicit GuideWindowController(Preferences &preferences, bool trayAvailable = true,
                                   QObject *parent = nullptr);
    ~GuideWindowController() override;

    GuideWindowController(const GuideWindowController &) = delete;
    GuideWindowController &operator=(const GuideWindowController &) = delete;

    // Ticks the checkbox as "ShowGuideOnLaunch" now reads (the settings window may have changed
    // it), centres the window on the screen under the pointer, and brings it to the front as
    // the active window.
    void show();
    // Closes the window as its title bar's close button would; it is only hidden.
    void close();

    // Whether the text may send the user to the tray icon. Without a tray it names the menu
    // that a right-click on the toolbar opens instead. Rewrites the text when this changes,
    // keeping the reader's place.
    void setTrayAvailable(bool available);
    bool isTrayAvailable() const { return m_trayAvailable; }

    QWidget *window() const;
    QTextEdit *textView() const { return m_textView; }
    QTextDocument *document() const;
    QCheckBox *showOnLaunchCheckbox() const { return m_showOnLaunchCheckbox; }
    QPushButton *gotItButton() const { return m_gotItButton; }

Q_SIGNALS:
    // The checkbox was ticked or unticked and "ShowGuideOnLaunch" now holds `show`.
    void showOnLaunchChanged(bool show);

private:
    void toggleShowOnLaunch(bool show);
    bool storedShowOnLaunch() const;
    void rebuildText();

    Preferences &m_preferences;
    bool m_trayAvailable;
    std::unique_ptr<QDialog> m_window;
    // Children of m_window.
    QTextEdit *m_textView = nullptr;
    QCheckBox *m_showOnLaunchCheckbox = nullptr;
    QPushButton *m_gotItButton = nullptr;
};

} // namespace lookpane
