#pragma once

#include <QObject>
#include <QPointer>

#include <QMessageBox>

namespace lookpane {

// The alert shown when the desktop refused Lookpane permission to record the screen: "Try
// Again", "Quit Lookpane" or "Later". At most one is open at a time; asking again while it is
// open changes nothing.
class PermissionAlert : public QObject
{
    Q_OBJECT
public:
    explicit PermissionAlert(QObject *parent = nullptr);
    ~PermissionAlert() override;

    // Opens the alert unless it is open already. Returns at once; the choice arrives as a
    // signal.
    void show();
    bool isShowing() const { return m_box != nullptr; }
    // The alert's window title.
    static QString title();
    // The open alert, for inspection; none when closed.
    QMessageBox *box() const { return m_box; }

Q_SIGNALS:
    void tryAgain();
    void quit();

private:
    QPointer<QMessageBox> m_box;
};

} // namespace lookpane
